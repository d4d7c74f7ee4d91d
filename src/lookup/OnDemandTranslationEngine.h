#pragma once

#include "lookup/TranslationEngine.h"

#include <functional>
#include <memory>

class EventLog;

// Stands in for an engine that is costly to bring up (a library to open, a network stack to
// load): the real one is made on the first call that needs it, and its signals pass through.
// Looking up a word never asks for a translation, so it never pays for one.
class OnDemandTranslationEngine final : public TranslationEngine {
    Q_OBJECT
public:
    using Opener = std::function<std::unique_ptr<TranslationEngine>()>;
    // `log` hears of a preparation when the engine could not be opened.
    OnDemandTranslationEngine(Opener open, EventLog& log, QObject* parent = nullptr);
    ~OnDemandTranslationEngine() override;

    bool isOpen() const { return m_engine != nullptr; }

    TranslationAssetStatus assetStatus() const override;
    QCoro::Task<TranslationOutcome> translate(QString text, CancellationToken token) override;
    QCoro::Task<void> refreshAssetStatus() override;
    QCoro::Task<PreparationOutcome> prepareInteractively(CancellationToken token) override;

private:
    TranslationEngine& engine() const;

    Opener m_open;
    EventLog& m_log;
    mutable std::unique_ptr<TranslationEngine> m_engine;
};
