#include "lookup/UnsupportedTranslationEngine.h"

#include "logs/EventLog.h"

using namespace Qt::StringLiterals;

namespace {
const QString kUnavailable = u"翻译服务不可用"_s;
}

UnsupportedTranslationEngine::UnsupportedTranslationEngine(EventLog& log, QObject* parent)
    : TranslationEngine(parent), m_log(log) {}

TranslationAssetStatus UnsupportedTranslationEngine::assetStatus() const {
    return TranslationAssetStatus::unsupported;
}

QCoro::Task<TranslationOutcome> UnsupportedTranslationEngine::translate(QString,
                                                                        CancellationToken token) {
    if (token.isCancelled())
        co_return Cancelled{};
    co_return TranslationFailure{kUnavailable};
}

QCoro::Task<void> UnsupportedTranslationEngine::refreshAssetStatus() {
    co_return;
}

QCoro::Task<PreparationOutcome>
UnsupportedTranslationEngine::prepareInteractively(CancellationToken token) {
    if (token.isCancelled())
        co_return Cancelled{};
    m_log.append(EventLog::Kind::error, u"语言包检查失败："_s + kUnavailable);
    co_return TranslationFailure{kUnavailable};
}
