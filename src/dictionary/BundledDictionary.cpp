#include "dictionary/BundledDictionary.h"

#include "core/UnicodeText.h"
#include "settings/AppPaths.h"

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

// A prepared statement that is finalised however the call ends.
class Statement {
public:
    Statement(sqlite3* db, const char* sql) {
        if (sqlite3_prepare_v2(db, sql, -1, &m_statement, nullptr) != SQLITE_OK) {
            sqlite3_finalize(m_statement);
            m_statement = nullptr;
        }
    }
    ~Statement() { sqlite3_finalize(m_statement); }
    Statement(const Statement&) = delete;
    Statement& operator=(const Statement&) = delete;

    // Binds the key and steps once; true when a row came back.
    bool step(const QString& key) {
        if (!m_statement)
            return false;
        const QByteArray utf8 = key.toUtf8();
        if (sqlite3_bind_text(m_statement, 1, utf8.constData(), static_cast<int>(utf8.size()),
                              SQLITE_TRANSIENT) != SQLITE_OK)
            return false;
        return sqlite3_step(m_statement) == SQLITE_ROW;
    }
    sqlite3_stmt* get() const { return m_statement; }

private:
    sqlite3_stmt* m_statement = nullptr;
};

} // namespace

BundledDictionary::BundledDictionary(QString path) : m_path(std::move(path)) {}

BundledDictionary::~BundledDictionary() {
    sqlite3_close(m_handle);
}

BundledDictionary& BundledDictionary::shared() {
    static BundledDictionary dictionary(AppPaths::wordDatabase());
    return dictionary;
}

sqlite3* BundledDictionary::handle() const {
    if (m_openAttempted)
        return m_handle;
    m_openAttempted = true;
    // An empty name would make SQLite open a private temporary database.
    if (m_path.isEmpty())
        return nullptr;
    const QByteArray file = m_path.toUtf8();
    sqlite3* opened = nullptr;
    if (sqlite3_open_v2(file.constData(), &opened, SQLITE_OPEN_READONLY | SQLITE_OPEN_FULLMUTEX,
                        nullptr) != SQLITE_OK) {
        sqlite3_close(opened); // SQLite may hand back a handle even when the open fails
        return nullptr;
    }
    m_handle = opened;
    return m_handle;
}

bool BundledDictionary::isAvailable() const {
    std::lock_guard lock(m_queue);
    return handle() != nullptr;
}

std::optional<BundledEntryBuilder::Row> BundledDictionary::fetch(const QString& word) const {
    std::lock_guard lock(m_queue);
    sqlite3* db = handle();
    if (!db)
        return std::nullopt;
    Statement statement(db, kWordQuery);
    if (!statement.step(word))
        return std::nullopt;
    sqlite3_stmt* found = statement.get();
    return BundledEntryBuilder::rowFromColumns(word, columnText(found, 0), columnText(found, 1),
                                               columnText(found, 2), columnText(found, 3));
}

std::optional<QString> BundledDictionary::lemma(const QString& form) const {
    std::lock_guard lock(m_queue);
    sqlite3* db = handle();
    if (!db)
        return std::nullopt;
    Statement statement(db, kLemmaQuery);
    if (!statement.step(form))
        return std::nullopt;
    auto found = columnText(statement.get(), 0);
    if (!found || found->isEmpty())
        return std::nullopt;
    return found;
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
