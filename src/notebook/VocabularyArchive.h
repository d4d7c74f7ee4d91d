#pragma once

#include "notebook/Vocabulary.h"

#include <QByteArray>
#include <QDateTime>
#include <QHash>
#include <QList>
#include <QString>
#include <optional>

// The notebook's JSON forms: the current list, and the two older word lists it replaced.
// Dates are seconds since 2001-01-01 00:00:00 UTC, as numbers.
namespace VocabularyArchive {

struct Decoded {
    QList<Vocabulary::Entry> entries;
    // How many entries the data seemed to hold, readable or not.
    qsizetype total = 0;
    // False when the data was not a JSON array or some element could not be read.
    bool intact = true;
};

// One term of an older list, as it was stored.
struct LegacyItem {
    QString term;
    std::optional<QDateTime> firstDate;
    std::optional<QDateTime> lastDate;
    qint64 count = 1;
};

QByteArray encode(const QList<Vocabulary::Entry>& entries);

// encode() for a list saved again and again with few changes in between (the notebook after
// each lookup): each entry's JSON is kept from the previous call and only entries that
// differ are encoded again. The bytes are those of encode().
class ListEncoder {
public:
    QByteArray encode(const QList<Vocabulary::Entry>& entries);

private:
    struct Encoded {
        Vocabulary::Entry entry;
        QByteArray json;
    };
    // By text: a word and a sentence of the same text only cost each other the reuse.
    QHash<QString, Encoded> m_previous;
    qsizetype m_lastSize = 0;
};
// Never fails: what cannot be read is left out and `intact` says so.
Decoded decode(const QByteArray& data);

// "vocabulary": objects with term, firstDate, lastDate, count. Nothing when not an array.
std::optional<QList<LegacyItem>> decodeWordList(const QByteArray& data);
// "queryHistory": objects with term and date (both dates of the item). Nothing when not an
// array.
std::optional<QList<LegacyItem>> decodeQueryHistory(const QByteArray& data);

double secondsFromDate(const QDateTime& date);
// Nothing for a number that is no date: not finite, or further than 10,000 years from 2001.
std::optional<QDateTime> dateFromSeconds(double seconds);

} // namespace VocabularyArchive
