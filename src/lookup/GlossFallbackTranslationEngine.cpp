#include "lookup/GlossFallbackTranslationEngine.h"

GlossFallbackTranslationEngine::GlossFallbackTranslationEngine(
    std::unique_ptr<TranslationEngine> translator, std::unique_ptr<TranslationEngine> gloss,
    QObject* parent)
    : TranslationEngine(parent), m_translator(std::move(translator)), m_gloss(std::move(gloss)) {
    connect(m_translator.get(), &TranslationEngine::assetStatusChanged, this,
            &TranslationEngine::assetStatusChanged);
    connect(m_translator.get(), &TranslationEngine::preparationProgress, this,
            &TranslationEngine::preparationProgress);
    connect(m_translator.get(), &TranslationEngine::notice, this, &TranslationEngine::notice);
}

GlossFallbackTranslationEngine::~GlossFallbackTranslationEngine() = default;

TranslationAssetStatus GlossFallbackTranslationEngine::assetStatus() const {
    return m_translator->assetStatus();
}

QCoro::Task<TranslationOutcome> GlossFallbackTranslationEngine::translate(QString text,
                                                                          CancellationToken token) {
    TranslationOutcome outcome = co_await m_translator->translate(text, token);
    if (!std::holds_alternative<TranslationFailure>(outcome) || token.isCancelled() ||
        m_translator->assetStatus() != TranslationAssetStatus::unsupported)
        co_return outcome;
    co_return co_await m_gloss->translate(std::move(text), std::move(token));
}

QCoro::Task<void> GlossFallbackTranslationEngine::refreshAssetStatus() {
    return m_translator->refreshAssetStatus();
}

QCoro::Task<PreparationOutcome>
GlossFallbackTranslationEngine::prepareInteractively(CancellationToken token) {
    return m_translator->prepareInteractively(std::move(token));
}
