#include "harness/QtPrinters.h"
#include "platform/SystemDictionaryBridge.h"

#include <QFile>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using Handle = SystemDictionaryBridge::Handle;

// Debian's dictd databases (dict-gcide, dict-wn), read through the program's own bridge.
namespace {

std::optional<Handle> installed(const QString& identifier) {
    for (const Handle& handle : SystemDictionaryBridge::activeDictionaries())
        if (handle.identifier == identifier)
            return handle;
    return std::nullopt;
}

// The first line of each entry in a definition, joined by "|".
QString headlines(const std::optional<QString>& definition) {
    if (!definition)
        return u"-"_s;
    QStringList lines;
    for (const QString& entry : definition->split(u"\n\n"_s))
        if (!entry.startsWith(u' '))
            lines.push_back(entry.section(u'\n', 0, 0));
    return lines.join(u'|');
}

class SystemDictionaryIntegrationTest : public testing::Test {
protected:
    void SetUp() override {
        if (!QFile::exists(u"/usr/share/dictd/gcide.index"_s) ||
            !QFile::exists(u"/usr/share/dictd/wn.index"_s))
            GTEST_SKIP() << "needs dict-gcide and dict-wn (scripts/setup installs them)";
    }
};

} // namespace

TEST_F(SystemDictionaryIntegrationTest, ListsTheDictdDatabasesByTheirOwnNames) {
    const auto gcide = installed(u"dictd:gcide"_s);
    const auto wordNet = installed(u"dictd:wn"_s);
    ASSERT_TRUE(gcide && wordNet);
    EXPECT_TRUE(gcide->name.startsWith(u"The Collaborative International Dictionary of English"_s))
        << qPrintable(gcide->name);
    EXPECT_EQ(gcide->shortName, u"gcide"_s);
    EXPECT_TRUE(wordNet->name.startsWith(u"WordNet"_s)) << qPrintable(wordNet->name);
    EXPECT_EQ(wordNet->shortName, u"wn"_s);
}

TEST_F(SystemDictionaryIntegrationTest, AnswersFromGcideAndWordNet) {
    const auto gcide = installed(u"dictd:gcide"_s);
    const auto wordNet = installed(u"dictd:wn"_s);
    ASSERT_TRUE(gcide && wordNet);

    const std::optional<QString> water = SystemDictionaryBridge::rawDefinition(u"water"_s, *gcide);
    ASSERT_TRUE(water);
    EXPECT_EQ(water->count(u"Water \\Wa\"ter\\"_s), 3) << "noun, transitive and intransitive verb";
    EXPECT_EQ(SystemDictionaryBridge::rawDefinition(u"WATER"_s, *gcide), water);
    EXPECT_EQ(*water, water->trimmed());

    const struct {
        const Handle& dictionary;
        QString word;
        QString headlines;
    } cases[] = {
        // "Coop" twice, not "co-op": the headword as written wins over dictd's looser match.
        {*gcide, u"coop"_s,
         u"Coop \\Coop\\ (k[=oo]p), n. [Cf. AS. cypa a measure, D. kuip tub,|"
         u"Coop \\Coop\\, v. t. [imp. & p. p. {Cooped}; p. pr. & vb. n."_s},
        {*gcide, u"co-op"_s,
         u"co-op \\co\"-op\\ (k[=o]\"[o^]p), n. [ contraction of co-operative"_s},
        // No "wellbeing" in gcide: dictd's own match, punctuation aside.
        {*gcide, u"wellbeing"_s, u"Well-being \\Well\"-be`ing\\, n."_s},
        {*gcide, u"qwxzzy"_s, u"-"_s},
        {*wordNet, u"water"_s, u"water"_s},
        {*wordNet, u"wellbeing"_s, u"wellbeing"_s},
        {*wordNet, u"well-being"_s, u"well-being"_s},
        {*wordNet, u"3-D"_s, u"3-D"_s},
        {*wordNet, u"Gravenhage"_s, u"-"_s},
    };
    for (const auto& [dictionary, word, expected] : cases)
        EXPECT_EQ(headlines(SystemDictionaryBridge::rawDefinition(word, dictionary)), expected)
            << qPrintable(dictionary.identifier + u' ' + word);
    EXPECT_TRUE(SystemDictionaryBridge::rawDefinition(u"water"_s, *wordNet)
                    ->contains(u"binary compound"_s));
}
