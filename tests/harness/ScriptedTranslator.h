#pragma once

#include "lookup/TranslationEngine.h"

#include <QStringList>

// A translator whose state, answer and preparation the test sets; it keeps what it was asked
// to translate. A cancelled request ends as cancelled, whatever the answer.
class ScriptedTranslator final : public TranslationEngine {
public:
    TranslationAssetStatus status = TranslationAssetStatus::installed;
    TranslationOutcome answer = TranslationFailure{QStringLiteral("翻译服务不可用")};
    PreparationOutcome preparation = TranslationFailure{QStringLiteral("翻译服务不可用")};
    QStringList asked;

    // The model comes or goes, and the translator says so.
    void become(TranslationAssetStatus next) {
        status = next;
        Q_EMIT assetStatusChanged(next);
    }

    TranslationAssetStatus assetStatus() const override { return status; }
    QCoro::Task<TranslationOutcome> translate(QString text, CancellationToken token) override {
        asked.append(text);
        if (token.isCancelled())
            co_return Cancelled{};
        // A copy: QCoro's task moves out of any other lvalue it is given.
        co_return TranslationOutcome(answer);
    }
    QCoro::Task<void> refreshAssetStatus() override { co_return; }
    QCoro::Task<PreparationOutcome> prepareInteractively(CancellationToken) override {
        co_return PreparationOutcome(preparation);
    }
};
