#pragma once

#include "ModelServerProtocol.h"
#include "base/TimerSource.h"
#include "lookup/TranslationEngine.h"

#include <QStringList>
#include <chrono>
#include <memory>

class EventLog;
class QNetworkAccessManager;
class TranslationSettings;

// Sentence translation by a language model on a server of the user's own (Ollama by default,
// or anything that speaks the OpenAI chat API). The "assets" are the model: installed when
// the server lists it, not downloaded when the server runs without it, unsupported when no
// server answers. Main thread only.
class LocalModelTranslationEngine final : public TranslationEngine {
    Q_OBJECT
public:
    struct Timing {
        ModelServerProtocol::Limits limits;
        // How long a first translation runs before the user hears that the model is loading:
        // after the server said the model is not in memory, and when it cannot tell.
        std::chrono::milliseconds noticeWhenUnloaded;
        std::chrono::milliseconds noticeWhenUnknown;
        // Where the limits and the notice delay run.
        TimerSource* timers = &TimerSource::system();

        // For the agent, whose lookups a newer one replaces anyway.
        static Timing standard();
        // For a command someone waits on.
        static Timing commandLine();
    };

    LocalModelTranslationEngine(TranslationSettings& settings, EventLog& log, Timing timing,
                                QObject* parent = nullptr);
    ~LocalModelTranslationEngine() override;

    TranslationAssetStatus assetStatus() const override { return m_status; }
    QCoro::Task<TranslationOutcome> translate(QString text, CancellationToken token) override;
    QCoro::Task<void> refreshAssetStatus() override;
    QCoro::Task<PreparationOutcome> prepareInteractively(CancellationToken token) override;

    // The models the server offered at the last refresh.
    const QStringList& listedModels() const { return m_listedModels; }

private:
    // The protocol for the current settings, made on first use: a command that never
    // translates never sets up networking.
    std::shared_ptr<ModelServerProtocol> protocol();
    void forgetServer();
    void learn(TranslationAssetStatus status);
    void announceFirstUse();
    QCoro::Task<ServerOutcome<QStringList>> refresh(CancellationToken token);
    PreparationOutcome preparationFailed(const QString& text);

    TranslationSettings& m_settings;
    EventLog& m_log;
    Timing m_timing;
    QNetworkAccessManager* m_manager = nullptr;
    // Shared with requests in flight, which keep the protocol they started with.
    std::shared_ptr<ModelServerProtocol> m_protocol;
    // Nothing is known until the server has been asked; "unsupported" says the least.
    TranslationAssetStatus m_status = TranslationAssetStatus::unsupported;
    bool m_statusKnown = false;
    // Set once the run no longer needs to tell the user about a slow first translation.
    bool m_firstUseSettled = false;
    QStringList m_listedModels;
};
