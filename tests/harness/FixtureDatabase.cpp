#include "harness/FixtureDatabase.h"

#include <gtest/gtest.h>
#include <sqlite3.h>

using namespace Qt::StringLiterals;

FixtureDatabase::FixtureDatabase(const QString& sql)
    : m_path(m_dir.filePath(u"dictionary.sqlite"_s)) {
    sqlite3* db = nullptr;
    const QByteArray file = m_path.toUtf8();
    EXPECT_EQ(sqlite3_open(file.constData(), &db), SQLITE_OK);
    char* error = nullptr;
    const QByteArray script = sql.toUtf8();
    EXPECT_EQ(sqlite3_exec(db, script.constData(), nullptr, nullptr, &error), SQLITE_OK)
        << (error ? error : "");
    sqlite3_free(error);
    sqlite3_close(db);
}

QString FixtureDatabase::schema() {
    return u"CREATE TABLE words(word TEXT PRIMARY KEY, phonetic TEXT, translation TEXT, pos TEXT) "
           u"WITHOUT ROWID;"
           "CREATE TABLE forms(form TEXT PRIMARY KEY, lemma TEXT) WITHOUT ROWID;"
           "CREATE TABLE phrases(phrase TEXT PRIMARY KEY, translation TEXT) WITHOUT ROWID;"_s;
}
