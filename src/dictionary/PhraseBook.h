#pragma once

#include <QList>
#include <QString>
#include <mutex>

struct sqlite3;
struct sqlite3_stmt;

// The phrases of the bundled word database (phrasal verbs, idioms, compound nouns), keyed by
// their words in lower case with one space between them. Read-only; opened on first use and
// never retried. A database without the table (built before it existed) simply knows no
// phrase: the word lookups report a file that cannot be read. Safe to call from any thread.
class PhraseBook {
public:
    struct Phrase {
        QString key;         // "give up"
        QString translation; // as the database holds it: one line per part of speech
        bool operator==(const Phrase&) const = default;
    };

    explicit PhraseBook(QString path);
    ~PhraseBook();
    PhraseBook(const PhraseBook&) = delete;
    PhraseBook& operator=(const PhraseBook&) = delete;

    // The phrases of the program's own database.
    static PhraseBook& shared();

    // Every phrase whose first two words are `firstTwo` ("give up" gives "give up" and "give up
    // the ghost", never "give upper"), in key order.
    QList<Phrase> startingWith(const QString& firstTwo) const;
    bool isAvailable() const;

private:
    sqlite3_stmt* query() const; // expects m_mutex

    QString m_path;
    mutable std::mutex m_mutex; // guards everything below and every SQLite call
    mutable bool m_openAttempted = false;
    mutable sqlite3* m_handle = nullptr;
    mutable sqlite3_stmt* m_query = nullptr;
};
