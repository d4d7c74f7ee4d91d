#pragma once

#include "dictionary/DictionaryEntry.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <QStringView>
#include <optional>

// Turns one row of the bundled word database into a DictionaryEntry.
namespace BundledEntryBuilder {

struct Row {
    QString word;                    // NULL or empty column: the word that was asked for
    std::optional<QString> phonetic; // NULL or empty column: absent
    QString translation;             // NULL column: empty
    std::optional<QString> pos;      // read with the row, unused by the entry
};

struct PartOfSpeechSplit {
    std::optional<QString> tag;
    QString rest;
};

// A fetched row from its columns (nullopt for NULL); `asked` is the key that found it.
Row rowFromColumns(const QString& asked, std::optional<QString> word,
                   std::optional<QString> phonetic, std::optional<QString> translation,
                   std::optional<QString> pos);

// `viaForm`: the inflected form that led to this lemma's row, if any.
DictionaryEntry entry(const Row& row, const std::optional<QString>& viaForm = std::nullopt);
PartOfSpeechSplit splitPartOfSpeech(QStringView line);
QStringList splitSenses(QStringView text);
std::optional<QString> normalizePhonetic(const std::optional<QString>& phonetic);

// ECDICT abbreviation (without its full stop) → Chinese name.
const QHash<QString, QString>& partOfSpeechMap();
// Bracketed subject tag → Chinese name; unknown tags stay as they are.
QString localizedTag(const QString& tag);

} // namespace BundledEntryBuilder
