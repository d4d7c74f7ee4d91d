#pragma once

#include "dictionary/DefinitionText.h"
#include "dictionary/DictionaryEntry.h"

#include <QList>
#include <QString>

// The layout of WordNet as dictd serves it: the headword alone on a line, then indented
// senses numbered per part of speech ("n 1: binary compound …", "2: …", "v 1: …"), each
// followed by its examples in quotes and "[syn: …]" lists.
namespace WordNetDefinitionParser {

bool recognises(const QList<DefinitionText::Line>& lines);
QList<DictionaryEntry> parse(const QList<DefinitionText::Line>& lines,
                             const QString& fallbackHeadword);

} // namespace WordNetDefinitionParser
