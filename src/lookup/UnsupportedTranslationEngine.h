#pragma once

#include "lookup/TranslationEngine.h"

class EventLog;

// The engine used where no on-device translator exists: it says so truthfully, and every
// translation and preparation fails with "翻译服务不可用".
class UnsupportedTranslationEngine final : public TranslationEngine {
    Q_OBJECT
public:
    // `log` receives the failed preparation.
    explicit UnsupportedTranslationEngine(EventLog& log, QObject* parent = nullptr);

    TranslationAssetStatus assetStatus() const override;
    QCoro::Task<TranslationOutcome> translate(QString text, CancellationToken token) override;
    QCoro::Task<void> refreshAssetStatus() override;
    QCoro::Task<PreparationOutcome> prepareInteractively(CancellationToken token) override;

private:
    EventLog& m_log;
};
