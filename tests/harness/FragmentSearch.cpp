#include "harness/FragmentSearch.h"

#include <cstring>
#include <map>
#include <utility>

namespace {

constexpr int kFilterBits = 22;
constexpr qsizetype kKeyBytes = sizeof(quint64);

quint64 keyAt(const char* bytes) {
    quint64 key = 0;
    std::memcpy(&key, bytes, sizeof key);
    return key;
}

std::size_t filterSlot(quint64 key) {
    return static_cast<std::size_t>((key * 0x9e3779b97f4a7c15ULL) >> (64 - kFilterBits));
}

QByteArray encoded(const QString& characters, FragmentSearch::Encoding encoding) {
    if (encoding == FragmentSearch::Encoding::utf8)
        return characters.toUtf8();
    // QString holds UTF-16 in the machine's order, which is little-endian here.
    return QByteArray(reinterpret_cast<const char*>(characters.utf16()), characters.size() * 2);
}

} // namespace

FragmentSearch::FragmentSearch(const QStringList& texts, qsizetype fragmentLength)
    : m_filter(std::size_t(1) << kFilterBits) {
    for (qsizetype index = 0; index < texts.size(); ++index) {
        const QString& text = texts[index];
        const qsizetype length = std::min(fragmentLength, text.size());
        for (qsizetype start = 0; start + length <= text.size() && length > 0; ++start) {
            const QString characters = text.sliced(start, length);
            for (const Encoding encoding : {Encoding::utf8, Encoding::utf16}) {
                QByteArray bytes = encoded(characters, encoding);
                if (bytes.size() < kKeyBytes)
                    continue; // too short to tell from chance; callers use longer texts
                const quint64 key = keyAt(bytes.constData());
                m_filter[filterSlot(key)] = true;
                m_fragments[key].push_back({index, encoding, std::move(bytes), characters});
            }
        }
    }
}

QList<FragmentSearch::Hit> FragmentSearch::find(QByteArrayView image, qsizetype limit) const {
    QList<Hit> hits;
    // Where the last copy found of each text in each encoding ends, so that the runs of one
    // copy after its first are not counted again.
    std::map<std::pair<qsizetype, Encoding>, qsizetype> copyEnds;
    const char* const data = image.data();
    const qsizetype size = image.size();
    for (qsizetype offset = 0; offset + kKeyBytes <= size; ++offset) {
        const quint64 key = keyAt(data + offset);
        if (!m_filter[filterSlot(key)])
            continue;
        const auto found = m_fragments.find(key);
        if (found == m_fragments.end())
            continue;
        for (const Fragment& fragment : found->second) {
            const qsizetype length = fragment.bytes.size();
            if (offset + length > size ||
                std::memcmp(data + offset, fragment.bytes.constData(), std::size_t(length)) != 0)
                continue;
            qsizetype& copyEnd = copyEnds[{fragment.text, fragment.encoding}];
            const bool sameCopy = copyEnd > offset;
            copyEnd = offset + length;
            if (sameCopy)
                continue;
            hits.append({fragment.text, fragment.encoding, offset, fragment.characters});
            if (hits.size() >= limit)
                return hits;
        }
    }
    return hits;
}
