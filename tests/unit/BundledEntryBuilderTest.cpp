#include "dictionary/BundledEntryBuilder.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace BundledEntryBuilder;

namespace {

DictionaryEntry build(const QString& translation, std::optional<QString> viaForm = std::nullopt) {
    return entry(Row{u"w"_s, std::nullopt, translation, std::nullopt}, viaForm);
}

// "pos: sense, sense | …", "—" for no part of speech.
QString render(const DictionaryEntry& entry) {
    QStringList parts;
    for (const DictionaryEntry::Section& s : entry.sections) {
        EXPECT_FALSE(s.label);
        EXPECT_TRUE(s.subsenses.isEmpty());
        parts.append(s.partOfSpeech.value_or(u"—"_s) + u": "_s + s.senses.join(u", "_s));
    }
    return parts.join(u" | "_s);
}

} // namespace

TEST(BundledEntryBuilderTest, BuildsOneSectionPerLine) {
    const DictionaryEntry made =
        entry(Row{u"water"_s, u"'wɔ:tә"_s, u"n. 水；水域\nvt. 给…浇水, 灌溉"_s, u"n:90"_s});
    EXPECT_EQ(made.headword, u"water"_s);
    EXPECT_EQ(made.phonetic, u"/ˈwɔːtə/"_s);
    EXPECT_FALSE(made.homographIndex || made.rawFallback);
    EXPECT_EQ(render(made), u"名词: 水, 水域 | 及物动词: 给…浇水, 灌溉"_s);

    for (const QString& lineBreak : {u"\r\n"_s, u"\r"_s, u"\v"_s, u"\f"_s, u"\u0085"_s, u"\u2028"_s,
                                     u"\u2029"_s, u"\n\n \t\r\n"_s})
        EXPECT_EQ(render(build(u"n. 水"_s + lineBreak + u"v. 流"_s)), u"名词: 水 | 动词: 流"_s)
            << int(lineBreak.front().unicode());
}

TEST(BundledEntryBuilderTest, ReadsPrefixesAndSenses) {
    const std::pair<QString, QString> cases[] = {
        {u"n.水,\t"_s, u"名词: 水"_s},
        {u"  n.\t　水"_s, u"名词: 水"_s}, // \s also takes a tab and an ideographic space
        {u"vt. & vi. 某义"_s, u"及物动词: & vi. 某义"_s}, // only one prefix per line
        {u"int. 喂"_s, u"感叹词: 喂"_s},
        {u"phr. 短语"_s, u"phr: 短语"_s},
        {u"abcdefg. x"_s, u"—: abcdefg. x"_s},
        {u"Vt. 某义"_s, u"—: Vt. 某义"_s},
        {u"[计] 存储器"_s, u"计算机: 存储器"_s},
        {u"[ 医 ]库"_s, u"医学: 库"_s},
        {u"[网络] 网关"_s, u"网络: 网关"_s},
        {u"[俚] 某义"_s, u"俚: 某义"_s},
        {u"[七个字的标签啊] x"_s, u"—: [七个字的标签啊] x"_s},
        {u"[计][医] x"_s, u"计算机: [医] x"_s},
        {u"a,b，c;d；e"_s, u"—: a, b, c, d, e"_s},
        {u" , ,\t x y ,, ；"_s, u"—: x y"_s},
        {u"n.\nv. 跑\n[计] ，；\n\t"_s, u"动词: 跑"_s}, // lines without senses go
    };
    for (const auto& [translation, shown] : cases)
        EXPECT_EQ(render(build(translation)), shown) << qPrintable(translation);
}

TEST(BundledEntryBuilderTest, KeepsTheWholeTextWhenNoSectionIsMade) {
    for (const QString& translation : {u"n."_s, u"n.\r\n[计] ，；"_s, u""_s}) {
        const DictionaryEntry made = build(translation, u"ws"_s);
        EXPECT_TRUE(made.sections.isEmpty()) << qPrintable(translation);
        EXPECT_EQ(made.rawFallback, translation);
    }
}

TEST(BundledEntryBuilderTest, VariantFormLeadsTheFirstSection) {
    EXPECT_EQ(render(build(u"n. 跑\nvi. 奔跑"_s, u"running"_s)),
              u"名词: running 的变化形式, 跑 | 不及物动词: 奔跑"_s);
}

TEST(BundledEntryBuilderTest, NormalisesThePhonetic) {
    const std::pair<std::optional<QString>, std::optional<QString>> cases[] = {
        {std::nullopt, std::nullopt}, {u" \n\u2028"_s, std::nullopt},
        {u"'wɔ:tә"_s, u"/ˈwɔːtə/"_s}, {u" ,ɪntə'næʃənl\n"_s, u"/ˌɪntəˈnæʃənl/"_s},
        {u"ɡud"_s, u"/gud/"_s}, // IPA script g becomes ASCII g
        {u"/x/"_s, u"//x//"_s},
    };
    for (const auto& [raw, shown] : cases)
        EXPECT_EQ(normalizePhonetic(raw), shown) << qPrintable(raw.value_or(u"(absent)"_s));
}

TEST(BundledEntryBuilderTest, EmptyColumnsReadAsMissing) {
    for (const std::optional<QString>& column : {std::optional<QString>(), std::optional(u""_s)}) {
        const Row row = rowFromColumns(u"asked"_s, column, column, column, column);
        EXPECT_EQ(row.word, u"asked"_s);
        EXPECT_FALSE(row.phonetic || row.pos);
        EXPECT_EQ(row.translation, u""_s);
    }
}
