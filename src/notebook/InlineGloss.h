#pragma once

#include "lookup/LookupResult.h"

#include <QHash>
#include <QString>
#include <functional>
#include <optional>

// A short gloss of a word from the dictionaries in the user's order, for notebook entries
// that carry no translation of their own: one line per part of speech, a few senses each.
// Answers are cached for the life of the object.
class InlineGloss {
public:
    using FirstSource = std::function<std::optional<LookupResult::Source>(const QString& word)>;

    static constexpr qsizetype sectionsShown = 3;
    static constexpr qsizetype sensesPerSection = 3;

    // Glosses from the program's dictionaries.
    static InlineGloss& shared();
    explicit InlineGloss(FirstSource firstSource) : m_firstSource(std::move(firstSource)) {}

    // Nothing for a text that is not a single word, or that no dictionary knows.

    std::optional<QString> gloss(const QString& word);

private:
    FirstSource m_firstSource;
    QHash<QString, std::optional<QString>> m_cache;
};
