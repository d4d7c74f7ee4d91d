#pragma once

#include "dictionary/DefinitionText.h"
#include "dictionary/DictionaryEntry.h"

#include <QList>
#include <QString>

// The layout most StarDict dictionaries use, English–Chinese ones above all: an optional
// headword line, a transcription ("*[ˈwɔːtə]", "/ˈwɔːtə/"), then lines that start with a part of
// speech ("n. 水；水域"), a subject label ("[医]", "【医】"), a sense number ("1. …") or a
// sub-sense letter ("a) …"). A blank line followed by a headword line starts another entry.
namespace PlainDefinitionParser {

QList<DictionaryEntry> parse(const QList<DefinitionText::Line>& lines,
                             const QString& fallbackHeadword);

} // namespace PlainDefinitionParser
