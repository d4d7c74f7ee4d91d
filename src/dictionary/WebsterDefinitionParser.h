#pragma once

#include "dictionary/DefinitionText.h"
#include "dictionary/DictionaryEntry.h"

#include <QList>
#include <QString>

// The layout of Webster-derived English dictionaries (dictd's gcide): each entry opens with
// a line such as 'Water \Wa"ter\ (w[add]"t[~e]r), n. [AS. w[ae]ter …]' — spellings with their
// syllables between backslashes, a part of speech, a bracketed etymology — followed by
// numbered senses, "(a)" sub-senses, usage notes, quotations and phrases.
namespace WebsterDefinitionParser {

// Whether a line opens an entry of this layout.
bool isEntryStart(const DefinitionText::Line& line);
// One entry: `lines` begins with the line that opens it and holds nothing of the next.
std::optional<DictionaryEntry> parseEntry(QList<DefinitionText::Line> lines,
                                          const QString& fallbackHeadword);
// The dictionary's character escapes ("[ae]", "[=o]", "[a^]", "[deg]") as plain Unicode;
// bracketed words such as "[Obs.]" stay.
QString decodeMarkup(QStringView text);

} // namespace WebsterDefinitionParser
