#include "dictionary/BundledDictionary.h"

#include "harness/FixtureDatabase.h"

#include <QFile>
#include <QTemporaryDir>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

QString fixtureRows() {
    return FixtureDatabase::schema() + uR"sql(
        INSERT INTO words VALUES ('water', '''wɔ:tә', 'n. 水' || char(10) || 'vt. 浇水', NULL),
            ('run', 'rʌn', 'vi. 跑' || char(13, 10) || 'n. 赛跑', NULL), ('saw', '', 'n. 锯子', NULL),
            ('child', NULL, 'n. 孩子', NULL), ('ghost', NULL, NULL, NULL),
            ('café', NULL, 'n. 咖啡馆', NULL), ('NASA', NULL, 'abbr. 美国国家航空航天局', NULL);
        INSERT INTO forms VALUES ('running', 'run'), ('saw', 'see'), ('children', 'child'),
            ('seen', 'see'), ('kiddies', 'kiddie'), ('kiddie', 'child'), ('nothing', ''),
            ('void', NULL);
    )sql"_s;
}

// "headword /phonetic/: sense, sense" or "-" when nothing is found.
QString answer(const BundledDictionary& dictionary, const QString& query) {
    const QList<DictionaryEntry> found = dictionary.lookup(query);
    if (found.isEmpty())
        return u"-"_s;
    const DictionaryEntry& entry = found.front();
    return entry.headlineText(entry.headword) + u": "_s + entry.allSenses().join(u", "_s) +
           (entry.rawFallback ? u"raw[%1]"_s.arg(*entry.rawFallback) : QString());
}

} // namespace

TEST(BundledDictionaryTest, FindsWordsThenLemmas) {
    const FixtureDatabase db(fixtureRows());
    const BundledDictionary dictionary(db.path());
    const std::pair<QString, QString> cases[] = {
        {u"Water"_s, u"water /ˈwɔːtə/: 水, 浇水"_s},
        {u"  Running\n"_s, u"run /rʌn/: running 的变化形式, 跑, 赛跑"_s},
        {u"\tCHILDREN\u2029"_s, u"child: children 的变化形式, 孩子"_s},
        {u"CAFÉ"_s, u"café: 咖啡馆"_s},
        {u"saw"_s, u"saw: 锯子"_s}, // the word itself wins over a form
        {u"ghost"_s, u"ghost: raw[]"_s},
        {u"seen"_s, u"-"_s},    // lemma missing from words
        {u"kiddies"_s, u"-"_s}, // only one level of lemma
        {u"nothing"_s, u"-"_s},
        {u"void"_s, u"-"_s},
        {u"NASA"_s, u"-"_s}, // never retried in its own letter case
        {u" \t\r\n\u3000"_s, u"-"_s},
    };
    for (const auto& [query, shown] : cases)
        EXPECT_EQ(answer(dictionary, query), shown) << qPrintable(query);
}

TEST(BundledDictionaryTest, OpensOnceOnFirstRealLookup) {
    QTemporaryDir dir;
    const FixtureDatabase db(fixtureRows());
    const QString late = dir.filePath(u"late.sqlite"_s);
    const QString blankFirst = dir.filePath(u"blank.sqlite"_s);
    const BundledDictionary lateDictionary(late);
    const BundledDictionary blankFirstDictionary(blankFirst);

    EXPECT_EQ(answer(lateDictionary, u"water"_s), u"-"_s);
    EXPECT_EQ(answer(blankFirstDictionary, u"  "_s), u"-"_s); // must not open the file
    ASSERT_TRUE(QFile::copy(db.path(), late) && QFile::copy(db.path(), blankFirst));

    EXPECT_EQ(answer(lateDictionary, u"water"_s), u"-"_s); // a failed open is never retried
    EXPECT_FALSE(lateDictionary.isAvailable());
    EXPECT_EQ(answer(blankFirstDictionary, u"child"_s), u"child: 孩子"_s);
}

TEST(BundledDictionaryTest, UnreadableFilesAnswerNothing) {
    QTemporaryDir dir;
    QFile garbage(dir.filePath(u"garbage"_s));
    ASSERT_TRUE(garbage.open(QIODevice::WriteOnly));
    for (int i = 0; i < 8192; ++i)
        garbage.putChar(char((i * 7919) & 0xFF));
    garbage.close();
    QFile(dir.filePath(u"empty"_s)).open(QIODevice::WriteOnly);
    const FixtureDatabase noForms(
        u"CREATE TABLE words(word TEXT, phonetic TEXT, translation TEXT,"
        " pos TEXT); INSERT INTO words VALUES ('run', NULL, 'vi. 跑', NULL);"_s);

    for (const QString& path :
         {garbage.fileName(), dir.filePath(u"empty"_s), dir.path(), QString(), noForms.path()})
        EXPECT_EQ(answer(BundledDictionary(path), u"running"_s), u"-"_s) << qPrintable(path);
    EXPECT_EQ(answer(BundledDictionary(noForms.path()), u"run"_s), u"run: 跑"_s);
}

TEST(BundledDictionaryTest, ConcurrentLookupsAgree) {
    const FixtureDatabase db(fixtureRows());
    const BundledDictionary dictionary(db.path()); // fresh: the threads also race to open it
    const std::pair<QString, QString> cases[] = {
        {u"water"_s, u"water /ˈwɔːtə/: 水, 浇水"_s},
        {u"Running"_s, u"run /rʌn/: running 的变化形式, 跑, 赛跑"_s},
        {u"seen"_s, u"-"_s}};
    std::atomic<int> mismatches = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 8; ++t)
        threads.emplace_back([&, t] {
            for (int i = t; i < t + 300; ++i)
                mismatches += answer(dictionary, cases[i % 3].first) != cases[i % 3].second;
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(mismatches.load(), 0);
}
