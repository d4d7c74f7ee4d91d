#pragma once

#include "core/Cancellation.h"

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

struct TranslationFailure {
    QString message; // shown or logged as it stands
};

using TranslationOutcome = std::variant<QString, TranslationFailure, Cancelled>;

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

Q_SIGNALS:
    void assetStatusChanged(TranslationAssetStatus status);
};
