#include "lookup/LookupEngine.h"

#include "base/UnicodeText.h"
#include "dictionary/BundledDictionary.h"
#include "filter/TextFilter.h"
#include "lookup/TranslationEngine.h"

#include <QHash>

using namespace Qt::StringLiterals;

namespace {

const QString kBundledId = u"bundled"_s;

// Entries of the Chinese-to-English direction carry a Han headword; only English
// headwords answer an English query.
QList<DictionaryEntry> englishEntries(QList<DictionaryEntry> entries) {
    entries.removeIf([](const DictionaryEntry& entry) { return !entry.hasEnglishHeadword(); });
    return entries;
}

bool equalIgnoringCase(const QString& a, const QString& b) {
    return UnicodeText::lowercased(a) == UnicodeText::lowercased(b);
}

} // namespace

LookupEngine::LookupEngine(Dependencies dependencies) : m_deps(std::move(dependencies)) {}

bool LookupEngine::isCrossReferenceStub(const LookupResult::Source& source) const {
    if (source.stubExempt)
        return false;
    for (const DictionaryEntry& entry : source.entries) {
        if (entry.holdsChineseGloss())
            return false;
    }
    if (source.id == kBundledId)
        return true;
    return m_deps.catalog.givesChineseGloss(source.id);
}

std::optional<LookupResult::Source> LookupEngine::wholeSystemSource(const QString& term) const {
    const std::optional<QString> text = m_deps.catalog.wholeSystemDefinition(term);
    if (!text || UnicodeText::trimmed(*text).isEmpty())
        return std::nullopt;
    QList<DictionaryEntry> entries = englishEntries(m_deps.catalog.parseDefinition(*text, term));
    if (entries.isEmpty())
        return std::nullopt;
    return LookupResult::Source{.id = u"system"_s,
                                .shortName = u"系统词典"_s,
                                .name = u"系统词典"_s,
                                .entries = std::move(entries)};
}

std::optional<LookupResult::Source> LookupEngine::bundledSource(const QString& term) const {
    QList<DictionaryEntry> entries = m_deps.bundled.lookup(term);
    if (entries.isEmpty())
        return std::nullopt;
    return LookupResult::Source{.id = kBundledId,
                                .shortName = u"简明英汉"_s,
                                .name = u"简明英汉词典"_s,
                                .entries = std::move(entries)};
}

void LookupEngine::eachWordSource(const QString& term,
                                  const std::function<bool(LookupResult::Source)>& visit) const {
    // The bundled database first, when it surely leads the order: the system's dictionaries
    // are listed and opened only if the walk goes on past it.
    const bool bundledAsked = m_deps.catalog.bundledComesFirst();
    if (bundledAsked) {
        std::optional<LookupResult::Source> answer = bundledSource(term);
        if (answer && !visit(std::move(*answer)))
            return;
    }
    const QStringList order = m_deps.catalog.effectiveDictionaryOrder();
    const auto active = m_deps.catalog.activeDictionaries();
    QHash<QString, WordSourceCatalog::SystemDictionary> byIdentifier;
    if (active) {
        for (const auto& dictionary : *active)
            byIdentifier.insert(dictionary.identifier, dictionary);
    }
    bool wholeSystemTaken = false;
    for (const QString& identifier : order) {
        std::optional<LookupResult::Source> answer;
        if (identifier == kBundledId) {
            if (bundledAsked)
                continue;
            answer = bundledSource(term);
        } else if (!active) {
            if (wholeSystemTaken)
                continue;
            wholeSystemTaken = true;
            answer = wholeSystemSource(term);
        } else if (const auto found = byIdentifier.constFind(identifier);
                   found != byIdentifier.constEnd()) {
            const std::optional<QString> text = m_deps.catalog.definition(*found, term);
            if (!text || UnicodeText::trimmed(*text).isEmpty())
                continue;
            QList<DictionaryEntry> entries =
                englishEntries(m_deps.catalog.parseDefinition(*text, term));
            if (!entries.isEmpty()) {
                answer = LookupResult::Source{.id = found->identifier,
                                              .shortName = found->tabName,
                                              .name = found->name,
                                              .entries = std::move(entries),
                                              .stubExempt = found->stubExempt};
            }
        }
        if (answer && !visit(std::move(*answer)))
            return;
    }
}

std::optional<LookupResult::Source> LookupEngine::firstWordSource(const QString& term) const {
    std::optional<LookupResult::Source> firstStub;
    std::optional<LookupResult::Source> real;
    eachWordSource(term, [&](LookupResult::Source source) {
        if (!isCrossReferenceStub(source)) {
            real = std::move(source);
            return false;
        }
        if (!firstStub)
            firstStub = std::move(source);
        return true;
    });
    return real ? real : firstStub;
}

QList<LookupResult::Source> LookupEngine::wordSources(const QString& term) const {
    QList<LookupResult::Source> real;
    QList<LookupResult::Source> stubs;
    eachWordSource(term, [&](LookupResult::Source source) {
        (isCrossReferenceStub(source) ? stubs : real).append(std::move(source));
        return true;
    });
    return real + stubs;
}

std::optional<QString> LookupEngine::firstTrustedPhonetic(const QString& term) const {
    const std::optional<QString> text = m_deps.catalog.wholeSystemDefinition(term);
    if (!text)
        return std::nullopt;
    for (const DictionaryEntry& entry : m_deps.catalog.parseDefinition(*text, term)) {
        if (!entry.hasEnglishHeadword())
            continue;
        return entry.phonetic;
    }
    return std::nullopt;
}

QCoro::Task<LookupOutcome> LookupEngine::lookup(QString text, CancellationToken token) const {
    if (token.isCancelled())
        co_return Cancelled{};
    const QString term = UnicodeText::trimmed(text);
    const QueryKind kind = TextFilter::kind(term);
    if (term.isEmpty())
        co_return LookupError::notFound(term);

    std::optional<QString> phonetic;
    if (kind == QueryKind::word) {
        if (std::optional<LookupResult::Source> source = firstWordSource(term))
            co_return LookupResult::dictionaryAnswer(term, std::move(*source));
        phonetic = firstTrustedPhonetic(term);
    }

    const TranslationOutcome translated = co_await m_deps.translator.translate(term, token);
    if (token.isCancelled() || std::holds_alternative<Cancelled>(translated))
        co_return Cancelled{};
    if (const auto* gloss = std::get_if<Gloss>(&translated)) {
        if (gloss->glossedCount() > 0)
            co_return LookupResult::glossed(term, *gloss,
                                            kind == QueryKind::word ? phonetic : std::nullopt);
        // Nothing glossed: a word is unknown everywhere; a sentence still needs a translator.
        if (kind == QueryKind::word)
            co_return LookupError::notFound(term);
    }
    if (const auto* translation = std::get_if<QString>(&translated)) {
        if (kind == QueryKind::word && equalIgnoringCase(UnicodeText::trimmed(*translation), term))
            co_return LookupError::notFound(term);
        co_return LookupResult::translated(term, *translation,
                                           kind == QueryKind::word ? phonetic : std::nullopt);
    }
    const auto* failure = std::get_if<TranslationFailure>(&translated);
    if (m_deps.logError)
        m_deps.logError(u"翻译失败："_s + (failure ? failure->message : u"没有认得的词"_s));
    if (m_deps.translator.assetStatus() == TranslationAssetStatus::installed)
        co_return LookupError::translationFailed();
    co_return LookupError::translationAssetsMissing();
}
