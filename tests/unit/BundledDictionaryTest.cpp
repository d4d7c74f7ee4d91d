#include "dictionary/BundledDictionary.h"

#include "harness/FixtureDatabase.h"

#include <QFile>
#include <QTemporaryDir>
#include <atomic>
#include <gtest/gtest.h>
#include <sys/stat.h>
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

// A file that is there but unusable says why, once, however many lookups meet it; a missing
// one is only noted (the agent announces that itself). A FIFO in the file's place must not
// hold the open until a writer comes.
TEST(BundledDictionaryTest, UnusableFilesAreReportedOnceWithAReason) {
    QTemporaryDir dir;
    const FixtureDatabase good(fixtureRows());
    QFile original(good.path());
    ASSERT_TRUE(original.open(QIODevice::ReadOnly));
    const QByteArray bytes = original.readAll();
    ASSERT_GT(bytes.size(), 4096) << "the fixture must span pages for a cut to show";
    const auto write = [&dir](const QString& name, const QByteArray& content) {
        QFile file(dir.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly) && file.write(content) == content.size());
        return file.fileName();
    };
    const QString fifo = dir.filePath(u"fifo.sqlite"_s);
    ASSERT_EQ(::mkfifo(QFile::encodeName(fifo).constData(), 0600), 0);
    const FixtureDatabase otherTables(u"CREATE TABLE notes(text TEXT);"_s);

    const std::pair<QString, std::optional<QString>> cases[] = {
        {write(u"garbage.sqlite"_s, QByteArray(8192, 'x')), u"文件不是 SQLite 数据库"_s},
        {write(u"cut.sqlite"_s, bytes.left(bytes.size() / 2)), u"文件已损坏或不完整"_s},
        {fifo, u"不是普通文件"_s},
        {dir.path(), u"不是普通文件"_s},
        {write(u"empty.sqlite"_s, {}), u"缺少 words 表，不是本程序的词库"_s},
        {otherTables.path(), u"缺少 words 表，不是本程序的词库"_s},
        {dir.filePath(u"missing.sqlite"_s), std::nullopt},
        {QString(), std::nullopt},
    };
    for (const auto& [path, reported] : cases) {
        SCOPED_TRACE(path.toStdString());
        QStringList lines;
        const BundledDictionary dictionary(
            path, [&lines](const QString& line) { lines.push_back(line); });
        for (const QString& word : {u"water"_s, u"running"_s, u"water"_s})
            EXPECT_EQ(answer(dictionary, word), u"-"_s);
        EXPECT_FALSE(dictionary.isAvailable());
        EXPECT_EQ(dictionary.problem(), std::optional(reported.value_or(u"找不到文件"_s)));
        EXPECT_EQ(lines,
                  reported ? QStringList{u"内置词库无法读取："_s + *reported} : QStringList());
    }

    QStringList lines;
    const BundledDictionary working(good.path(),
                                    [&lines](const QString& line) { lines.push_back(line); });
    EXPECT_EQ(answer(working, u"child"_s), u"child: 孩子"_s);
    EXPECT_EQ(working.problem(), std::nullopt);
    EXPECT_TRUE(lines.isEmpty());

    // Without the forms table, words still answer and forms do not.
    const FixtureDatabase noForms(
        u"CREATE TABLE words(word TEXT, phonetic TEXT, translation TEXT,"
        " pos TEXT); INSERT INTO words VALUES ('run', NULL, 'vi. 跑', NULL);"_s);
    EXPECT_EQ(answer(BundledDictionary(noForms.path()), u"running"_s), u"-"_s);
    EXPECT_EQ(answer(BundledDictionary(noForms.path()), u"run"_s), u"run: 跑"_s);
}
