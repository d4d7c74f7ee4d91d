#pragma once

#include "dictionary/DictionaryEntry.h"
#include "lookup/Gloss.h"

#include <QList>
#include <QString>
#include <optional>

// What one lookup produced: a dictionary's answer for a word, a translation, or (when no
// translator could take the text) a word-by-word gloss.
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

    enum class Payload : quint8 { dictionary = 0, translation = 1, gloss = 2 };

    QString term; // the trimmed query: the heading, and what the notebook stores
    Source source;
    QString translation;             // translation payload; the gloss's line for a gloss
    std::optional<QString> phonetic; // translation of a word only
    Payload payload = Payload::dictionary;
    QList<GlossPiece> glossPieces; // gloss payload only: the text piece by piece

    static Source translationSource();
    static Source glossSource();
    static LookupResult dictionaryAnswer(QString term, Source source);
    static LookupResult translated(QString term, QString translation,
                                   std::optional<QString> phonetic);
    static LookupResult glossed(QString term, const Gloss& gloss, std::optional<QString> phonetic);

    bool isTranslation() const { return payload == Payload::translation; }
    bool isGloss() const { return payload == Payload::gloss; }
    bool isDictionaryAnswer() const { return payload == Payload::dictionary; }
    // The whole result as plain text for the clipboard.
    std::optional<QString> copyAllText() const;

    bool operator==(const LookupResult&) const = default;
};
