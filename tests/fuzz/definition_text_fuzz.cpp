// libFuzzer target: the reader of system-dictionary definitions on arbitrary UTF-8.
#include "base/UnicodeText.h"
#include "dictionary/DictionaryLookup.h"
#include "dictionary/WebsterDefinitionParser.h"

#include <cstdint>
#include <cstdlib>

namespace {

void require(bool condition) {
    if (!condition)
        std::abort();
}

// What every consumer of an entry relies on: something to show, and aligned sub-senses.
void checkEntry(const DictionaryEntry& entry) {
    require(!entry.headword.isEmpty());
    require(entry.sections.isEmpty() == entry.rawFallback.has_value());
    require(!entry.rawFallback || !entry.rawFallback->isEmpty());
    require(!entry.homographIndex || *entry.homographIndex >= 1);
    for (const DictionaryEntry::Section& section : entry.sections) {
        require(!section.senses.isEmpty());
        require(section.subsenses.size() <= section.senses.size());
        for (const QString& sense : section.senses)
            require(!sense.isEmpty());
        for (const QStringList& subsenses : section.subsenses) {
            for (const QString& subsense : subsenses)
                require(!subsense.isEmpty());
        }
    }
    entry.copyText(entry.displayHeadword());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const QString text = QString::fromUtf8(reinterpret_cast<const char*>(data), qsizetype(size));
    const QString fallback = QStringLiteral("water");

    const QList<DictionaryEntry> entries = DictionaryLookup::parse(text, fallback);
    require(entries.isEmpty() == UnicodeText::trimmed(text).isEmpty());
    for (const DictionaryEntry& entry : entries)
        checkEntry(entry);
    require(DictionaryLookup::parse(text, fallback) == entries);

    WebsterDefinitionParser::decodeMarkup(text);
    return 0;
}
