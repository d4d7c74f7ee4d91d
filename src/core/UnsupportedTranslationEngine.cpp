#include "core/UnsupportedTranslationEngine.h"

using namespace Qt::StringLiterals;

TranslationAssetStatus UnsupportedTranslationEngine::assetStatus() const {
    return TranslationAssetStatus::unsupported;
}

QCoro::Task<TranslationOutcome> UnsupportedTranslationEngine::translate(QString,
                                                                        CancellationToken token) {
    if (token.isCancelled())
        co_return Cancelled{};
    co_return TranslationFailure{u"翻译服务不可用"_s};
}

QCoro::Task<void> UnsupportedTranslationEngine::refreshAssetStatus() {
    co_return;
}
