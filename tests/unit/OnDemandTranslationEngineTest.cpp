#include "lookup/OnDemandTranslationEngine.h"

#include "harness/QtPrinters.h"
#include "harness/ScriptedTranslator.h"
#include "logs/EventLog.h"

#include <QCoroSignal>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

struct OnDemandTranslationEngineTest : testing::Test {
    EventLog log{{}, false};
    int opened = 0;
};

TEST_F(OnDemandTranslationEngineTest, OpensTheEngineOnFirstUseOnlyAndPassesItsSignalsOn) {
    ScriptedTranslator* inner = nullptr;
    OnDemandTranslationEngine engine(
        [this, &inner] {
            ++opened;
            auto made = std::make_unique<ScriptedTranslator>();
            made->status = TranslationAssetStatus::supportedNotDownloaded;
            made->answer = u"译文"_s;
            made->preparation = TranslationAssetsReady{};
            inner = made.get();
            return made;
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
    EXPECT_TRUE(std::holds_alternative<TranslationAssetsReady>(
        QCoro::waitFor(engine.prepareInteractively({}))));
    EXPECT_EQ(opened, 1);
    Q_EMIT inner->preparationProgress(0.5);
    inner->become(TranslationAssetStatus::installed);
    Q_EMIT inner->notice(u"第一次翻译会慢一些"_s);
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
