#pragma once

#include "dictionary/BundledEntryBuilder.h"
#include "dictionary/DictionaryEntry.h"

#include <QList>
#include <QString>
#include <functional>
#include <mutex>
#include <optional>

struct sqlite3;
struct sqlite3_stmt;

// The English–Chinese word database shipped with the program (read-only SQLite).
// Opened on first use and never retried; a missing or unreadable file makes every
// lookup answer nothing. A file that is there but cannot be used (not a regular file,
// not a database, damaged) is reported once, as "内置词库无法读取：<reason>". Safe to
// call from any thread: one mutex serialises every SQLite call on the one connection.
class BundledDictionary {
public:
    using Reporter = std::function<void(const QString& line)>;

    explicit BundledDictionary(QString path, Reporter report = {});
    ~BundledDictionary();
    BundledDictionary(const BundledDictionary&) = delete;
    BundledDictionary& operator=(const BundledDictionary&) = delete;

    // The program's own database, found by AppPaths::wordDatabase(), reporting to the event
    // log.
    static BundledDictionary& shared();

    // An empty list, or exactly one entry.
    QList<DictionaryEntry> lookup(QStringView word) const;
    // The headword an inflected form belongs to ("gave" → "give", "looked" → "look"), whether
    // or not the form has an entry of its own; `form` is taken as it stands (lower case).
    std::optional<QString> lemmaOf(const QString& form) const { return lemma(form); }
    // Whether the file could be opened (opens it if that has not happened yet).
    bool isAvailable() const;
    // Why the database cannot be used (or has failed a lookup), in Chinese; nothing while it
    // works. Opens it if that has not happened yet.
    std::optional<QString> problem() const;
    const QString& path() const { return m_path; }

private:
    enum class Query { word, lemma };

    // Opens and prepares on first use; null when unavailable. Expects m_queue to be held.
    sqlite3* handle() const;
    // Records why the database failed and reports it, the first time. Expects m_queue.
    void fail(const QString& reason, bool report = true) const;
    // Binds `key` to the prepared query and steps once; the statement when a row came back.
    // Expects m_queue.
    sqlite3_stmt* step(Query query, const QString& key) const;
    // Each runs one statement, holding m_queue for its duration.
    std::optional<BundledEntryBuilder::Row> fetch(const QString& word) const;
    std::optional<QString> lemma(const QString& form) const;

    QString m_path;
    Reporter m_report;
    mutable std::mutex m_queue; // guards everything below and every SQLite call
    mutable bool m_openAttempted = false;
    mutable sqlite3* m_handle = nullptr;
    mutable sqlite3_stmt* m_wordQuery = nullptr;
    mutable sqlite3_stmt* m_lemmaQuery = nullptr;
    mutable std::optional<QString> m_problem;
};
