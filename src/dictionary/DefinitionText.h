#pragma once

#include "base/IcuRegex.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <QStringView>
#include <optional>

// Pieces shared by the readers of plain-text definitions: the line model and the small
// conversions every layout needs.
namespace DefinitionText {

struct Line {
    QString text;         // without its indentation and trailing blanks
    qsizetype indent = 0; // columns, tabs expanded to multiples of 8

    bool isBlank() const { return text.isEmpty(); }
};

// The text as lines, shifted left by the indentation all non-blank lines share (a client
// that indents a whole answer changes nothing).
QList<Line> lines(QStringView text);
// The same shift for a run of lines cut out of a longer text.
QList<Line> dedented(QList<Line> lines);

// Runs of white space as single spaces, trimmed.
QString collapsed(QStringView text);

// "n", "v. t.", "adj." → the Chinese name the bundled entries use; nothing for a word that
// is not a known part-of-speech abbreviation.
std::optional<QString> partOfSpeech(QStringView abbreviation);

// "[ˈwɔːtə]", "/ˈwɔːtə/" or "*[ˈwɔ:tə]" → "/ˈwɔːtə/"; nothing when the text is not one
// bracketed or slashed transcription.
std::optional<QString> phonetic(QStringView text);

// "bank¹" → ("bank", 1); a headword without a trailing superscript number keeps no index.
struct Headword {
    QString text;
    std::optional<int> homographIndex;
};
Headword headword(QStringView text);

// The text of a regular-expression group; empty when the group took no part in the match.
QStringView group(const IcuRegex::Match& match, QStringView text, size_t number);

} // namespace DefinitionText
