#include "harness/QtPrinters.h"
#include "harness/QuilletProcess.h"
#include "harness/StarDictWriter.h"
#include "platform/SystemDictionaryBridge.h"
#include "settings/AppPaths.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

const QString kStarDict = u"stardict:quillet-ec"_s;
const QString kGcide = u"dictd:gcide"_s;

QJsonObject quilletJson(const QStringList& arguments) {
    const auto run = QuilletProcess::run(arguments, QProcessEnvironment::systemEnvironment());
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    return QJsonDocument::fromJson(run.out.toUtf8()).object();
}

QJsonObject lookup(const QString& word) {
    return quilletJson({u"lookup"_s, u"--json"_s, word});
}

QStringList allSourceIds(const QString& word) {
    QStringList ids;
    for (const QJsonValue& source :
         quilletJson({u"lookup"_s, u"--all"_s, u"--json"_s, word})[u"sources"_s].toArray())
        ids.append(source[u"id"_s].toString());
    return ids;
}

// An English–Chinese StarDict dictionary in the user's folder, and Debian's gcide, in an
// order the user chose.
class SystemDictionaryLookupTest : public testing::Test {
protected:
    void SetUp() override {
        if (!QFile::exists(AppPaths::wordDatabase()))
            GTEST_SKIP() << "the word database was not built";
        if (!QFile::exists(u"/usr/share/dictd/gcide.index"_s))
            GTEST_SKIP() << "Debian's dict-gcide is not installed";

        const QString folder = QDir::homePath() + u"/.local/share/stardict/dic/quillet-ec"_s;
        ASSERT_TRUE(QDir().mkpath(folder));
        StarDictWriter writer({.bookname = u"Quillet 测试英汉"_s, .dictzip = true});
        writer
            .add(u"water"_s, u"*[ˈwɔ:tə]\nn. 水；水域\nvt. 给…浇水"_s)
            // Only a pointer: no Chinese outside the 〈…〉 label.
            .add(u"colour"_s, u"〈英〉= color"_s)
            // A Chinese-to-English entry reached through an English synonym.
            .add(u"茶"_s, u"茶\nchá\ntea; tea leaves"_s)
            .addSynonym(u"tea"_s, u"茶"_s)
            .add(u"china"_s, u"china [ˈtʃaɪnə]\nn. 瓷器\n\n中国\nZhōngguó\nChina"_s);
        const auto written = writer.write(folder, u"quillet-ec"_s);
        ASSERT_TRUE(written) << written.error.toStdString();

        // WordNet, if installed, is kept out so the answers are the same everywhere.
        setOrder({kStarDict, kGcide, u"bundled"_s}, {u"dictd:wn"_s});
    }

    void TearDown() override {
        QDir(QDir::homePath() + u"/.local/share/stardict"_s).removeRecursively();
    }

    static void setOrder(const QStringList& order, const QStringList& removed) {
        for (const auto& [key, list] : {std::pair{u"dictionaryOrder"_s, order},
                                        std::pair{u"removedDictionaries"_s, removed}}) {
            const QString value =
                QString::fromUtf8(QJsonDocument(QJsonArray::fromStringList(list)).toJson());
            quilletJson({u"settings"_s, u"set"_s, key, value});
        }
    }
};

} // namespace

TEST_F(SystemDictionaryLookupTest, WordIsAnsweredFromTheFirstDictionaryInTheUsersOrder) {
    const QJsonObject answer = lookup(u"water"_s);
    EXPECT_EQ(answer[u"source"_s][u"id"_s].toString(), kStarDict);
    EXPECT_EQ(answer[u"source"_s][u"name"_s].toString(), u"Quillet 测试英汉"_s);
    const QJsonValue entry = answer[u"entries"_s][0];
    EXPECT_EQ(entry[u"phonetic"_s].toString(), u"/ˈwɔːtə/"_s);
    EXPECT_EQ(entry[u"sections"_s][0][u"partOfSpeech"_s].toString(), u"名词"_s);
    EXPECT_EQ(entry[u"sections"_s][0][u"senses"_s].toArray().toVariantList(),
              (QVariantList{u"水"_s, u"水域"_s}));

    setOrder({kGcide, kStarDict, u"bundled"_s}, {u"dictd:wn"_s});
    const QJsonObject fromGcide = lookup(u"water"_s);
    EXPECT_EQ(fromGcide[u"source"_s][u"id"_s].toString(), kGcide);
    EXPECT_EQ(fromGcide[u"entries"_s][0][u"headword"_s].toString(), u"Water"_s);
}

TEST_F(SystemDictionaryLookupTest, CrossReferenceLosesToARealAnswerLaterInTheOrder) {
    EXPECT_EQ(lookup(u"colour"_s)[u"source"_s][u"id"_s].toString(), kGcide);
    // Every answer, real ones in order and the pointer last, as the panel's tabs show them.
    EXPECT_EQ(allSourceIds(u"colour"_s), (QStringList{kGcide, u"bundled"_s, kStarDict}));

    // With nothing better, the pointer is still shown.
    setOrder({kStarDict}, {kGcide, u"dictd:wn"_s, u"bundled"_s});
    const QJsonObject alone = lookup(u"colour"_s);
    EXPECT_EQ(alone[u"source"_s][u"id"_s].toString(), kStarDict);
    EXPECT_EQ(alone[u"entries"_s][0][u"sections"_s][0][u"senses"_s][0].toString(),
              u"〈英〉= color"_s);
}

TEST_F(SystemDictionaryLookupTest, ChineseToEnglishEntriesAreDropped) {
    const QJsonObject china = lookup(u"china"_s);
    EXPECT_EQ(china[u"source"_s][u"id"_s].toString(), kStarDict);
    const QJsonArray entries = china[u"entries"_s].toArray();
    ASSERT_EQ(entries.size(), 1);
    EXPECT_EQ(entries[0][u"headword"_s].toString(), u"china"_s);
    EXPECT_EQ(entries[0][u"sections"_s].toArray().size(), 1);

    // The dictionary's only entry for "tea" is a Chinese headword: the next source answers.
    EXPECT_EQ(lookup(u"tea"_s)[u"source"_s][u"id"_s].toString(), kGcide);
    EXPECT_FALSE(allSourceIds(u"tea"_s).contains(kStarDict));
}

// The saved order, then what it does not name yet, with the names and verdicts the
// settings show.
TEST_F(SystemDictionaryLookupTest, DictionariesListsTheEffectiveOrderWithNames) {
    QStringList rows;
    for (const QJsonValue& row :
         quilletJson({u"dictionaries"_s, u"--json"_s})[u"dictionaries"_s].toArray())
        rows.append(row[u"identifier"_s].toString() + u" | "_s + row[u"displayName"_s].toString() +
                    u" | "_s + row[u"tabName"_s].toString() +
                    (row[u"chineseGloss"_s].toBool() ? u" | 中文"_s : u""_s));
    EXPECT_EQ(rows.mid(0, 3),
              (QStringList{u"stardict:quillet-ec | Quillet 测试英汉 | Quillet… | 中文"_s,
                           u"dictd:gcide | GCIDE 英语词典 | GCIDE"_s,
                           u"bundled | 简明英汉 | 简明英汉 | 中文"_s}));
    for (const QString& row : rows.mid(3))
        EXPECT_TRUE(row.startsWith(u"dictd:"_s)) << row.toStdString();
}

// Debian's dictd databases as they are built, read through the program's own bridge: gcide
// folds case and punctuation, WordNet counts every byte.
TEST(SystemDictdDatabasesTest, AnswerInTheirOwnCollation) {
    if (!QFile::exists(u"/usr/share/dictd/gcide.index"_s) ||
        !QFile::exists(u"/usr/share/dictd/wn.index"_s))
        GTEST_SKIP() << "needs dict-gcide and dict-wn (scripts/setup installs them)";
    std::optional<SystemDictionaryBridge::Handle> gcide, wordNet;
    for (const auto& handle : SystemDictionaryBridge::activeDictionaries()) {
        if (handle.identifier == u"dictd:gcide"_s)
            gcide = handle;
        else if (handle.identifier == u"dictd:wn"_s)
            wordNet = handle;
    }
    ASSERT_TRUE(gcide && wordNet);
    EXPECT_TRUE(gcide->name.startsWith(u"The Collaborative International Dictionary"_s));
    EXPECT_TRUE(wordNet->name.startsWith(u"WordNet"_s)) << qPrintable(wordNet->name);

    const auto water = SystemDictionaryBridge::rawDefinition(u"WATER"_s, *gcide);
    ASSERT_TRUE(water);
    EXPECT_EQ(water->count(u"Water \\Wa\"ter\\"_s), 3) << "noun, transitive and intransitive verb";

    const struct {
        const SystemDictionaryBridge::Handle& dictionary;
        QString word;
        QString headlines; // the first line of each entry, joined by "|"; "-" for none
    } cases[] = {
        // "Coop" twice, not "co-op": the headword as written wins over dictd's looser match.
        {*gcide, u"coop"_s,
         u"Coop \\Coop\\ (k[=oo]p), n. [Cf. AS. cypa a measure, D. kuip tub,|"
         u"Coop \\Coop\\, v. t. [imp. & p. p. {Cooped}; p. pr. & vb. n."_s},
        // No "wellbeing" in gcide: dictd's own match, punctuation aside.
        {*gcide, u"wellbeing"_s, u"Well-being \\Well\"-be`ing\\, n."_s},
        {*gcide, u"qwxzzy"_s, u"-"_s},
        {*wordNet, u"wellbeing"_s, u"wellbeing"_s},
        {*wordNet, u"well-being"_s, u"well-being"_s},
        {*wordNet, u"Gravenhage"_s, u"-"_s},
    };
    for (const auto& [dictionary, word, expected] : cases) {
        QStringList lines;
        const auto definition = SystemDictionaryBridge::rawDefinition(word, dictionary);
        for (const QString& entry : definition.value_or(u"-"_s).split(u"\n\n"_s))
            if (!entry.startsWith(u' '))
                lines.push_back(entry.section(u'\n', 0, 0));
        EXPECT_EQ(lines.join(u'|'), expected) << qPrintable(dictionary.identifier + u' ' + word);
    }
}
