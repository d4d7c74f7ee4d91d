// Thousands of real lookups through the command line, then a search of everything under the
// log folder for the text that was looked up.
#include "harness/QtPrinters.h"
#include "harness/QuilletProcess.h"
#include "settings/AppPaths.h"

#include <QDirIterator>
#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <sqlite3.h>

using namespace Qt::StringLiterals;

namespace {

QStringList dictionaryWords(const QString& database, int count) {
    QStringList words;
    sqlite3* db = nullptr;
    sqlite3_stmt* statement = nullptr;
    sqlite3_open_v2(database.toUtf8().constData(), &db, SQLITE_OPEN_READONLY, nullptr);
    // Forms that lead to a lemma, then words spread over the alphabet.
    sqlite3_prepare_v2(db,
                       "SELECT form FROM forms UNION ALL "
                       "SELECT word FROM words WHERE length(word) > 3",
                       -1, &statement, nullptr);
    for (qint64 row = 0; words.size() < count && sqlite3_step(statement) == SQLITE_ROW; ++row) {
        if (row < 300 || row % 173 == 0)
            words.append(QString::fromUtf8(
                reinterpret_cast<const char*>(sqlite3_column_text(statement, 0))));
    }
    sqlite3_finalize(statement);
    sqlite3_close(db);
    return words;
}

// Words, sentences with line breaks, long texts, refusals of every kind, Chinese: "@1" and
// "@2" stand for a word and the next one.
QStringList variedTexts(const QStringList& words) {
    const QString shapes[] = {
        u"@1"_s,
        u"@1"_s,
        u"The @1 was\nnext to the @2."_s,
        u"Reading about @1 and @2 took the whole afternoon, and then some more time in the "
        "evening.\r\nIt was worth it."_s,
        u"https://@1.example.com/@2"_s,
        u"Share: @1 https://youtu.be/x@2"_s,
        u"ghp_@1Zz9@2"_s,
        u"这是@1的意思吗"_s,
    };
    QStringList texts;
    for (qsizetype i = 0; i < words.size(); ++i) {
        texts.append(QString(shapes[i % std::size(shapes)])
                         .replace(u"@1"_s, words[i])
                         .replace(u"@2"_s, words[(i + 1) % words.size()]));
    }
    return texts;
}

} // namespace

TEST(LogPrivacyTest, NoLookedUpTextReachesTheLogFolder) {
    const QString database = AppPaths::wordDatabase();
    if (!QFile::exists(database))
        GTEST_SKIP() << "the word database was not built";
    QTemporaryDir state;
    const QStringList texts = variedTexts(dictionaryWords(database, 2000));
    ASSERT_GE(texts.size(), 2000);

    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"XDG_STATE_HOME"_s, state.path());
    for (const QString& text : texts) {
        ASSERT_NE(QuilletProcess::run({u"lookup"_s, text}, environment).exitCode, -1)
            << "crashed or hung on " << text.toStdString();
    }

    QString everything;
    QDirIterator files(state.path(), QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (files.hasNext()) {
        QFile file(files.next());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        everything += QString::fromUtf8(file.readAll());
    }
    // Every lookup left at least a trigger or refusal line and an outcome.
    EXPECT_GE(everything.count(u'\n'), texts.size());
    // The log's own words are Chinese; the only Latin letters it writes are "URL".
    QString withoutOwnWords = everything;
    withoutOwnWords.remove(u"URL"_s);
    const QRegularExpression latin(u"[A-Za-z]+"_s);
    const QRegularExpressionMatch leak = latin.match(withoutOwnWords);
    EXPECT_FALSE(leak.hasMatch()) << "leaked: " << leak.captured().toStdString();
    EXPECT_FALSE(everything.contains(u"这是"_s));
}
