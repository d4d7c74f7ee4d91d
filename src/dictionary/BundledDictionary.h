#pragma once

#include "dictionary/BundledEntryBuilder.h"
#include "dictionary/DictionaryEntry.h"

#include <QList>
#include <QString>
#include <mutex>
#include <optional>

struct sqlite3;

// The English–Chinese word database shipped with the program (read-only SQLite).
// Opened on first use and never retried; a missing or unreadable file makes every
// lookup answer nothing. Safe to call from any thread: one mutex serialises every
// SQLite call on the one connection.
class BundledDictionary {
public:
    explicit BundledDictionary(QString path);
    ~BundledDictionary();
    BundledDictionary(const BundledDictionary&) = delete;
    BundledDictionary& operator=(const BundledDictionary&) = delete;

    // The program's own database, found by AppPaths::wordDatabase().
    static BundledDictionary& shared();

    // An empty list, or exactly one entry.
    QList<DictionaryEntry> lookup(QStringView word) const;
    // Whether the file could be opened (opens it if that has not happened yet).
    bool isAvailable() const;
    const QString& path() const { return m_path; }

private:
    // Opens on first use; null when unavailable. Expects m_queue to be held.
    sqlite3* handle() const;
    // Each runs one statement, holding m_queue for its duration.
    std::optional<BundledEntryBuilder::Row> fetch(const QString& word) const;
    std::optional<QString> lemma(const QString& form) const;

    QString m_path;
    mutable std::mutex m_queue; // guards everything below and every SQLite call
    mutable bool m_openAttempted = false;
    mutable sqlite3* m_handle = nullptr;
};
