// libFuzzer target: arbitrary bytes as the stored notebook, read as the current list (with
// the salvage of a damaged one) and as both older word lists.
#include "FuzzCheck.h"
#include "notebook/VocabularyArchive.h"

#include <algorithm>
#include <cstdint>

namespace {

using Entry = Vocabulary::Entry;

constexpr qint64 kLargestCount = qint64(1) << 53;

void checkEntry(const Entry& entry) {
    require(!entry.text.isEmpty(), "an entry read back has a text");
    require(entry.count >= 0 && entry.count <= kLargestCount, "a count is a sane number");
    require(!entry.firstDate || entry.firstDate->isValid(), "a first date is a date");
    require(!entry.lastDate || entry.lastDate->isValid(), "a last date is a date");
}

bool startsWith(const QList<Entry>& list, const QList<Entry>& prefix) {
    return prefix.size() <= list.size() && std::equal(prefix.begin(), prefix.end(), list.begin());
}

void checkCurrentList(const QByteArray& data) {
    const VocabularyArchive::Decoded decoded = VocabularyArchive::decode(data);
    require(decoded.entries.size() <= decoded.total, "no more entries than the data held");
    require(!decoded.intact || decoded.entries.size() == decoded.total,
            "an intact archive lost nothing");
    for (const Entry& entry : decoded.entries)
        checkEntry(entry);

    // What was read is saved again on load: it must read back the same.
    const QByteArray saved = VocabularyArchive::encode(decoded.entries);
    const VocabularyArchive::Decoded reread = VocabularyArchive::decode(saved);
    require(reread.intact && reread.entries == decoded.entries, "a saved list reads back");

    // A save cut short keeps every entry it finished, in order: the last byte lost costs
    // none, a cut anywhere else at most the entry it went through.
    const VocabularyArchive::Decoded lastByteLost = VocabularyArchive::decode(saved.chopped(1));
    require(lastByteLost.entries == decoded.entries, "losing the closing bracket loses nothing");
    const qsizetype cut = data.isEmpty() ? 0 : saved.size() * uchar(data.back()) / 256;
    const VocabularyArchive::Decoded cutShort = VocabularyArchive::decode(saved.first(cut));
    require(startsWith(decoded.entries, cutShort.entries), "a cut save keeps a prefix");
    require(cutShort.total <= decoded.entries.size(), "a cut save holds no extra entries");
}

void checkLegacy(const std::optional<QList<VocabularyArchive::LegacyItem>>& items) {
    if (!items)
        return;
    for (const VocabularyArchive::LegacyItem& item : *items) {
        require(item.count >= 0 && item.count <= kLargestCount, "a legacy count is sane");
        require(!item.firstDate || item.firstDate->isValid(), "a legacy date is a date");
        require(!item.lastDate || item.lastDate->isValid(), "a legacy date is a date");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QByteArray bytes =
        QByteArray::fromRawData(reinterpret_cast<const char*>(data), qsizetype(size));
    checkCurrentList(bytes);
    checkLegacy(VocabularyArchive::decodeWordList(bytes));
    const auto history = VocabularyArchive::decodeQueryHistory(bytes);
    checkLegacy(history);
    if (history) {
        for (const VocabularyArchive::LegacyItem& item : *history)
            require(item.count == 1 && item.firstDate == item.lastDate,
                    "a history item is one lookup on one date");
    }
    return 0;
}
