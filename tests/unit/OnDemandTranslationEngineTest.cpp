#include "lookup/OnDemandTranslationEngine.h"

#include "harness/QtPrinters.h"
#include "logs/EventLog.h"

#include <QCoroSignal>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

// An engine that answers "译文" and can be told to emit its signals.
class AnsweringEngine final : public TranslationEngine {
public:
    TranslationAssetStatus assetStatus() const override {
        return TranslationAssetStatus::supportedNotDownloaded;
    }
    QCoro::Task<TranslationOutcome> translate(QString, CancellationToken) override {
        co_return u"译文"_s;
    }
    QCoro::Task<void> refreshAssetStatus() override { co_return; }
    QCoro::Task<PreparationOutcome> prepareInteractively(CancellationToken) override {
        Q_EMIT preparationProgress(0.5);
        Q_EMIT assetStatusChanged(TranslationAssetStatus::installed);
        Q_EMIT notice(u"第一次翻译会慢一些"_s);
        co_return TranslationAssetsReady{};
    }
};

struct OnDemandTranslationEngineTest : testing::Test {
    EventLog log{{}, false};
    int opened = 0;
};

TEST_F(OnDemandTranslationEngineTest, OpensTheEngineOnFirstUseOnlyAndPassesItsSignalsOn) {
    OnDemandTranslationEngine engine(
        [this] {
            ++opened;
            return std::make_unique<AnsweringEngine>();
        },
        log);
    EXPECT_EQ(opened, 0);
    EXPECT_FALSE(engine.isOpen());

    QList<double> progress;
    QList<TranslationAssetStatus> statuses;
    QStringList notices;
    QObject::connect(&engine, &TranslationEngine::preparationProgress,
                     [&](double fraction) { progress.append(fraction); });
    QObject::connect(&engine, &TranslationEngine::assetStatusChanged,
                     [&](TranslationAssetStatus status) { statuses.append(status); });
    QObject::connect(&engine, &TranslationEngine::notice,
                     [&](const QString& text) { notices.append(text); });

    EXPECT_EQ(engine.assetStatus(), TranslationAssetStatus::supportedNotDownloaded);
    const TranslationOutcome outcome = QCoro::waitFor(engine.translate(u"Hello there."_s, {}));
    ASSERT_TRUE(std::holds_alternative<QString>(outcome));
    EXPECT_EQ(std::get<QString>(outcome), u"译文"_s);
    QCoro::waitFor(engine.prepareInteractively({}));
    EXPECT_EQ(opened, 1);
    EXPECT_EQ(progress, QList<double>{0.5});
    EXPECT_EQ(statuses, QList<TranslationAssetStatus>{TranslationAssetStatus::installed});
    EXPECT_EQ(notices, QStringList{u"第一次翻译会慢一些"_s});
}

TEST_F(OnDemandTranslationEngineTest, AnEngineThatCannotBeOpenedAnswersAsNoTranslatorWould) {
    OnDemandTranslationEngine engine(
        [this] {
            ++opened;
            return std::unique_ptr<TranslationEngine>();
        },
        log);
    EXPECT_EQ(engine.assetStatus(), TranslationAssetStatus::unsupported);
    const TranslationOutcome outcome = QCoro::waitFor(engine.translate(u"Hello there."_s, {}));
    ASSERT_TRUE(std::holds_alternative<TranslationFailure>(outcome));
    EXPECT_EQ(std::get<TranslationFailure>(outcome).message, u"翻译服务不可用"_s);
    QCoro::waitFor(engine.prepareInteractively({}));
    EXPECT_EQ(opened, 1); // asked once, not on every call
    ASSERT_FALSE(log.entries().isEmpty());
    EXPECT_EQ(log.entries().first().text, u"语言包检查失败：翻译服务不可用"_s);
}

} // namespace
