#pragma once

#include "dictionary/formats/DictionaryDefect.h"

#include <QByteArrayView>
#include <utility>
#include <vector>

// The sorted word list of a StarDict .idx or .syn file: records of a NUL-terminated UTF-8
// word followed by a fixed-size tail (offset and size of the entry, or the number of the
// entry a synonym points to). The records are found once, when the list is scanned; a lookup
// is then a binary search in the order StarDict sorts by: ASCII letters compared without
// case, then the bytes themselves.
class StarDictIndex {
public:
    // `bytes` must outlive the index. Fails unless they hold exactly `expectedCount` records.
    static OrDefect<StarDictIndex> scan(QByteArrayView bytes, quint64 expectedCount, int tailSize);

    qsizetype count() const { return qsizetype(m_starts.size()); }
    // Records lie end to end, so a word ends where its tail, just before the next, begins.
    QByteArrayView word(qsizetype record) const {
        const qsizetype start = m_starts[std::size_t(record)];
        return QByteArrayView(m_bytes.data() + start, tailStart(record) - 1 - start);
    }
    const char* tail(qsizetype record) const { return m_bytes.data() + tailStart(record); }
    // The records [first, last) whose word equals `word` when ASCII case is ignored.
    std::pair<qsizetype, qsizetype> equalRange(QByteArrayView word) const;

    // The first key of StarDict's order: negative, zero or positive as a sorts before, with or
    // after b when ASCII letters are compared without case.
    static int compareIgnoringCase(QByteArrayView a, QByteArrayView b);

private:
    qsizetype tailStart(qsizetype record) const {
        const std::size_t next = std::size_t(record) + 1;
        return (next < m_starts.size() ? qsizetype(m_starts[next]) : m_bytes.size()) - m_tailSize;
    }

    QByteArrayView m_bytes;
    int m_tailSize = 0;
    std::vector<quint32> m_starts; // where each record begins
};
