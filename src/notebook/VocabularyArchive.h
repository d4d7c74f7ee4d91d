#pragma once

#include "notebook/Vocabulary.h"

#include <QByteArray>
#include <QDateTime>
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
