#include "lookup/GlossFallbackTranslationEngine.h"

#include "harness/ScriptedTranslator.h"

#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class GlossFallbackTest : public testing::Test {
protected:
    GlossFallbackTest() {
        auto ownedTranslator = std::make_unique<ScriptedTranslator>();
        auto ownedGloss = std::make_unique<ScriptedTranslator>();
        translator = ownedTranslator.get();
        gloss = ownedGloss.get();
        gloss->answer = Gloss{{{.text = u"water"_s, .headword = u"water"_s, .senses = {u"水"_s}}}};
        chain = std::make_unique<GlossFallbackTranslationEngine>(std::move(ownedTranslator),
                                                                 std::move(ownedGloss));
    }

    TranslationOutcome translate(CancellationToken token = {}) {
        return QCoro::waitFor(chain->translate(u"water."_s, token));
    }

    ScriptedTranslator* translator = nullptr;
    ScriptedTranslator* gloss = nullptr;
    std::unique_ptr<GlossFallbackTranslationEngine> chain;
};

} // namespace

TEST_F(GlossFallbackTest, TheGlossAnswersOnlyWhenNoTranslatorIsThere) {
    translator->answer = u"水。"_s;
    EXPECT_EQ(std::get<QString>(translate()), u"水。"_s);

    // A translator that is there keeps its own failure, so the user learns what to fix.
    translator->answer = TranslationFailure{u"翻译超时，请稍后再试"_s};
    for (auto status :
         {TranslationAssetStatus::installed, TranslationAssetStatus::supportedNotDownloaded}) {
        translator->status = status;
        EXPECT_TRUE(std::holds_alternative<TranslationFailure>(translate()));
    }
    EXPECT_TRUE(gloss->asked.isEmpty());

    translator->status = TranslationAssetStatus::unsupported;
    EXPECT_TRUE(std::holds_alternative<Gloss>(translate()));
    EXPECT_EQ(gloss->asked.size(), 1);

    CancellationToken cancelled;
    cancelled.cancel();
    EXPECT_TRUE(std::holds_alternative<Cancelled>(translate(cancelled)));
    EXPECT_EQ(gloss->asked.size(), 1);
}

TEST_F(GlossFallbackTest, StateAndPreparationAreTheTranslators) {
    translator->status = TranslationAssetStatus::supportedNotDownloaded;
    EXPECT_EQ(chain->assetStatus(), TranslationAssetStatus::supportedNotDownloaded);
    EXPECT_TRUE(std::holds_alternative<TranslationFailure>(
        QCoro::waitFor(chain->prepareInteractively({}))));

    QSignalSpy status(chain.get(), &TranslationEngine::assetStatusChanged);
    QSignalSpy notices(chain.get(), &TranslationEngine::notice);
    Q_EMIT translator->assetStatusChanged(TranslationAssetStatus::installed);
    Q_EMIT translator->notice(u"首次使用"_s);
    Q_EMIT gloss->notice(u"不该转达"_s);
    EXPECT_EQ(status.size(), 1);
    ASSERT_EQ(notices.size(), 1);
    EXPECT_EQ(notices.front().front().toString(), u"首次使用"_s);
}
