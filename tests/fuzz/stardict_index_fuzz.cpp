// libFuzzer target: StarDict's description, word lists and entry data from arbitrary bytes.
// The first byte picks the record tail (synonyms, 32- or 64-bit offsets) and the count the
// list claims; the rest is the list itself, and also an .ifo and an entry.
#include "dictionary/formats/MarkupText.h"
#include "dictionary/formats/StarDictDictionary.h"
#include "dictionary/formats/StarDictIndex.h"
#include "dictionary/formats/StarDictInfo.h"

#include <cstdint>
#include <cstdlib>

namespace {

void require(bool condition) {
    if (!condition)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 2)
        return 0;
    const int tails[] = {4, 8, 12};
    const int tailSize = tails[data[0] % 3];
    const quint64 claimed = data[1];
    const QByteArrayView bytes(reinterpret_cast<const char*>(data + 2), qsizetype(size - 2));

    auto scanned = StarDictIndex::scan(bytes, claimed, tailSize);
    if (const auto* index = std::get_if<StarDictIndex>(&scanned)) {
        require(quint64(index->count()) == claimed);
        for (qsizetype record = 0; record < index->count(); ++record) {
            const QByteArrayView word = index->word(record);
            require(word.data() >= bytes.data() && !word.contains('\0'));
            require(index->tail(record) + tailSize <= bytes.data() + bytes.size());
            require(index->tail(record)[-1] == '\0');
            // Unsorted input may hide a word, but never yields a range that does not match.
            const auto [first, last] = index->equalRange(word);
            require(first <= last && last <= index->count());
            for (qsizetype match = first; match < last; ++match)
                require(StarDictIndex::compareIgnoringCase(index->word(match), word) == 0);
        }
    }

    const QByteArray copy = bytes.toByteArray();
    (void)StarDictInfo::parse(copy);
    (void)StarDictDictionary::entryText(
        bytes, QByteArrayView(copy).first(std::min<qsizetype>(3, copy.size())));
    (void)StarDictDictionary::entryText(bytes, QByteArrayView());
    const QString text = QString::fromUtf8(copy);
    for (const auto flavour :
         {MarkupText::Flavour::html, MarkupText::Flavour::pango, MarkupText::Flavour::xdxf})
        (void)MarkupText::toPlainText(text, flavour);
    return 0;
}
