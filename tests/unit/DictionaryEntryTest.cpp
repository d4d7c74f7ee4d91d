#include "dictionary/DictionaryEntry.h"

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

TEST(DictionaryEntryTest, SenseCountIncludesSubsenses) {
    const DictionaryEntry entry =
        entryWith({section(u"名词"_s, {u"a"_s, u"b"_s}, {{u"x"_s, u"y"_s}}),
                   section(u"动词"_s, {u"c"_s}, {{}, {u"z"_s}})});
    EXPECT_EQ(entry.allSenses(), (QStringList{u"a"_s, u"b"_s, u"c"_s}));
    EXPECT_EQ(entry.senseCount(), 6);
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

TEST(DictionaryEntryTest, CopyText) {
    DictionaryEntry entry =
        entryWith({section(u"名词"_s, {u"银行"_s}, {{u"储蓄所"_s, u"钱庄"_s}}, u"不写"_s),
                   section(u"名词"_s, {u"岸"_s}), section(std::nullopt, {u"库"_s})});
    entry.phonetic = u"/bæŋk/"_s;
    entry.rawFallback = u"不该出现"_s;
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
