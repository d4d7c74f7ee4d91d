#include "lookup/Glosser.h"

#include "dictionary/BundledDictionary.h"
#include "dictionary/PhraseBook.h"
#include "harness/FixtureDatabase.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class GlosserTest : public testing::Test {
protected:
    FixtureDatabase database{FixtureDatabase::schema() + uR"(
        INSERT INTO words(word, translation) VALUES
            ('i', 'pron. 我'), ('give', 'vt. 给, 赠送'), ('up', 'adv. 向上'),
            ('smoking', 'n. 吸烟'), ('look', 'v. 看, 瞧'), ('looked', 'v. 看, 瞧( look的过去式 )'),
            ('forward', 'adv. 向前'), ('to', 'prep. 到'), ('the', 'art. 这'),
            ('party', 'n. 聚会'), ('she', 'pron. 她'), ('make', 'v. 做'), ('her', 'pron. 她的'),
            ('mind', 'n. 头脑'), ('ice', 'n. 冰'), ('cream', 'n. 奶油'), ('be', 'v. 是'),
            ('water', 'n. 水；水域' || char(10) || 'vt. 浇水'), ('dollar', 'n. 美元'),
            ('pay', 'v. 支付'), ('take', 'v. 拿'), ('care', 'n. 照顾'), ('of', 'prep. …的'),
            ('business', 'n. 生意'), ('john', 'n. 约翰'), ('register', 'n. 登记'),
            ('refresh', 'v. 刷新'), ('pick', 'v. 挑选'), ('phone', 'n. 电话'), ('on', 'prep. 在…上'),
            ('is', 'be的现在式第三人称' || char(10) || '[计] 信息系统'),
            ('lights', 'n. 家畜的肺脏；灯光（light的复数）'), ('light', 'n. 光'),
            ('left', 'a. 左边的' || char(10) || 'leave的过去式'), ('leave', 'n. 许可' || char(10) || 'vt. 离开');
        INSERT INTO forms VALUES ('gave', 'give'), ('looked', 'look'), ('made', 'make'),
            ('creams', 'cream'), ('dollars', 'dollar'), ('paid', 'pay'), ('is', 'be'),
            ('lights', 'light'), ('left', 'leave');
        INSERT INTO phrases VALUES ('give up', '放弃, 停止'), ('look forward', 'v. 向前看'),
            ('look forward to', ' 期望, 盼望'), ('make up one''s mind', '下决心'),
            ('ice cream', '冰淇淋' || char(10) || '[化] 冰淇淋'), ('to be', '存在'),
            ('take care', '小心'), ('care of', '由…转交'), ('pick up', '拾起'),
            ('up the', '[网络] 向上'), ('register refresh', '[计] 寄存器刷新'),
            ('give up the ghost', '死');
    )"_s};
    BundledDictionary words{database.path()};
    PhraseBook phrases{database.path()};
    Glosser glosser{words, phrases};

    // "text=headword:sense" for glossed pieces, "[text]" for the rest; checks that the pieces
    // put together give back the text.
    QString read(const QString& text) const {
        const Gloss gloss = glosser.gloss(text);
        QString joined;
        QStringList shown;
        for (const GlossPiece& piece : gloss.pieces) {
            joined += piece.text;
            shown.append(piece.isGlossed()
                             ? piece.text + u'=' + piece.headword + u':' + piece.senses.front()
                             : u'[' + piece.text + u']');
        }
        EXPECT_EQ(joined, text);
        return shown.join(u' ');
    }
};

} // namespace

TEST_F(GlosserTest, TakesTheLongestPhraseFirstThenWords) {
    EXPECT_EQ(
        read(u"I look forward to the party"_s),
        u"I=i:我 [ ] look forward to=look forward to:期望 [ ] the=the:这 [ ] party=party:聚会"_s);
    EXPECT_EQ(read(u"give up the ghost"_s), u"give up the ghost=give up the ghost:死"_s);
    // Left to right: a phrase that starts inside an earlier one does not take its words.
    EXPECT_EQ(read(u"take care of business"_s),
              u"take care=take care:小心 [ ] of=of:…的 [ ] business=business:生意"_s);
    EXPECT_EQ(read(u"pick up the phone"_s),
              u"pick up=pick up:拾起 [ ] the=the:这 [ ] phone=phone:电话"_s);
}

TEST_F(GlosserTest, FindsPhrasesWrittenInflected) {
    EXPECT_EQ(read(u"I gave up smoking"_s),
              u"I=i:我 [ ] gave up=give up:放弃 [ ] smoking=smoking:吸烟"_s);
    EXPECT_EQ(read(u"Looked forward"_s), u"Looked forward=look forward:向前看"_s);
    EXPECT_EQ(read(u"She made up her mind"_s),
              u"She=she:她 [ ] made up her mind=make up one's mind:下决心"_s);
    EXPECT_EQ(read(u"ice creams"_s), u"ice creams=ice cream:冰淇淋"_s);
    // A word reached through its lemma is glossed as the lemma, without the note.
    EXPECT_EQ(read(u"paid"_s), u"paid=pay:支付"_s);
}

TEST_F(GlosserTest, ReadsAWordThatIsAlsoAnInflectionAsTheInflectionFirst) {
    EXPECT_EQ(read(u"is"_s), u"is=is:是"_s);
    EXPECT_EQ(read(u"lights"_s), u"lights=lights:灯光"_s);
    EXPECT_EQ(glosser.gloss(u"left"_s).pieces.front().senses,
              (QStringList{u"离开"_s, u"左边的"_s}));
}

TEST_F(GlosserTest, OnlySpacesJoinTheWordsOfAPhrase) {
    EXPECT_EQ(read(u"give, up"_s), u"give=give:给 [, ] up=up:向上"_s);
    EXPECT_EQ(read(u"give\nup"_s), u"give=give:给 [\n] up=up:向上"_s);
    EXPECT_EQ(read(u"“Water.”"_s), u"[“] Water=water:水 [.”]"_s);
}

TEST_F(GlosserTest, LeavesNumbersNamesAndUnknownWordsAsTheyStand) {
    EXPECT_EQ(read(u"Zork paid 42 dollars for 3D glasses"_s),
              u"[Zork ] paid=pay:支付 [ 42 ] dollars=dollar:美元 [ for 3D glasses]"_s);
    EXPECT_EQ(read(u"John's water"_s), u"John's=john:约翰 [ ] water=water:水"_s);
    EXPECT_EQ(read(u""_s), u""_s);
    EXPECT_EQ(read(u"... 42!"_s), u"[... 42!]"_s);
}

TEST_F(GlosserTest, PassesOverPhrasesThatMisreadOrdinaryText) {
    // "to be" 存在 would misread almost every sentence it appears in.
    EXPECT_EQ(read(u"to be"_s), u"to=to:到 [ ] be=be:是"_s);
    // A subject-field phrase still reads its field's sense when it has nothing else.
    EXPECT_EQ(read(u"register refresh"_s), u"register refresh=register refresh:寄存器刷新"_s);
    // Its general line wins over a subject line.
    EXPECT_EQ(glosser.gloss(u"ice cream"_s).pieces.front().senses, QStringList{u"冰淇淋"_s});
}

TEST_F(GlosserTest, LineNamesEachPieceOnceAndALonePieceInFull) {
    EXPECT_EQ(glosser.gloss(u"I gave up the ice cream, the party."_s).line(),
              u"I 我；give up 放弃；ice cream 冰淇淋；party 聚会"_s);
    EXPECT_EQ(glosser.gloss(u"water."_s).line(), u"water 水，水域，浇水"_s);
    EXPECT_EQ(glosser.gloss(u"\"give up\""_s).line(), u"give up 放弃，停止"_s);
    EXPECT_EQ(glosser.gloss(u"Zork 42"_s).glossedCount(), 0);
    EXPECT_EQ(glosser.gloss(u"Zork 42"_s).line(), QString());
}

TEST(GlosserWithoutPhrasesTest, AnOlderDatabaseStillGlossesWords) {
    const FixtureDatabase older(
        uR"(CREATE TABLE words(word TEXT PRIMARY KEY, phonetic TEXT, translation TEXT, pos TEXT);
            INSERT INTO words(word, translation) VALUES ('give', 'vt. 给'), ('up', 'adv. 向上');)"_s);
    const BundledDictionary words(older.path());
    const PhraseBook phrases(older.path());
    EXPECT_FALSE(phrases.isAvailable());
    EXPECT_EQ(Glosser(words, phrases).gloss(u"give up"_s).line(), u"give 给；up 向上"_s);
}
