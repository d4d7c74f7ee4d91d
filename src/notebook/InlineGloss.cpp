#include "notebook/InlineGloss.h"

#include "core/LookupEngine.h"
#include "core/TextFilter.h"
#include "core/UnsupportedTranslationEngine.h"
#include "dictionary/BundledDictionary.h"
#include "dictionary/SystemDictionaryCatalog.h"
#include "settings/Preferences.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace {

std::optional<QString> glossOf(const DictionaryEntry& entry) {
    QStringList lines;
    for (const DictionaryEntry::Section& section : entry.visibleSections()) {
        if (lines.size() == InlineGloss::sectionsShown)
            break;
        const QString senses = section.senses.mid(0, InlineGloss::sensesPerSection).join(u"；"_s);
        lines.append(section.partOfSpeech ? *section.partOfSpeech + u' ' + senses : senses);
    }
    if (lines.isEmpty() && entry.rawFallback && !entry.rawFallback->isEmpty())
        return entry.rawFallback;
    if (lines.isEmpty())
        return std::nullopt;
    return lines.join(u'\n');
}

} // namespace

InlineGloss& InlineGloss::shared() {
    static InlineGloss gloss([](const QString& word) {
        static const SystemDictionaryCatalog catalog(Preferences::shared());
        static UnsupportedTranslationEngine translator;
        static const LookupEngine engine({.bundled = BundledDictionary::shared(),
                                          .catalog = catalog,
                                          .translator = translator,
                                          .logError = {}});
        return engine.firstWordSource(word);
    });
    return gloss;
}

std::optional<QString> InlineGloss::gloss(const QString& word) {
    if (TextFilter::kind(word) != QueryKind::word)
        return std::nullopt;
    const auto cached = m_cache.constFind(word);
    if (cached != m_cache.constEnd())
        return *cached;
    std::optional<QString> found;
    if (const auto source = m_firstSource(word); source && !source->entries.isEmpty())
        found = glossOf(source->entries.first());
    m_cache.insert(word, found);
    return found;
}
