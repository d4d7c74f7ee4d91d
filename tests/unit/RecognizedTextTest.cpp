#include "capture/RecognizedText.h"

#include "harness/QtPrinters.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using Word = ScreenText::Word;

namespace {

ScreenText::Recognition lineOf(QList<Word> words) {
    return {QRect(0, 0, 320, 64), std::move(words)};
}

TEST(RecognizedText, TheWordUnderThePointIsTheOneWhoseBoxHoldsIt) {
    const auto read = lineOf({{u"The"_s, QRectF(20, 24, 30, 16), 95, 0},
                              {u"river,"_s, QRectF(56, 24, 48, 16), 93, 0},
                              {u"flows"_s, QRectF(110, 24, 40, 16), 96, 0}});
    EXPECT_EQ(RecognizedText::wordAt(read, {80, 30}), u"river"_s) << "punctuation dropped";
    EXPECT_EQ(RecognizedText::wordAt(read, {105, 30}), u"river"_s)
        << "a pointer a pixel past the glyph still means the word; the nearer centre wins";
    EXPECT_EQ(RecognizedText::wordAt(read, {200, 30}), std::nullopt);
    EXPECT_EQ(RecognizedText::wordAt(read, {80, 50}), std::nullopt) << "below the line";
}

TEST(RecognizedText, CutWordsAndDoubtfulWordsAreNotTaken) {
    const auto read = lineOf({{u"nderstand"_s, QRectF(0, 24, 60, 16), 95, 0},
                              {u"ixl"_s, QRectF(100, 24, 20, 16), 20, 0},
                              {u"edge"_s, QRectF(290, 24, 30, 16), 95, 0}});
    EXPECT_EQ(RecognizedText::wordAt(read, {30, 30}), std::nullopt) << "cut by the left edge";
    EXPECT_EQ(RecognizedText::wordAt(read, {110, 30}), std::nullopt)
        << "below the confidence floor";
    EXPECT_EQ(RecognizedText::wordAt(read, {300, 30}), std::nullopt) << "touches the right edge";
    EXPECT_EQ(RecognizedText::wordAt(lineOf({{u"—"_s, QRectF(10, 10, 20, 16), 90, 0}}), {20, 15}),
              std::nullopt)
        << "no letter";
}

TEST(RecognizedText, BareWordsKeepInnerApostrophesAndHyphens) {
    EXPECT_EQ(RecognizedText::bareWord(u"“don’t”"), u"don't"_s);
    EXPECT_EQ(RecognizedText::bareWord(u"(well-known),"), u"well-known"_s);
    EXPECT_EQ(RecognizedText::bareWord(u"3.14"), QString());
    EXPECT_EQ(RecognizedText::bareWord(u"..."), QString());
}

TEST(RecognizedText, ARegionReadsAsOneTextWithBrokenWordsJoined) {
    const ScreenText::Recognition read{QRect(0, 0, 400, 100),
                                       {{u"Reading"_s, {}, 95, 0},
                                        {u"is"_s, {}, 95, 0},
                                        {u"a"_s, {}, 95, 0},
                                        {u"con-"_s, {}, 90, 0},
                                        {u"versation."_s, {}, 92, 1},
                                        {u"~"_s, {}, 10, 1},
                                        {u"All"_s, {}, 96, 2},
                                        {u"well-"_s, {}, 96, 2},
                                        {u"Known"_s, {}, 96, 3}}};
    EXPECT_EQ(RecognizedText::regionText(read), u"Reading is a conversation. All well- Known"_s)
        << "a capital after the hyphen is a new word, not the rest of one";
    EXPECT_EQ(RecognizedText::regionText({QRect(0, 0, 9, 9), {}}), QString());
}

} // namespace
