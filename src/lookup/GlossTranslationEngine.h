#pragma once

#include "lookup/Glosser.h"
#include "lookup/TranslationEngine.h"

// Answers every text with a word-by-word gloss from the bundled database: always there,
// on the device, with nothing to download. The reading runs on a worker thread, as a long
// paragraph takes a while.
class GlossTranslationEngine final : public TranslationEngine {
    Q_OBJECT
public:
    GlossTranslationEngine(const BundledDictionary& words, const PhraseBook& phrases,
                           QObject* parent = nullptr);

    TranslationAssetStatus assetStatus() const override {
        return TranslationAssetStatus::installed;
    }
    QCoro::Task<TranslationOutcome> translate(QString text, CancellationToken token) override;
    QCoro::Task<void> refreshAssetStatus() override { co_return; }
    QCoro::Task<PreparationOutcome> prepareInteractively(CancellationToken token) override;

private:
    Glosser m_glosser;
};
