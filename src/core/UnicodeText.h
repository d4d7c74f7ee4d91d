#pragma once

#include <QString>
#include <QStringView>
#include <functional>

// Character-level helpers shared by the filter, the dictionaries and the engine.
// A "character" is a user-perceived character (extended grapheme cluster); white space
// is Unicode White_Space; a letter is a character whose first code point is Alphabetic.
namespace UnicodeText {

bool isWhiteSpace(char32_t codePoint);
// U+000A–U+000D, U+0085, U+2028, U+2029.
bool isLineBreak(char32_t codePoint);
bool isHan(char32_t codePoint);

QString trimmed(QStringView text);
// Only spaces and tabs, a data file's own padding; other white space is part of the text.
QStringView trimmedOfBlanks(QStringView text);
bool containsWhiteSpace(QStringView text);
bool containsLineBreak(QStringView text);
bool containsHan(QStringView text);

// Calls `visit` with each character in order; stops early when it returns false.
void forEachCharacter(QStringView text, const std::function<bool(QStringView)>& visit);
qsizetype characterCount(QStringView text);
// The first `count` characters of `text` (all of it when shorter).
QStringView leadingCharacters(QStringView text, qsizetype count);

char32_t firstCodePoint(QStringView character);
bool isLetter(QStringView character);
// One code point below 128 that is a letter.
bool isAsciiLetter(QStringView character);
constexpr bool isAsciiLetter(char32_t codePoint) {
    return (codePoint >= U'a' && codePoint <= U'z') || (codePoint >= U'A' && codePoint <= U'Z');
}

// Full Unicode lower-casing (root locale), unlike QString::toLower's simple mapping.
QString lowercased(QStringView text);

} // namespace UnicodeText
