#include "dictionary/BundledDictionary.h"

#include "base/UnicodeText.h"
#include "logs/EventLog.h"
#include "platform/SafeFiles.h"
#include "settings/AppPaths.h"

#include <QFileInfo>
#include <sqlite3.h>

using namespace Qt::StringLiterals;

namespace {

constexpr const char* kWordQuery =
    "SELECT word, phonetic, translation, pos FROM words WHERE word = ? LIMIT 1";
constexpr const char* kLemmaQuery = "SELECT lemma FROM forms WHERE form = ? LIMIT 1";

std::optional<QString> columnText(sqlite3_stmt* statement, int column) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
    if (!text)
        return std::nullopt;
    return QString::fromUtf8(text, sqlite3_column_bytes(statement, column));
}

// What an SQLite result code means for the user; SQLite's own messages are English.
QString reasonFor(int code) {
    switch (code & 0xff) {
    case SQLITE_NOTADB:
        return u"文件不是 SQLite 数据库"_s;
    case SQLITE_CORRUPT:
        return u"文件已损坏或不完整"_s;
    case SQLITE_CANTOPEN:
        return u"文件无法打开"_s;
    case SQLITE_IOERR:
        return u"读取文件时出错"_s;
    case SQLITE_PERM:
    case SQLITE_AUTH:
        return u"没有读取权限"_s;
    case SQLITE_NOMEM:
        return u"内存不足"_s;
    case SQLITE_BUSY:
    case SQLITE_LOCKED:
        return u"文件正被占用"_s;
    case SQLITE_ERROR: // at prepare time: a table or column is missing
        return u"缺少 words 表，不是本程序的词库"_s;
    default:
        return u"数据库出错（代码 %1）"_s.arg(code);
    }
}

void appendToEventLog(const QString& line) {
    EventLog::appendToShared(EventLog::Kind::error, line);
}

} // namespace

BundledDictionary::BundledDictionary(QString path, Reporter report)
    : m_path(std::move(path)), m_report(std::move(report)) {}

BundledDictionary::~BundledDictionary() {
    sqlite3_finalize(m_wordQuery);
    sqlite3_finalize(m_lemmaQuery);
    sqlite3_close(m_handle);
}

BundledDictionary& BundledDictionary::shared() {
    static BundledDictionary dictionary(AppPaths::wordDatabase(), &appendToEventLog);
    return dictionary;
}

void BundledDictionary::fail(const QString& reason, bool report) const {
    if (m_problem)
        return;
    m_problem = reason;
    if (report && m_report)
        m_report(u"内置词库无法读取："_s + reason);
}

sqlite3* BundledDictionary::handle() const {
    if (m_openAttempted)
        return m_handle;
    m_openAttempted = true;
    // An empty name would make SQLite open a private temporary database. A missing file is
    // the one case the agent itself announces at start-up, so it is not reported here.
    if (m_path.isEmpty() || !QFileInfo::exists(m_path)) {
        fail(u"找不到文件"_s, false);
        return nullptr;
    }
    // SQLite opens without O_NONBLOCK: a FIFO in the file's place would block it for good.
    if (!SafeFiles::identity(m_path)) {
        fail(u"不是普通文件"_s);
        return nullptr;
    }
    const QByteArray file = m_path.toUtf8();
    sqlite3* opened = nullptr;
    int status = sqlite3_open_v2(file.constData(), &opened,
                                 SQLITE_OPEN_READONLY | SQLITE_OPEN_FULLMUTEX, nullptr);
    // Preparing reads the header and the schema: a file that is not a database, is cut
    // short or lacks the tables fails here, once, rather than at every lookup.
    if (status == SQLITE_OK)
        status = sqlite3_prepare_v2(opened, kWordQuery, -1, &m_wordQuery, nullptr);
    if (status != SQLITE_OK) {
        sqlite3_finalize(m_wordQuery);
        m_wordQuery = nullptr;
        sqlite3_close(opened); // SQLite may hand back a handle even when the open fails
        fail(reasonFor(status));
        return nullptr;
    }
    // Without `forms` the words still answer; inflected forms just find nothing.
    if (sqlite3_prepare_v2(opened, kLemmaQuery, -1, &m_lemmaQuery, nullptr) != SQLITE_OK) {
        sqlite3_finalize(m_lemmaQuery);
        m_lemmaQuery = nullptr;
    }
    m_handle = opened;
    return m_handle;
}

bool BundledDictionary::isAvailable() const {
    std::lock_guard lock(m_queue);
    return handle() != nullptr;
}

std::optional<QString> BundledDictionary::problem() const {
    std::lock_guard lock(m_queue);
    handle();
    return m_problem;
}

sqlite3_stmt* BundledDictionary::step(Query query, const QString& key) const {
    if (!handle())
        return nullptr;
    sqlite3_stmt* statement = query == Query::word ? m_wordQuery : m_lemmaQuery;
    if (!statement)
        return nullptr;
    sqlite3_reset(statement);
    const QByteArray utf8 = key.toUtf8();
    if (sqlite3_bind_text(statement, 1, utf8.constData(), static_cast<int>(utf8.size()),
                          SQLITE_TRANSIENT) != SQLITE_OK)
        return nullptr;
    const int status = sqlite3_step(statement);
    if (status == SQLITE_ROW)
        return statement;
    // Damage deeper in the file shows only when a lookup reaches it.
    if (status != SQLITE_DONE)
        fail(reasonFor(status));
    return nullptr;
}

std::optional<BundledEntryBuilder::Row> BundledDictionary::fetch(const QString& word) const {
    std::lock_guard lock(m_queue);
    sqlite3_stmt* found = step(Query::word, word);
    if (!found)
        return std::nullopt;
    auto row = BundledEntryBuilder::rowFromColumns(word, columnText(found, 0), columnText(found, 1),
                                                   columnText(found, 2), columnText(found, 3));
    sqlite3_reset(found); // ends the read, so no transaction stays open between lookups
    return row;
}

std::optional<QString> BundledDictionary::lemma(const QString& form) const {
    std::lock_guard lock(m_queue);
    sqlite3_stmt* found = step(Query::lemma, form);
    if (!found)
        return std::nullopt;
    auto text = columnText(found, 0);
    sqlite3_reset(found);
    if (!text || text->isEmpty())
        return std::nullopt;
    return text;
}

QList<DictionaryEntry> BundledDictionary::lookup(QStringView word) const {
    const QString key = UnicodeText::lowercased(UnicodeText::trimmed(word));
    if (key.isEmpty() || !isAvailable())
        return {};
    if (const auto row = fetch(key))
        return {BundledEntryBuilder::entry(*row)};
    // Only one level: a lemma that is itself missing from `words` gives nothing.
    const auto lemmaWord = lemma(key);
    if (!lemmaWord)
        return {};
    const auto row = fetch(*lemmaWord);
    if (!row)
        return {};
    return {BundledEntryBuilder::entry(*row, key)};
}
