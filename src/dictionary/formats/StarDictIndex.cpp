#include "dictionary/formats/StarDictIndex.h"

#include <cstring>
#include <limits>

using namespace Qt::StringLiterals;

namespace {

constexpr unsigned char asciiLower(unsigned char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<unsigned char>(c + ('a' - 'A')) : c;
}

} // namespace

OrDefect<StarDictIndex> StarDictIndex::scan(QByteArrayView bytes, quint64 expectedCount,
                                            int tailSize) {
    if (quint64(bytes.size()) > std::numeric_limits<quint32>::max())
        return DictionaryDefect{u"索引文件过大"_s};
    // Every record takes at least its terminator and tail, which bounds a bogus count.
    if (expectedCount > quint64(bytes.size()) / quint64(1 + tailSize))
        return DictionaryDefect{u"索引里的词条数与说明不符"_s};

    StarDictIndex index;
    index.m_bytes = bytes;
    index.m_tailSize = tailSize;
    index.m_starts.resize(std::size_t(expectedCount));
    const char* const begin = bytes.data();
    const char* const end = begin + bytes.size();
    const char* at = begin;
    std::size_t count = 0;
    while (at < end) {
        const auto* terminator =
            static_cast<const char*>(std::memchr(at, 0, std::size_t(end - at)));
        if (!terminator || end - terminator - 1 < tailSize)
            return DictionaryDefect{u"索引文件被截断或已损坏"_s};
        if (count == index.m_starts.size())
            return DictionaryDefect{u"索引里的词条数与说明不符"_s};
        index.m_starts[count++] = quint32(at - begin);
        at = terminator + 1 + tailSize;
    }
    if (count != expectedCount)
        return DictionaryDefect{u"索引里的词条数与说明不符"_s};
    return index;
}

int StarDictIndex::compareIgnoringCase(QByteArrayView a, QByteArrayView b) {
    const qsizetype shorter = std::min(a.size(), b.size());
    for (qsizetype i = 0; i < shorter; ++i) {
        const unsigned char x = asciiLower(static_cast<unsigned char>(a[i]));
        const unsigned char y = asciiLower(static_cast<unsigned char>(b[i]));
        if (x != y)
            return x < y ? -1 : 1;
    }
    return a.size() == b.size() ? 0 : (a.size() < b.size() ? -1 : 1);
}

std::pair<qsizetype, qsizetype> StarDictIndex::equalRange(QByteArrayView word) const {
    // Words equal without case sit together, since case is only the tie-breaker of the order.
    qsizetype low = 0;
    qsizetype high = count();
    while (low < high) {
        const qsizetype middle = low + (high - low) / 2;
        if (compareIgnoringCase(this->word(middle), word) < 0)
            low = middle + 1;
        else
            high = middle;
    }
    qsizetype last = low;
    while (last < count() && compareIgnoringCase(this->word(last), word) == 0)
        ++last;
    return {low, last};
}
