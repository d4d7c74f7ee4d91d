#pragma once

#include "base/Cancellation.h"
#include "lookup/Gloss.h"

#include <QCoroTask>
#include <QObject>
#include <QString>
#include <variant>

// State of the English → Simplified Chinese translation assets. Raw values are stable.
enum class TranslationAssetStatus : int {
    installed = 2,
    supportedNotDownloaded = 3,
    unsupported = 4,
};

// The state in a few words, as the settings and the command line show it.
QString assetStatusWords(TranslationAssetStatus status);

struct TranslationFailure {
    QString message; // shown or logged as it stands
};

// A translation, or a gloss from an engine that only reads the text word by word.
using TranslationOutcome = std::variant<QString, Gloss, TranslationFailure, Cancelled>;

// The assets are in place after a preparation.
struct TranslationAssetsReady {};
using PreparationOutcome = std::variant<TranslationAssetsReady, TranslationFailure, Cancelled>;

// Sentence translation on the device. Backends differ per platform and setup; the lookup
// engine only needs these calls.
class TranslationEngine : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
    ~TranslationEngine() override = default;

    virtual TranslationAssetStatus assetStatus() const = 0;
    virtual QCoro::Task<TranslationOutcome> translate(QString text, CancellationToken token) = 0;
    virtual QCoro::Task<void> refreshAssetStatus() = 0;
    // Fetches the assets when they are missing (may take minutes), refreshes the state and
    // writes the outcome to the event log.
    virtual QCoro::Task<PreparationOutcome> prepareInteractively(CancellationToken token) = 0;

Q_SIGNALS:
    void assetStatusChanged(TranslationAssetStatus status);
    // How far a preparation has come, from 0 to 1; never goes back within one preparation.
    void preparationProgress(double fraction);
    // A passing message for the panel, e.g. that the first translation will be slow.
    void notice(const QString& text);
};
