#pragma once

#include "lookup/TranslationEngine.h"

#include <memory>

// A translator first, a gloss when there is no translator: while the translator reports
// that it is not there at all (no model server answers), its failures give way to the gloss.
// A translator that is there but fails, or lacks its model, keeps its own answer, so the
// user learns what to fix. The state, preparation and notices are the translator's.
class GlossFallbackTranslationEngine final : public TranslationEngine {
    Q_OBJECT
public:
    GlossFallbackTranslationEngine(std::unique_ptr<TranslationEngine> translator,
                                   std::unique_ptr<TranslationEngine> gloss,
                                   QObject* parent = nullptr);
    ~GlossFallbackTranslationEngine() override;

    TranslationAssetStatus assetStatus() const override;
    QCoro::Task<TranslationOutcome> translate(QString text, CancellationToken token) override;
    QCoro::Task<void> refreshAssetStatus() override;
    QCoro::Task<PreparationOutcome> prepareInteractively(CancellationToken token) override;

private:
    std::unique_ptr<TranslationEngine> m_translator;
    std::unique_ptr<TranslationEngine> m_gloss;
};
