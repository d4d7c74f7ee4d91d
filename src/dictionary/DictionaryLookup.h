#pragma once

#include "dictionary/DictionaryEntry.h"

#include <QList>
#include <QString>
#include <QStringView>
#include <optional>

// Reads the plain-text definitions that system dictionaries give into DictionaryEntry values.
namespace DictionaryLookup {

// The entries of one dictionary's definition text, in order. Understands English–Chinese
// StarDict layouts, Webster-style (gcide) and WordNet texts as dictd serves them, and several
// entries in one text; `fallbackHeadword` names an entry whose text names none. A text that
// yields no senses becomes one entry that shows it as it stands.
QList<DictionaryEntry> parse(const QString& text, const QString& fallbackHeadword);

// Whether the text holds a Han character (U+4E00–U+9FFF, U+3400–U+4DBF).
bool containsHanCharacters(QStringView text);

// The whole-system definition of a word: the answer of the first active dictionary that
// knows it.
std::optional<QString> rawDefinition(const QString& word);

} // namespace DictionaryLookup
