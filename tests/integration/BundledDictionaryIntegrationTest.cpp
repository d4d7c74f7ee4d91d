// Lookups against the full word database built from ECDICT.

#include "base/UnicodeText.h"
#include "dictionary/BundledDictionary.h"
#include "filter/TextFilter.h"
#include "harness/QuilletProcess.h"
#include "settings/AppPaths.h"

#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QScopeGuard>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

class BundledDictionaryIntegrationTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!QFileInfo(AppPaths::wordDatabase()).isFile())
            GTEST_SKIP() << "the word database was not built";
    }
    static const BundledDictionary& dictionary() {
        static const BundledDictionary shared(AppPaths::wordDatabase());
        return shared;
    }
};

// "headword /phonetic/ | pos: sense, sense | …" ("—" for no part of speech).
QString render(const DictionaryEntry& entry) {
    QStringList parts{entry.headlineText(entry.headword)};
    for (const DictionaryEntry::Section& section : entry.sections)
        parts.append(section.partOfSpeech.value_or(u"—"_s) + u": "_s +
                     section.senses.join(u", "_s));
    return parts.join(u" | "_s);
}

} // namespace

TEST_F(BundledDictionaryIntegrationTest, AnswersCommonWordsAndForms) {
    // What ECDICT's columns become: parts of speech, subject labels, letter case, punctuation
    // inside words, and forms reached through `forms` with their note leading.
    const std::pair<QString, QString> cases[] = {
        {u"WATER"_s,
         u"water /ˈwɒːtə/ | 名词: 水, 雨水, 海水, 水位, 水面, 流水 | 及物动词: 给...浇水"_s},
        {u"bank"_s, u"bank /bæŋk/ | 名词: 银行, 堤, 岸 | 医学: 库"_s},
        {u"a"_s, u"a /ei/ | —: 第一个字母 A, 一个, 第一的 | 冠词: [计] 累加器"_s},
        {u"don't"_s, u"don't /dəunt/ | —: (= do not)不要 | 名词: 禁忌"_s},
        {u"went"_s, u"go /gou/ | 不及物动词: went 的变化形式, 去, 走"_s},
        {u"  Actioned\n"_s, u"action /ˈækʃən/ | 名词: actioned 的变化形式, 行动"_s},
        {u"day-dreamed"_s, u"daydream /ˈdeidriːm/ | 名词: day-dreamed 的变化形式, 白日梦"_s},
    };
    for (const auto& [query, shown] : cases) {
        const QList<DictionaryEntry> found = dictionary().lookup(query);
        ASSERT_EQ(found.size(), 1) << qPrintable(query);
        EXPECT_FALSE(found.front().rawFallback) << qPrintable(query);
        EXPECT_TRUE(render(found.front()).startsWith(shown)) << qPrintable(render(found.front()));
    }
    for (const QString& query : {u"ice cream"_s, u"mp3"_s, u"a.m."_s, u"qwertyuiop"_s, u" \n "_s})
        EXPECT_TRUE(dictionary().lookup(query).isEmpty()) << qPrintable(query);
}

TEST_F(BundledDictionaryIntegrationTest, TablesHoldOnlyReachableKeys) {
    sqlite3* db = nullptr;
    sqlite3_stmt* statement = nullptr;
    sqlite3_open_v2(AppPaths::wordDatabase().toUtf8().constData(), &db, SQLITE_OPEN_READONLY,
                    nullptr);
    ASSERT_EQ(sqlite3_prepare_v2(db, R"sql(
        SELECT (SELECT count(*) FROM sqlite_master) || '|' || (SELECT count(*) > 300000 FROM words)
            || '|' || (SELECT count(*) FROM forms WHERE lemma NOT IN (SELECT word FROM words))
            || '|' || (SELECT count(*) > 300000 FROM phrases)
            || '|' || (SELECT count(*) FROM phrases WHERE phrase <> lower(phrase)
                       OR phrase LIKE '%  %' OR phrase NOT LIKE '% %' OR phrase LIKE ' %')
        UNION ALL SELECT word FROM words UNION ALL SELECT form FROM forms)sql",
                                 -1, &statement, nullptr),
              SQLITE_OK);
    ASSERT_EQ(sqlite3_step(statement), SQLITE_ROW);
    // Three tables, enough words, no lemma missing; enough phrases, each of lower-case words
    // with one space between them.
    EXPECT_STREQ(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0)), "3|1|0|1|0");
    // Every key must be one a lookup can produce: trimmed, fully lower-cased, one word.
    int unreachable = 0;
    while (sqlite3_step(statement) == SQLITE_ROW) {
        const QString key =
            QString::fromUtf8(reinterpret_cast<const char*>(sqlite3_column_text(statement, 0)));
        const bool reachable = !key.isEmpty() && TextFilter::kind(key) == QueryKind::word &&
                               UnicodeText::lowercased(UnicodeText::trimmed(key)) == key;
        unreachable += reachable ? 0 : 1;
        EXPECT_TRUE(reachable || unreachable > 5) << "unreachable key: " << qPrintable(key);
    }
    sqlite3_finalize(statement);
    sqlite3_close(db);
    EXPECT_EQ(unreachable, 0);
}

// The real program, set up as installed, with a FIFO where its database belongs beside it: a
// lookup still ends (the run's limit is the guard against a hang), and the user is told, in
// `quillet dictionaries` and once per run in the log.
TEST(BundledDictionaryProcessTest, UnusableDatabaseBesideTheProgramIsToldNotWaitedOn) {
    QTemporaryDir bin;
    QTemporaryDir home;
    const QString program = bin.filePath(u"quillet"_s);
    ASSERT_TRUE(QFile::copy(QuilletProcess::executable(), program));
    ASSERT_EQ(::mkfifo(QFile::encodeName(bin.filePath(u"dictionary.sqlite"_s)).constData(), 0600),
              0);
    const QString problem = u"内置词库无法读取：不是普通文件"_s;

    // An empty home: no dictionaries of the user.
    QProcessEnvironment environment = QuilletProcess::environmentWithHome(home.path());
    environment.remove(u"QUILLET_DICTIONARY_PATH"_s);
    qputenv("QUILLET_EXECUTABLE", QFile::encodeName(program));
    const auto restore = qScopeGuard([] { qunsetenv("QUILLET_EXECUTABLE"); });
    const auto quillet = [&environment](const QStringList& arguments) {
        return QuilletProcess::run(arguments, environment, std::chrono::seconds(20));
    };
    // Nothing listens on the discard port, so a translation fails at once.
    ASSERT_EQ(quillet({u"settings"_s, u"set"_s, u"translation.endpoint"_s, u"http://127.0.0.1:9"_s})
                  .exitCode,
              0);

    const QuilletProcess::Run lookup = quillet({u"lookup"_s, u"water"_s});
    EXPECT_TRUE(lookup.exitCode == 0 || lookup.exitCode == 2)
        << lookup.exitCode << qPrintable(lookup.err);

    const QuilletProcess::Run listed = quillet({u"dictionaries"_s, u"--json"_s});
    ASSERT_EQ(listed.exitCode, 0) << qPrintable(listed.err);
    QJsonObject bundled;
    for (const QJsonValue row :
         QJsonDocument::fromJson(listed.out.toUtf8())[u"dictionaries"_s].toArray())
        if (row[u"identifier"_s] == u"bundled"_s)
            bundled = row.toObject();
    EXPECT_EQ(bundled[u"usable"_s], QJsonValue(false));
    EXPECT_EQ(bundled[u"problem"_s], QJsonValue(u"不是普通文件"_s));
    const QuilletProcess::Run plain = quillet({u"dictionaries"_s});
    EXPECT_TRUE(plain.out.contains(u'\n' + problem)) << qPrintable(plain.out);

    const QuilletProcess::Run log = quillet({u"log"_s, u"--lines"_s, u"100"_s});
    EXPECT_EQ(log.out.count(problem), 3) << qPrintable(log.out); // one per run that opened it
}
