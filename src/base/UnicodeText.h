#pragma once

#include <QString>
#include <QStringView>
#include <functional>
#include <string_view>

// Character-level helpers shared by the filter, the dictionaries and the engine.
// A "character" is a user-perceived character (extended grapheme cluster); white space
// is Unicode White_Space; a letter is a character whose first code point is Alphabetic.
namespace UnicodeText {

// The White_Space set is small and has been stable for many Unicode versions; testing it
// inline keeps scans of long texts cheap.
constexpr bool isWhiteSpace(char32_t codePoint) {
    if (codePoint < 0x80)
        return codePoint == 0x20 || (codePoint >= 0x09 && codePoint <= 0x0D);
    switch (codePoint) {
    case 0x85:
    case 0xA0:
    case 0x1680:
    case 0x2028:
    case 0x2029:
    case 0x202F:
    case 0x205F:
    case 0x3000:
        return true;
    default:
        return codePoint >= 0x2000 && codePoint <= 0x200A;
    }
}

// U+000A–U+000D, U+0085, U+2028, U+2029.
constexpr bool isLineBreak(char32_t codePoint) {
    return (codePoint >= 0x0A && codePoint <= 0x0D) || codePoint == 0x85 || codePoint == 0x2028 ||
           codePoint == 0x2029;
}

// Spaces and tabs: the padding within a line.
constexpr bool isBlank(QChar c) {
    return c == u' ' || c == u'\t';
}

constexpr bool isAsciiDigit(QChar c) {
    return c >= u'0' && c <= u'9';
}

// Calls `visit` with each code point in order (a lone surrogate as itself); stops early when it
// returns false. For walks that need no characters, which cost a segmenter.
template <typename Visit> void forEachCodePoint(QStringView text, Visit visit) {
    for (qsizetype i = 0; i < text.size(); ++i) {
        char32_t codePoint = text[i].unicode();
        if (text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            codePoint = QChar::surrogateToUcs4(text[i], text[i + 1]);
            ++i;
        }
        if (!visit(codePoint))
            return;
    }
}

// Whether `text` holds `needle`. QStringView::contains is slow with a string needle; searching
// for its first unit is fast.
bool holds(QStringView text, QStringView needle);

// Whether `c` is one of the units of `set`; for the short sets of signs the rules look for.
constexpr bool isAmong(QChar c, std::u16string_view set) {
    for (char16_t member : set) {
        if (member == c.unicode())
            return true;
    }
    return false;
}
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
