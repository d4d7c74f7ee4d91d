#pragma once

#include "base/Cancellation.h"
#include "dictionary/WordSourceCatalog.h"
#include "lookup/LookupError.h"
#include "lookup/LookupResult.h"

#include <QCoroTask>
#include <QList>
#include <QString>
#include <functional>
#include <optional>
#include <variant>

class BundledDictionary;
class TranslationEngine;

using LookupOutcome = std::variant<LookupResult, LookupError, Cancelled>;

// Turns one captured text into one result: a dictionary answer for a word, otherwise (or
// when no dictionary knows the word) a translation. Holds no state of its own beyond its
// collaborators; runs on the main thread and awaits only the translator.
class LookupEngine {
public:
    struct Dependencies {
        const BundledDictionary& bundled;
        const WordSourceCatalog& catalog;
        TranslationEngine& translator;
        // Receives the content of an error event-log entry; may be empty.
        std::function<void(const QString&)> logError;
    };

    explicit LookupEngine(Dependencies dependencies);

    QCoro::Task<LookupOutcome> lookup(QString text, CancellationToken token = {}) const;

    // Every dictionary's answer in the user's order, cross-reference stubs after real answers.
    QList<LookupResult::Source> wordSources(const QString& term) const;
    // The answer a lookup shows: the first real answer, else the first stub, else nothing.
    std::optional<LookupResult::Source> firstWordSource(const QString& term) const;

    // An answer that only points at another headword and carries no Chinese gloss.
    bool isCrossReferenceStub(const LookupResult::Source& source) const;

private:
    void eachWordSource(const QString& term,
                        const std::function<bool(LookupResult::Source)>& visit) const;
    std::optional<LookupResult::Source> bundledSource(const QString& term) const;
    std::optional<LookupResult::Source> wholeSystemSource(const QString& term) const;
    std::optional<QString> firstTrustedPhonetic(const QString& term) const;

    Dependencies m_deps;
};
