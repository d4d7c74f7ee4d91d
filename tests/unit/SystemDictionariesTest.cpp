#include "dictionary/SystemDictionaries.h"

#include "harness/QtPrinters.h"
#include "harness/StarDictWriter.h"
#include "logs/EventLog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

QString userStarDictFolder() {
    return QDir::homePath() + u"/.local/share/stardict/dic"_s;
}

// Real StarDict dictionaries in the user's folder, where the system's reader finds them.
class SystemDictionariesGlossTest : public testing::Test {
protected:
    void install(const QString& stem, const QList<std::pair<QString, QString>>& entries) {
        const QString folder = userStarDictFolder() + u'/' + stem;
        ASSERT_TRUE(QDir().mkpath(folder));
        StarDictWriter writer({.bookname = stem});
        for (const auto& [word, text] : entries)
            writer.add(word, text);
        const auto written = writer.write(folder, stem);
        ASSERT_TRUE(written) << written.error.toStdString();
    }

    void TearDown() override { QDir(userStarDictFolder()).removeRecursively(); }
};

} // namespace

// Names of our own where the tables have one (the two tables differ on purpose: OTE has a
// tab name only), else the dictionary's name, made to fit a tab, or its identifier made
// readable.
TEST(SystemDictionariesTest, TabAndDisplayNames) {
    const struct {
        QString identifier;
        QString fullName;
        QString expected;
    } tabs[] = {
        {u"com.apple.dictionary.zh_CN-en.OCD"_s, u"Oxford Chinese Dictionary"_s, u"牛津中英"_s},
        {u"com.apple.dictionary.OTE"_s, u"Oxford Thesaurus of English"_s, u"同义词"_s},
        {u"dictd:gcide"_s, u"The Collaborative International Dictionary of English"_s, u"GCIDE"_s},
        // Any other: the full name, cut after 7 characters when it has 9 or more.
        {u"stardict:x"_s, u"12345678"_s, u"12345678"_s},
        {u"stardict:x"_s, u"朗道英汉字典5.0"_s, u"朗道英汉字典5…"_s},
        {u"stardict:x"_s, u" \tWordNet\t "_s, u"WordNet"_s},
        {u"stardict:x"_s, u"e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301"_s,
         u"e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301e\u0301"_s}, // 8 characters
    };
    for (const auto& c : tabs)
        EXPECT_EQ(SystemDictionaries::tabName(c.identifier, c.fullName), c.expected)
            << c.identifier.toStdString() << " / " << c.fullName.toStdString();

    const QList<SystemDictionaryBridge::Handle> active{
        {u"stardict:my-dict"_s, u"我的词典"_s, {}},
        {u"com.apple.dictionary.OTE"_s, u"Oxford Thesaurus of English"_s, {}},
        {u"dictd:gcide"_s, u"The Collaborative International Dictionary of English"_s, {}},
    };
    const std::pair<QString, QString> displays[] = {
        {u"bundled"_s, u"简明英汉"_s},
        {u"dictd:gcide"_s, u"GCIDE 英语词典"_s},
        {u"com.apple.dictionary.OTE"_s, u"Oxford Thesaurus of English"_s},
        {u"stardict:my-dict"_s, u"我的词典"_s},
        {u"com.apple.dictionary.foo.wikipediadictionary"_s, u"foo维基百科"_s},
        {u"com.apple.dictionary.Wikipedia"_s, u"Wikipedia"_s},
        {u"stardict:gone-dict"_s, u"gone-dict"_s},
        {u"dictd:devil"_s, u"devil"_s},
    };
    for (const auto& [identifier, expected] : displays)
        EXPECT_EQ(SystemDictionaries::displayName(identifier, active), expected)
            << identifier.toStdString();
}

// Through the system's reader, which lists the user's folder again on every probe.
TEST_F(SystemDictionariesGlossTest, ChineseGlossVerdictReadsTheProbeWord) {
    install(u"ec"_s, {{u"water"_s, u"*[ˈwɔ:tə]\nn. 水；水域"_s}});
    install(u"labels-only"_s, {{u"water"_s, u"〈美〉〈英〉 see aqua"_s}});
    install(u"zh-en"_s, {{u"water"_s, u"水\nshuǐ\n〈名〉水，water"_s}});
    install(u"no-water"_s, {{u"fire"_s, u"n. 火"_s}});
    install(u"raw-chinese"_s, {{u"water"_s, u"*[ˈwɔ:tə]"_s}, {u"wine"_s, u"n. 酒"_s}});
    install(u"gloss-broken"_s, {{u"water"_s, u"n. 水"_s}});
    ASSERT_TRUE(QFile::remove(userStarDictFolder() + u"/gloss-broken/gloss-broken.idx"_s));

    EXPECT_TRUE(SystemDictionaries::activeIdentifiers().contains(u"stardict:ec"_s));
    const std::pair<QString, bool> cases[] = {
        {u"stardict:ec"_s, true},
        {u"stardict:labels-only"_s, false}, // Chinese only inside 〈…〉
        {u"stardict:zh-en"_s, false},       // the entry has a Chinese headword
        {u"stardict:no-water"_s, false},
        {u"stardict:raw-chinese"_s, false}, // a bare transcription glosses nothing
        {u"stardict:gloss-broken"_s, false},
        // Known without asking, whether installed or not.
        {u"com.apple.dictionary.zh_CN-en.OCD"_s, true},
        {u"com.apple.dictionary.AppleDictionary"_s, false},
    };
    for (const auto& [identifier, expected] : cases)
        EXPECT_EQ(SystemDictionaries::givesChineseGloss(identifier), expected)
            << identifier.toStdString();

    // The damaged dictionary, listed on every probe, is logged once.
    const auto& log = EventLog::shared().entries();
    EXPECT_EQ(std::count_if(log.begin(), log.end(),
                            [](const EventLog::Entry& entry) {
                                return entry.kind == EventLog::Kind::error &&
                                       entry.text == u"系统词典无法读取，已跳过：gloss-broken"
                                                     u"（缺少索引文件（.idx））"_s;
                            }),
              1);
}

TEST(SystemDictionariesTest, OpeningTheSettingsMakesTheFolderAndLogsWhenNothingOpensIt) {
    const QString folder = userStarDictFolder();
    QDir(folder).removeRecursively();
    const qsizetype logged = EventLog::shared().entries().size();

    // A command-line process has no desktop opener.
    SystemDictionaries::openDictionarySettings();

    EXPECT_TRUE(QFileInfo(folder).isDir());
    ASSERT_EQ(EventLog::shared().entries().size(), logged + 1);
    const EventLog::Entry& entry = EventLog::shared().entries().first();
    EXPECT_EQ(entry.kind, EventLog::Kind::error);
    EXPECT_EQ(entry.text, u"找不到「词典」App"_s);
}
