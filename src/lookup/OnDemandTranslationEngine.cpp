#include "lookup/OnDemandTranslationEngine.h"

#include "lookup/UnsupportedTranslationEngine.h"

OnDemandTranslationEngine::OnDemandTranslationEngine(Opener open, EventLog& log, QObject* parent)
    : TranslationEngine(parent), m_open(std::move(open)), m_log(log) {}

OnDemandTranslationEngine::~OnDemandTranslationEngine() = default;

TranslationEngine& OnDemandTranslationEngine::engine() const {
    if (!m_engine) {
        m_engine = m_open ? m_open() : nullptr;
        // An engine that cannot be opened answers as a platform without one does.
        if (!m_engine)
            m_engine = std::make_unique<UnsupportedTranslationEngine>(m_log);
        auto* self = const_cast<OnDemandTranslationEngine*>(this);
        connect(m_engine.get(), &TranslationEngine::assetStatusChanged, self,
                &TranslationEngine::assetStatusChanged);
        connect(m_engine.get(), &TranslationEngine::preparationProgress, self,
                &TranslationEngine::preparationProgress);
        connect(m_engine.get(), &TranslationEngine::notice, self, &TranslationEngine::notice);
    }
    return *m_engine;
}

TranslationAssetStatus OnDemandTranslationEngine::assetStatus() const {
    return engine().assetStatus();
}

QCoro::Task<TranslationOutcome> OnDemandTranslationEngine::translate(QString text,
                                                                     CancellationToken token) {
    return engine().translate(std::move(text), std::move(token));
}

QCoro::Task<void> OnDemandTranslationEngine::refreshAssetStatus() {
    return engine().refreshAssetStatus();
}

QCoro::Task<PreparationOutcome>
OnDemandTranslationEngine::prepareInteractively(CancellationToken token) {
    return engine().prepareInteractively(std::move(token));
}
