#include "dictionary/PhraseBook.h"

#include "platform/SafeFiles.h"
#include "settings/AppPaths.h"

#include <QFileInfo>
#include <sqlite3.h>

namespace {

// A key and every key that continues it after a space: the space (0x20) is the only
// character a key holds below "!" (0x21), so the range ends just before key + "!".
constexpr const char* kRangeQuery =
    "SELECT phrase, translation FROM phrases WHERE phrase >= ?1 AND phrase < ?2";

QString columnString(sqlite3_stmt* statement, int column) {
    const auto* text = reinterpret_cast<const char*>(sqlite3_column_text(statement, column));
    return text ? QString::fromUtf8(text, sqlite3_column_bytes(statement, column)) : QString();
}

bool bind(sqlite3_stmt* statement, int index, const QByteArray& text) {
    return sqlite3_bind_text(statement, index, text.constData(), static_cast<int>(text.size()),
                             SQLITE_TRANSIENT) == SQLITE_OK;
}

} // namespace

PhraseBook::PhraseBook(QString path) : m_path(std::move(path)) {}

PhraseBook::~PhraseBook() {
    sqlite3_finalize(m_query);
    sqlite3_close(m_handle);
}

PhraseBook& PhraseBook::shared() {
    static PhraseBook book(AppPaths::wordDatabase());
    return book;
}

sqlite3_stmt* PhraseBook::query() const {
    if (m_openAttempted)
        return m_query;
    m_openAttempted = true;
    // The same care as the word lookups: no private temporary database for an empty name,
    // and no blocking open of a FIFO in the file's place.
    if (m_path.isEmpty() || !QFileInfo::exists(m_path) || !SafeFiles::identity(m_path))
        return nullptr;
    sqlite3* opened = nullptr;
    const QByteArray file = m_path.toUtf8();
    if (sqlite3_open_v2(file.constData(), &opened, SQLITE_OPEN_READONLY | SQLITE_OPEN_FULLMUTEX,
                        nullptr) != SQLITE_OK ||
        sqlite3_prepare_v2(opened, kRangeQuery, -1, &m_query, nullptr) != SQLITE_OK) {
        sqlite3_finalize(m_query);
        m_query = nullptr;
        sqlite3_close(opened);
        return nullptr;
    }
    m_handle = opened;
    return m_query;
}

bool PhraseBook::isAvailable() const {
    std::lock_guard lock(m_mutex);
    return query() != nullptr;
}

QList<PhraseBook::Phrase> PhraseBook::startingWith(const QString& firstTwo) const {
    std::lock_guard lock(m_mutex);
    sqlite3_stmt* statement = query();
    if (!statement || firstTwo.isEmpty())
        return {};
    const QByteArray low = firstTwo.toUtf8();
    sqlite3_reset(statement);
    if (!bind(statement, 1, low) || !bind(statement, 2, low + '!'))
        return {};
    QList<Phrase> phrases;
    while (sqlite3_step(statement) == SQLITE_ROW)
        phrases.append({columnString(statement, 0), columnString(statement, 1)});
    sqlite3_reset(statement); // ends the read, so no transaction stays open
    return phrases;
}
