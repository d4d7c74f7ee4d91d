#include "base/UnicodeText.h"

#include "harness/QtPrinters.h"

#include <QStringList>
#include <gtest/gtest.h>
#include <unicode/uchar.h>

using namespace Qt::StringLiterals;

TEST(UnicodeTextTest, WhiteSpaceMatchesTheUnicodeProperty) {
    for (char32_t codePoint = 0; codePoint <= 0x10FFFF; ++codePoint) {
        ASSERT_EQ(UnicodeText::isWhiteSpace(codePoint),
                  static_cast<bool>(
                      u_hasBinaryProperty(static_cast<UChar32>(codePoint), UCHAR_WHITE_SPACE)))
            << std::hex << static_cast<uint32_t>(codePoint);
    }
}

TEST(UnicodeTextTest, CharactersAreGraphemeClusters) {
    const std::pair<QString, qsizetype> cases[] = {
        {u""_s, 0},
        {u"a\r\nb"_s, 3},                                     // CR LF is one character
        {u"e\u0301te\u0301"_s, 3},                            // combining acute accents
        {u"👍🏽ok"_s, 3},                                 // skin-tone modifier
        {u"\U0001F468\u200D\U0001F469\u200D\U0001F467"_s, 1}, // a family joined by ZWJ
        {u"🇨🇳中"_s, 2},                                       // two regional indicators
    };
    for (const auto& [text, count] : cases) {
        EXPECT_EQ(UnicodeText::characterCount(text), count) << text.toStdString();
        QStringList walked;
        UnicodeText::forEachCharacter(text, [&walked](QStringView character) {
            walked.append(character.toString());
            return true;
        });
        EXPECT_EQ(walked.size(), count);
        EXPECT_EQ(walked.join(QString()), text);
    }
    EXPECT_EQ(UnicodeText::leadingCharacters(u"e\u0301tude"_s, 2), u"e\u0301t"_s);
}

TEST(UnicodeTextTest, WalksMayNest) {
    // Each outer character starts an inner walk; the outer walk must not lose its place.
    const QString outer = u"é👍中"_s;
    QStringList seen;
    UnicodeText::forEachCharacter(outer, [&seen](QStringView character) {
        qsizetype inner = 0;
        UnicodeText::forEachCharacter(u"a\u0301b\u0301"_s, [&inner](QStringView) {
            ++inner;
            return true;
        });
        seen.append(character.toString() + QString::number(inner));
        return true;
    });
    EXPECT_EQ(seen, (QStringList{u"é2"_s, u"👍2"_s, u"中2"_s}));
}

TEST(UnicodeTextTest, TrimsAndClassifies) {
    EXPECT_EQ(UnicodeText::trimmed(u"\u3000\u2029 word\u00A0\u0085"_s), u"word"_s);
    EXPECT_TRUE(UnicodeText::containsLineBreak(u"a\u2028b"_s));
    EXPECT_FALSE(UnicodeText::containsLineBreak(u"a\u00A0b"_s));
    EXPECT_TRUE(UnicodeText::containsHan(u"abc\u3400"_s));
    EXPECT_FALSE(UnicodeText::containsHan(u"かなカナ한글"_s));
    EXPECT_TRUE(UnicodeText::isLetter(u"中"_s));
    EXPECT_FALSE(UnicodeText::isLetter(u"3"_s));
    EXPECT_FALSE(UnicodeText::isAsciiLetter(u"é"_s));
    EXPECT_FALSE(UnicodeText::isAsciiLetter(u"e\u0301"_s));
    // Full lower-casing: İ becomes i + combining dot, ẞ becomes ß.
    EXPECT_EQ(UnicodeText::lowercased(u"İSTANBUL ẞ"_s), u"i\u0307stanbul ß"_s);
}
