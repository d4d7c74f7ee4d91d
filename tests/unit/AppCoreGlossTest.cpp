// The coordinator with the translator chain the programs build, when no model server answers.

#include "core/AppCore.h"
#include "dictionary/BundledDictionary.h"
#include "dictionary/PhraseBook.h"
#include "dictionary/WordSourceCatalog.h"
#include "harness/FakeModelServer.h"
#include "harness/FixtureDatabase.h"
#include "harness/ManualTimers.h"
#include "harness/RecordingPresenter.h"
#include "harness/ScriptedPasteboard.h"
#include "logs/EventLog.h"
#include "lookup/GlossFallbackTranslationEngine.h"
#include "lookup/GlossTranslationEngine.h"
#include "lookup/LookupEngine.h"
#include "notebook/Vocabulary.h"
#include "platform/linux/translation/LocalModelTranslationEngine.h"
#include "settings/DefaultsStore.h"
#include "settings/FilterPreferences.h"
#include "settings/Preferences.h"
#include "settings/TranslationSettings.h"
#include "settings/TriggerSettings.h"

#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class AppCoreGlossTest : public testing::Test {
protected:
    AppCoreGlossTest() {
        settings.setEndpoint(QUrl(FakeModelServer::closedEndpoint()));
        auto timing = LocalModelTranslationEngine::Timing::standard();
        timing.timers = &timers;
        translator = std::make_unique<GlossFallbackTranslationEngine>(
            std::make_unique<LocalModelTranslationEngine>(settings, log, timing),
            std::make_unique<GlossTranslationEngine>(bundled, phrases));
        engine.emplace(LookupEngine::Dependencies{
            .bundled = bundled, .catalog = catalog, .translator = *translator, .logError = {}});
        core.emplace(AppCore::Dependencies{.presenter = presenter,
                                           .pasteboard = pasteboard,
                                           .translator = *translator,
                                           .engine = *engine,
                                           .vocabulary = vocabulary,
                                           .log = log,
                                           .preferences = preferences,
                                           .triggers = triggers,
                                           .filter = filter,
                                           .openTranslationSettings = [this] {
                                               ++opened;
                                           }});
        core->start();
    }

    void lookUp(const QString& text) {
        core->run(text, true);
        ASSERT_TRUE(QTest::qWaitFor([this] { return !core->isLookupInFlight(); }));
    }

    QTemporaryDir dir;
    DefaultsStore store{dir.path() + u"/defaults.json"_s};
    EventLog log{{}, false};
    TranslationSettings settings{store};
    Preferences preferences{store, {}};
    TriggerSettings triggers{store};
    FilterPreferences filter{store, log};
    Vocabulary vocabulary{{.store = store, .recordingEnabled = [] { return true; }, .log = {}}};
    FixtureDatabase database{FixtureDatabase::schema() + uR"(
        INSERT INTO words(word, translation) VALUES ('i', 'pron. 我'), ('smoking', 'n. 吸烟');
        INSERT INTO phrases VALUES ('give up', '放弃');
        INSERT INTO forms VALUES ('gave', 'give');)"_s};
    BundledDictionary bundled{database.path()};
    PhraseBook phrases{database.path()};
    BundledOnlyCatalog catalog;
    ScriptedPasteboard pasteboard;
    RecordingPresenter presenter;
    ManualTimers timers;
    std::unique_ptr<TranslationEngine> translator;
    std::optional<LookupEngine> engine;
    std::optional<AppCore> core;
    int opened = 0;
};

} // namespace

TEST_F(AppCoreGlossTest, ASentenceIsGlossedStarredAsASentenceAndExported) {
    lookUp(u"I gave up smoking."_s);
    ASSERT_EQ(presenter.shown.size(), 1) << presenter.calls.join(u'\n').toStdString();
    const LookupResult& result = presenter.shown.front();
    EXPECT_TRUE(result.isGloss());
    EXPECT_EQ(result.translation, u"I 我；give up 放弃；smoking 吸烟"_s);
    EXPECT_TRUE(presenter.calls.filter(u"languagePack:"_s).isEmpty());
    EXPECT_TRUE(std::any_of(log.entries().begin(), log.entries().end(), [](const auto& entry) {
        return entry.text.startsWith(u"逐词释义｜"_s);
    }));

    EXPECT_TRUE(presenter.actions.toggleStar(result));
    const auto starred = vocabulary.entry(u"I gave up smoking."_s, Vocabulary::Kind::sentence);
    ASSERT_TRUE(starred);
    EXPECT_EQ(starred->translation, result.translation);
    EXPECT_TRUE(presenter.actions.isStarred(result));
    EXPECT_TRUE(
        vocabulary.exportText(Vocabulary::ExportFormat::plain, Vocabulary::ExportScope::starred)
            .contains(u"I 我；give up 放弃；smoking 吸烟"_s));

    presenter.actions.openTranslationSettings();
    EXPECT_EQ(opened, 1);
}
