#pragma once

#include "dictionary/DictionaryEntry.h"

#include <QList>
#include <QString>
#include <optional>

// What one lookup produced: a dictionary's answer for a word, or a translation.
struct LookupResult {
    // One dictionary's answer (or the translator, for a translation).
    struct Source {
        QString id;        // "bundled", a system dictionary's identifier, or "translation"
        QString shortName; // the tab label
        QString name;      // the full name
        QList<DictionaryEntry> entries;
        bool stubExempt = false; // never treated as a cross-reference stub

        bool operator==(const Source&) const = default;
    };

    enum class Payload : quint8 { dictionary = 0, translation = 1 };

    QString term; // the trimmed query: the heading, and what the notebook stores
    Source source;
    QString translation;             // translation payload only
    std::optional<QString> phonetic; // translation of a word only
    Payload payload = Payload::dictionary;

    static Source translationSource();
    static LookupResult dictionaryAnswer(QString term, Source source);
    static LookupResult translated(QString term, QString translation,
                                   std::optional<QString> phonetic);

    bool isTranslation() const { return payload == Payload::translation; }
    // The whole result as plain text for the clipboard.
    std::optional<QString> copyAllText() const;

    bool operator==(const LookupResult&) const = default;
};
