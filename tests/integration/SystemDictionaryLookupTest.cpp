#include "harness/QtPrinters.h"
#include "harness/QuilletProcess.h"
#include "harness/StarDictWriter.h"
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

QJsonObject json(const QuilletProcess::Run& run) {
    return QJsonDocument::fromJson(run.out.toUtf8()).object();
}

QuilletProcess::Run quillet(const QStringList& arguments) {
    return QuilletProcess::run(arguments, QProcessEnvironment::systemEnvironment());
}

QStringList sourceIds(const QJsonObject& answer) {
    QStringList ids;
    for (const QJsonValue& source : answer[u"sources"_s].toArray())
        ids.append(source[u"id"_s].toString());
    return ids;
}

QString jsonList(const QStringList& list) {
    return QString::fromUtf8(QJsonDocument(QJsonArray::fromStringList(list)).toJson());
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
        for (const auto& [key, value] : {std::pair{u"dictionaryOrder"_s, jsonList(order)},
                                         std::pair{u"removedDictionaries"_s, jsonList(removed)}}) {
            const auto run = quillet({u"settings"_s, u"set"_s, key, value});
            ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
        }
    }
};

} // namespace

TEST_F(SystemDictionaryLookupTest, WordIsAnsweredFromTheFirstDictionaryInTheUsersOrder) {
    const auto run = quillet({u"lookup"_s, u"--json"_s, u"water"_s});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    const QJsonObject source = json(run)[u"source"_s].toObject();
    EXPECT_EQ(source[u"id"_s].toString(), kStarDict);
    EXPECT_EQ(source[u"name"_s].toString(), u"Quillet 测试英汉"_s);
    EXPECT_EQ(source[u"shortName"_s].toString(), u"Quillet…"_s);
    const QJsonObject entry = json(run)[u"entries"_s].toArray().at(0).toObject();
    EXPECT_EQ(entry[u"phonetic"_s].toString(), u"/ˈwɔːtə/"_s);
    const QJsonObject section = entry[u"sections"_s].toArray().at(0).toObject();
    EXPECT_EQ(section[u"partOfSpeech"_s].toString(), u"名词"_s);
    EXPECT_EQ(section[u"senses"_s].toArray().toVariantList(), (QVariantList{u"水"_s, u"水域"_s}));

    setOrder({kGcide, kStarDict, u"bundled"_s}, {u"dictd:wn"_s});
    const QJsonObject fromGcide = json(quillet({u"lookup"_s, u"--json"_s, u"water"_s}));
    EXPECT_EQ(fromGcide[u"source"_s][u"id"_s].toString(), kGcide);
    EXPECT_EQ(fromGcide[u"source"_s][u"shortName"_s].toString(), u"GCIDE"_s);
    EXPECT_EQ(fromGcide[u"entries"_s].toArray().at(0)[u"headword"_s].toString(), u"Water"_s);
}

TEST_F(SystemDictionaryLookupTest, CrossReferenceLosesToARealAnswerLaterInTheOrder) {
    const QJsonObject answer = json(quillet({u"lookup"_s, u"--json"_s, u"colour"_s}));
    EXPECT_EQ(answer[u"source"_s][u"id"_s].toString(), kGcide);

    // Every answer, real ones in order and the pointer last, as the panel's tabs show them.
    const auto all = quillet({u"lookup"_s, u"--all"_s, u"--json"_s, u"colour"_s});
    ASSERT_EQ(all.exitCode, 0) << all.err.toStdString();
    EXPECT_EQ(sourceIds(json(all)), (QStringList{kGcide, u"bundled"_s, kStarDict}));

    // With nothing better, the pointer is still shown.
    setOrder({kStarDict}, {kGcide, u"dictd:wn"_s, u"bundled"_s});
    const QJsonObject alone = json(quillet({u"lookup"_s, u"--json"_s, u"colour"_s}));
    EXPECT_EQ(alone[u"source"_s][u"id"_s].toString(), kStarDict);
    EXPECT_EQ(alone[u"entries"_s].toArray().at(0)[u"sections"_s][0][u"senses"_s][0].toString(),
              u"〈英〉= color"_s);
}

TEST_F(SystemDictionaryLookupTest, ChineseToEnglishEntriesAreDropped) {
    const QJsonObject china = json(quillet({u"lookup"_s, u"--json"_s, u"china"_s}));
    EXPECT_EQ(china[u"source"_s][u"id"_s].toString(), kStarDict);
    const QJsonArray entries = china[u"entries"_s].toArray();
    ASSERT_EQ(entries.size(), 1);
    EXPECT_EQ(entries[0][u"headword"_s].toString(), u"china"_s);
    EXPECT_EQ(entries[0][u"sections"_s].toArray().size(), 1);
    EXPECT_EQ(entries[0][u"sections"_s][0][u"senses"_s].toArray().toVariantList(),
              QVariantList{u"瓷器"_s});

    // The dictionary's only entry for "tea" is a Chinese headword: the next source answers.
    const QJsonObject tea = json(quillet({u"lookup"_s, u"--json"_s, u"tea"_s}));
    EXPECT_EQ(tea[u"source"_s][u"id"_s].toString(), kGcide);
    EXPECT_FALSE(sourceIds(json(quillet({u"lookup"_s, u"--all"_s, u"--json"_s, u"tea"_s})))
                     .contains(kStarDict));
}

TEST_F(SystemDictionaryLookupTest, DictionariesListsTheEffectiveOrderWithNames) {
    const auto run = quillet({u"dictionaries"_s, u"--json"_s});
    ASSERT_EQ(run.exitCode, 0) << run.err.toStdString();
    const QJsonArray listed = json(run)[u"dictionaries"_s].toArray();
    ASSERT_GE(listed.size(), 3);
    const struct {
        QString identifier;
        QString displayName;
        QString tabName;
        bool chineseGloss;
    } expected[] = {
        {kStarDict, u"Quillet 测试英汉"_s, u"Quillet…"_s, true},
        {kGcide, u"GCIDE 英语词典"_s, u"GCIDE"_s, false},
        {u"bundled"_s, u"简明英汉"_s, u"简明英汉"_s, true},
    };
    for (qsizetype i = 0; i < qsizetype(std::size(expected)); ++i) {
        const QJsonObject row = listed[i].toObject();
        EXPECT_EQ(row[u"identifier"_s].toString(), expected[i].identifier);
        EXPECT_EQ(row[u"displayName"_s].toString(), expected[i].displayName);
        EXPECT_EQ(row[u"tabName"_s].toString(), expected[i].tabName);
        EXPECT_EQ(row[u"chineseGloss"_s].toBool(), expected[i].chineseGloss) << i;
    }
    // Dictionaries the saved order does not name yet follow it.
    for (qsizetype i = qsizetype(std::size(expected)); i < listed.size(); ++i)
        EXPECT_TRUE(listed[i][u"identifier"_s].toString().startsWith(u"dictd:"_s));

    const auto plain = quillet({u"dictionaries"_s});
    ASSERT_EQ(plain.exitCode, 0);
    const QStringList lines = plain.out.split(u'\n');
    EXPECT_TRUE(lines[0].contains(u"标识"_s) && lines[0].contains(u"中文释义"_s))
        << lines[0].toStdString();
    EXPECT_TRUE(lines[2].contains(kGcide) && lines[2].contains(u"GCIDE 英语词典"_s))
        << lines[2].toStdString();
}
