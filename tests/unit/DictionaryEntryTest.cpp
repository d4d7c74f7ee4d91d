#include "dictionary/DictionaryEntry.h"

#include "dictionary/BundledEntryBuilder.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using Section = DictionaryEntry::Section;

namespace {

Section section(std::optional<QString> pos, QStringList senses, QList<QStringList> subs = {},
                std::optional<QString> label = std::nullopt) {
    return Section{std::move(label), std::move(pos), std::move(senses), std::move(subs)};
}

DictionaryEntry entryWith(QList<Section> sections) {
    return DictionaryEntry{u"bank"_s, std::nullopt, std::nullopt, std::move(sections),
                           std::nullopt};
}

// "label/pos: sense{subsense;…}, …" with sections joined by " | "; a sense without a
// subsense list shows no braces, so padding is visible.
QString render(const QList<Section>& sections) {
    QStringList parts;
    for (const Section& s : sections) {
        QStringList senses;
        for (qsizetype i = 0; i < s.senses.size(); ++i)
            senses.append(s.senses[i] + (i < s.subsenses.size()
                                             ? u"{"_s + s.subsenses[i].join(u';') + u"}"_s
                                             : QString()));
        parts.append((s.label ? *s.label + u"/"_s : QString()) + s.partOfSpeech.value_or(u"—"_s) +
                     u": "_s + senses.join(u", "_s));
    }
    return parts.join(u" | "_s);
}

DictionaryEntry build(const QString& translation, std::optional<QString> viaForm = std::nullopt) {
    return BundledEntryBuilder::entry({u"w"_s, std::nullopt, translation, std::nullopt}, viaForm);
}

} // namespace

TEST(DictionaryEntryTest, DisplayHeadwordMarksHomographs) {
    const std::pair<std::optional<int>, QString> cases[] = {
        {std::nullopt, u"bank"_s}, {0, u"bank"_s},  {-1, u"bank"_s},    {1, u"bank¹"_s},
        {2, u"bank²"_s},           {9, u"bank⁹"_s}, {10, u"bank 10"_s}, {12, u"bank 12"_s}};
    for (const auto& [index, shown] : cases) {
        DictionaryEntry entry = entryWith({});
        entry.homographIndex = index;
        EXPECT_EQ(entry.displayHeadword(), shown) << index.value_or(-99);
    }
}

TEST(DictionaryEntryTest, VisibleSectionsCutsJoinsAndPads) {
    const QList<Section> mixed = {section(u"名词"_s, {u"a"_s, u"b"_s}, {{u"a1"_s}}, u"L1"_s),
                                  section(u"名词"_s, {}),
                                  section(u"名词"_s, {u"c"_s}, {{u"c1"_s}}, u"L2"_s),
                                  section(u"动词"_s, {u"d"_s, u"e"_s}),
                                  section(std::nullopt, {u"f"_s}),
                                  section(std::nullopt, {u"g"_s}),
                                  section(u"名词"_s, {u"h"_s})};
    const std::pair<int, QString> cases[] = {
        {DictionaryEntry::unlimited,
         u"L1/名词: a{a1}, b{}, c{c1} | 动词: d{}, e{} | —: f{} | —: g{} | 名词: h{}"_s},
        {4, u"L1/名词: a{a1}, b{}, c{c1} | 动词: d{}"_s},
        {1, u"L1/名词: a{a1}"_s},
        {0, u""_s},
        {-5, u""_s},
    };
    for (const auto& [limit, shown] : cases)
        EXPECT_EQ(render(entryWith(mixed).visibleSections(limit)), shown) << limit;
}

TEST(DictionaryEntryTest, SensesAndCopyText) {
    DictionaryEntry entry =
        entryWith({section(u"名词"_s, {u"银行"_s}, {{u"储蓄所"_s, u"钱庄"_s}}, u"不写"_s),
                   section(u"名词"_s, {u"岸"_s}), section(std::nullopt, {u"库"_s})});
    entry.phonetic = u"/bæŋk/"_s;
    entry.rawFallback = u"不该出现"_s;
    EXPECT_EQ(entry.allSenses(), (QStringList{u"银行"_s, u"岸"_s, u"库"_s}));
    EXPECT_EQ(entry.senseCount(), 5) << "subsenses count too";
    EXPECT_EQ(entry.copyText(u"bank²"_s),
              u"bank² /bæŋk/\n名词\n① 银行\n  · 储蓄所\n  · 钱庄\n② 岸\n① 库"_s);

    entry.sections = {section(u"名词"_s, {})};
    EXPECT_EQ(entry.copyText(u"bank"_s), u"bank /bæŋk/\n不该出现"_s);
    entry.phonetic = u""_s;
    entry.rawFallback = u""_s;
    EXPECT_EQ(entry.copyText(u"bank"_s), u"bank"_s);

    QStringList many;
    for (int i = 1; i <= 21; ++i)
        many.append(QString::number(i));
    const QStringList lines = entryWith({section(std::nullopt, many)}).copyText({}).split(u'\n');
    ASSERT_EQ(lines.size(), 22);
    EXPECT_EQ(lines[0], u""_s);
    EXPECT_EQ(lines[20], u"⑳ 20"_s);
    EXPECT_EQ(lines[21], u"· 21"_s);
}

TEST(BundledEntryBuilderTest, ReadsOneSectionPerLine) {
    const std::pair<QString, QString> cases[] = {
        {u"n. 水；水域\nvt. 给…浇水, 灌溉"_s, u"名词: 水, 水域 | 及物动词: 给…浇水, 灌溉"_s},
        {u"n.水,\t"_s, u"名词: 水"_s},
        {u"  n.\t　水"_s, u"名词: 水"_s}, // \s also takes a tab and an ideographic space
        {u"vt. & vi. 某义"_s, u"及物动词: & vi. 某义"_s}, // only one prefix per line
        {u"phr. 短语"_s, u"phr: 短语"_s},
        {u"abcdefg. x"_s, u"—: abcdefg. x"_s},
        {u"Vt. 某义"_s, u"—: Vt. 某义"_s},
        {u"[计] 存储器"_s, u"计算机: 存储器"_s},
        {u"[ 医 ]库"_s, u"医学: 库"_s},
        {u"[俚] 某义"_s, u"俚: 某义"_s},
        {u"[七个字的标签啊] x"_s, u"—: [七个字的标签啊] x"_s},
        {u"[计][医] x"_s, u"计算机: [医] x"_s},
        {u"a,b，c;d；e"_s, u"—: a, b, c, d, e"_s},
        {u" , ,\t x y ,, ；"_s, u"—: x y"_s},
        {u"n.\nv. 跑\n[计] ，；\n\t"_s, u"动词: 跑"_s}, // lines without senses go
    };
    for (const auto& [translation, shown] : cases)
        EXPECT_EQ(render(build(translation).sections), shown) << qPrintable(translation);
    for (const QString& lineBreak : {u"\r\n"_s, u"\r"_s, u"\v"_s, u"\f"_s, u"\u0085"_s, u"\u2028"_s,
                                     u"\u2029"_s, u"\n\n \t\r\n"_s})
        EXPECT_EQ(render(build(u"n. 水"_s + lineBreak + u"v. 流"_s).sections),
                  u"名词: 水 | 动词: 流"_s)
            << int(lineBreak.front().unicode());
    EXPECT_EQ(render(build(u"n. 跑\nvi. 奔跑"_s, u"running"_s).sections),
              u"名词: running 的变化形式, 跑 | 不及物动词: 奔跑"_s)
        << "a variant form leads the first section";
    // No section made: the whole text is shown as it stands.
    for (const QString& translation : {u"n."_s, u"n.\r\n[计] ，；"_s, u""_s}) {
        const DictionaryEntry made = build(translation, u"ws"_s);
        EXPECT_TRUE(made.sections.isEmpty()) << qPrintable(translation);
        EXPECT_EQ(made.rawFallback, translation);
    }
}

TEST(BundledEntryBuilderTest, NormalisesThePhonetic) {
    const std::pair<std::optional<QString>, std::optional<QString>> cases[] = {
        {std::nullopt, std::nullopt}, {u" \n\u2028"_s, std::nullopt},
        {u"'wɔ:tә"_s, u"/ˈwɔːtə/"_s}, {u" ,ɪntə'næʃənl\n"_s, u"/ˌɪntəˈnæʃənl/"_s},
        {u"ɡud"_s, u"/gud/"_s}, // IPA script g becomes ASCII g
        {u"/x/"_s, u"//x//"_s},
    };
    for (const auto& [raw, shown] : cases)
        EXPECT_EQ(BundledEntryBuilder::normalizePhonetic(raw), shown)
            << qPrintable(raw.value_or(u"(absent)"_s));
}
