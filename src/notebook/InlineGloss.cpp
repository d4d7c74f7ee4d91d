#include "notebook/InlineGloss.h"

#include "filter/TextFilter.h"

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
