#include "core/AppCore.h"

#include "core/LookupEngine.h"
#include "core/LookupPresenter.h"
#include "dictionary/BundledDictionary.h"
#include "dictionary/WordSourceCatalog.h"
#include "harness/FakeModelServer.h"
#include "harness/FixtureDatabase.h"
#include "harness/QtPrinters.h"
#include "harness/ScriptedPasteboard.h"
#include "notebook/Vocabulary.h"
#include "platform/linux/translation/LocalModelTranslationEngine.h"
#include "settings/DefaultsStore.h"
#include "settings/EventLog.h"
#include "settings/FilterPreferences.h"
#include "settings/Preferences.h"
#include "settings/TranslationSettings.h"
#include "settings/TriggerSettings.h"

#include <QCoroTask>
#include <QDeadlineTimer>
#include <QTemporaryDir>
#include <QTimeZone>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// What the coordinator asked of the panel, in order, with the panel's loading state kept
// as a real panel keeps it.
class RecordingPresenter final : public LookupPresenter {
public:
    QStringList calls;
    std::optional<QString> loading;
    QList<LookupResult> shown;
    Actions actions;

    void setActions(Actions a) override { actions = std::move(a); }
    void showLoading(const QString& query, bool) override {
        loading = query;
        calls.append(u"loading:"_s + query);
    }
    bool show(const LookupResult& result, bool) override {
        loading.reset();
        shown.append(result);
        calls.append(u"show:"_s + result.term);
        return true;
    }
    void showFailure(const QString& message, bool) override {
        loading.reset();
        calls.append(u"failure:"_s + message);
    }
    void showNotice(const QString& message) override { calls.append(u"notice:"_s + message); }
    void showRefusal(const QString& message) override { calls.append(u"refusal:"_s + message); }
    void showNeedsLanguagePack(const QString& query, bool) override {
        calls.append(u"languagePack:"_s + query);
    }
    void showDownloadProgress(double) override {}
    void expand(bool) override {}
    void scheduleAutoHide() override {}
    void collapse() override {
        loading.reset();
        calls.append(u"collapse"_s);
    }
    std::optional<QString> loadingQuery() const override { return loading; }
};

const QString kWords = FixtureDatabase::schema() + uR"(
    INSERT INTO words VALUES ('water', 'ˈwɔːtə', 'n. 水', NULL);
    INSERT INTO words VALUES ('river', NULL, 'n. 河', NULL);
)"_s;

class AppCoreTest : public testing::Test {
protected:
    AppCoreTest() {
        server.installed = {TranslationSettings::defaultModel};
        EXPECT_TRUE(server.listen());
        translationSettings.setEndpoint(QUrl(server.endpoint()));
        translator = std::make_unique<LocalModelTranslationEngine>(
            translationSettings, log, LocalModelTranslationEngine::Timing::standard());
        engine = std::make_unique<LookupEngine>(
            LookupEngine::Dependencies{.bundled = bundled,
                                       .catalog = catalog,
                                       .translator = *translator,
                                       .logError = [this](const QString& c) {
                                           log.append(EventLog::Kind::error, c);
                                       }});
        core = std::make_unique<AppCore>(AppCore::Dependencies{
            .presenter = presenter,
            .pasteboard = pasteboard,
            .translator = *translator,
            .engine = *engine,
            .vocabulary = vocabulary,
            .log = log,
            .preferences = preferences,
            .triggers = triggers,
            .filter = filter,
            .speak = [this](const QString& text) { spoken.append(text); },
            .openInDictionary = {},
            .now = [this] { return now; },
        });
        core->start();
    }

    void refreshStatus() { QCoro::waitFor(translator->refreshAssetStatus()); }

    void copy(const QString& text, const ScriptedPasteboard::Content& markers = {}) {
        pasteboard.copyText(text, markers);
        core->clipboard().poll();
    }

    // Runs the event loop until no lookup is in flight.
    void settle() {
        const QDeadlineTimer deadline(5000);
        while (core->isLookupInFlight() && !deadline.hasExpired())
            QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }

    QStringList logLines() const {
        QStringList lines;
        for (auto it = log.entries().crbegin(); it != log.entries().crend(); ++it)
            lines.append(u"["_s + EventLog::label(it->kind) + u"] "_s + it->text);
        return lines;
    }
    QString diskLog() const {
        QStringList lines;
        for (const EventLog::Entry& entry : log.entries())
            lines.append(entry.diskText);
        return lines.join(u'\n');
    }

    QTemporaryDir dir;
    DefaultsStore store{dir.path() + u"/defaults.json"_s};
    EventLog log{{}, false};
    FakeModelServer server;
    TranslationSettings translationSettings{store};
    Preferences preferences{store, {}};
    TriggerSettings triggers{store};
    FilterPreferences filter{store, log};
    Vocabulary vocabulary{{.store = store, .recordingEnabled = [] { return true; }, .log = {}}};
    FixtureDatabase database{kWords};
    BundledDictionary bundled{database.path()};
    BundledOnlyCatalog catalog;
    ScriptedPasteboard pasteboard;
    RecordingPresenter presenter;
    QStringList spoken;
    QDateTime now = QDateTime(QDate(2026, 3, 1), QTime(9, 0), Qt::UTC);
    std::unique_ptr<LocalModelTranslationEngine> translator;
    std::unique_ptr<LookupEngine> engine;
    std::unique_ptr<AppCore> core;
};

TEST_F(AppCoreTest, CopiedWordIsShownRecordedAndLoggedWithoutItsText) {
    preferences.setSpeaksOnLookup(true);
    copy(u"  water\n"_s);
    settle();
    EXPECT_EQ(presenter.calls, QStringList({u"loading:water"_s, u"show:water"_s}));
    ASSERT_EQ(presenter.shown.size(), 1);
    EXPECT_EQ(presenter.shown[0].source.id, u"bundled"_s);
    ASSERT_TRUE(vocabulary.entry(u"water"_s, Vocabulary::Kind::word));
    EXPECT_EQ(spoken, QStringList{u"water"_s});
    EXPECT_TRUE(logLines().contains(u"[触发] 复制查词｜单词｜water"_s))
        << (logLines().join(u'\n')).toStdString();
    EXPECT_FALSE(diskLog().contains(u"water"_s)) << diskLog().toStdString();
}

TEST_F(AppCoreTest, SameCopyWithinAMinuteIsADuplicateAndAfterItIsLookedUpAgain) {
    copy(u"water"_s);
    now = now.addSecs(59);
    copy(u"water"_s);
    EXPECT_EQ(presenter.shown.size(), 1);
    EXPECT_TRUE(logLines().last().startsWith(u"[拦截] 复制查词｜"_s))
        << logLines().last().toStdString();
    now = now.addSecs(2);
    copy(u"water"_s);
    EXPECT_EQ(presenter.shown.size(), 2);
}

TEST_F(AppCoreTest, RefusedCopiesShowNothingAndSecretsLeaveNoTrace) {
    struct Case {
        QString text;
        ScriptedPasteboard::Content markers;
        RejectReason reason;
    };
    const QList<Case> cases = {
        {u"https://example.com/a"_s, {}, RejectReason::urlOrPath},
        {u"/usr/share/dict/words"_s, {}, RejectReason::urlOrPath},
        {u"这是中文"_s, {}, RejectReason::notEnglish},
        {u"sk-live-4f9aC0ffee1234567890abcd"_s, {}, RejectReason::secretLike},
        {u"correct horse battery"_s,
         {{u"x-kde-passwordManagerHint"_s, "secret"}},
         RejectReason::concealed},
    };
    for (const Case& c : cases) {
        copy(c.text, c.markers);
        ASSERT_TRUE(core->lastRejection()) << c.text.toStdString();
        EXPECT_EQ(core->lastRejection()->reason, c.reason) << c.text.toStdString();
        const bool keepsNoCopy = RejectReasons::keepsNoCopy(c.reason);
        EXPECT_EQ(core->lastRejection()->text.has_value(), !keepsNoCopy) << c.text.toStdString();
        if (keepsNoCopy) {
            EXPECT_FALSE(logLines().join(u'\n').contains(c.text)) << c.text.toStdString();
        }
    }
    EXPECT_TRUE(presenter.calls.isEmpty()) << (presenter.calls.join(u'\n')).toStdString();

    // A secret cannot be looked up anyway; an ordinary refusal can.
    core->retryLastRejection();
    EXPECT_TRUE(presenter.calls.isEmpty());
    copy(u"https://example.com/b"_s);
    core->retryLastRejection();
    settle();
    EXPECT_EQ(presenter.calls.first(), u"loading:https://example.com/b"_s);
}

TEST_F(AppCoreTest, NewerLookupSupersedesTheOneStillLoading) {
    refreshStatus();
    server.routes.insert("/api/chat", {.delay = 300ms});
    core->run(u"The first sentence is slow."_s, false);
    core->run(u"water"_s, false);
    settle();
    // Long enough for the first answer to have arrived had it not been cancelled.
    QDeadlineTimer wait(600);
    while (!wait.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    EXPECT_EQ(presenter.calls, QStringList({u"loading:The first sentence is slow."_s,
                                            u"loading:water"_s, u"show:water"_s}));
    for (const QString& line : logLines())
        EXPECT_FALSE(line.startsWith(u"[错误]"_s)) << line.toStdString();
}

TEST_F(AppCoreTest, CancelledLookupCollapsesOnlyItsOwnLoadingState) {
    refreshStatus();
    server.routes.insert("/api/chat", {.delay = 2000ms});
    const QString first = u"A slow sentence to translate."_s;
    core->run(first, false);
    core->run(u"Another slow sentence here."_s, false);
    // The panel still shows the first query's loading state (as when the second run was
    // never shown), so the first run's cancellation folds the panel, once.
    presenter.loading = first;
    QDeadlineTimer wait(300);
    while (!wait.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    EXPECT_EQ(presenter.calls.count(u"collapse"_s), 1) << presenter.calls.join(u'\n').toStdString();
    EXPECT_TRUE(logLines().contains(u"[结果] 查询中断，收起面板｜"_s + first));
}

TEST_F(AppCoreTest, MissingModelAsksOnceBeforeTheFirstSentence) {
    server.installed.clear();
    refreshStatus();
    ASSERT_EQ(translator->assetStatus(), TranslationAssetStatus::supportedNotDownloaded);
    core->run(u"Read this sentence please."_s, true);
    EXPECT_EQ(presenter.calls, QStringList{u"languagePack:Read this sentence please."_s});
    EXPECT_TRUE(logLines().contains(u"[拦截] 整句｜语言包未下载，已询问"_s));
    // Words are never held up, and the question is asked once per run.
    core->run(u"water"_s, true);
    core->run(u"Read this sentence please."_s, true);
    settle();
    EXPECT_EQ(presenter.calls.size(), 5) << (presenter.calls.join(u'\n')).toStdString();
    EXPECT_TRUE(presenter.calls.last().startsWith(u"failure:整句翻译需要本地翻译模型"_s))
        << presenter.calls.last().toStdString();
}

TEST_F(AppCoreTest, NoTranslationServerEndsInTheLanguagePackMessage) {
    translationSettings.setEndpoint(QUrl(u"http://127.0.0.1:9"_s));
    refreshStatus();
    ASSERT_EQ(translator->assetStatus(), TranslationAssetStatus::unsupported);
    core->run(u"Nobody can translate this."_s, false);
    settle();
    ASSERT_FALSE(presenter.calls.isEmpty());
    EXPECT_EQ(presenter.calls.last(),
              u"failure:整句翻译需要本地翻译模型，可在「设置 › 词典与翻译」下载。"_s);
}

TEST_F(AppCoreTest, DownloadFromTheLanguagePackRequestThenLooksUp) {
    server.installed.clear();
    refreshStatus();
    core->run(u"Please translate me now."_s, true);
    presenter.actions.downloadLanguagePack(u"Please translate me now."_s);
    settle();
    const QDeadlineTimer deadline(5000);
    while (presenter.shown.isEmpty() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    ASSERT_EQ(presenter.shown.size(), 1) << (presenter.calls.join(u'\n')).toStdString();
    EXPECT_TRUE(presenter.shown[0].isTranslation());
    EXPECT_EQ(translator->assetStatus(), TranslationAssetStatus::installed);
}

TEST_F(AppCoreTest, MutingAndTheHotKeyMethodStopTheClipboard) {
    EXPECT_TRUE(core->clipboard().isRunning());
    triggers.setMuted(true);
    EXPECT_FALSE(core->clipboard().isRunning());
    triggers.setMuted(false);
    EXPECT_TRUE(core->clipboard().isRunning());
    triggers.setMethod(TriggerSettings::Method::hotKey);
    EXPECT_FALSE(core->clipboard().isRunning());
    triggers.setMethod(TriggerSettings::Method::copy);
    core->setSystemPaused(true);
    EXPECT_FALSE(core->clipboard().isRunning());
}

TEST_F(AppCoreTest, OwnCopyIsNeverLookedUp) {
    presenter.actions.copy(u"water"_s);
    core->clipboard().poll();
    pasteboard.deliverLateNotices();
    core->clipboard().poll();
    EXPECT_TRUE(presenter.calls.isEmpty());
    EXPECT_EQ(pasteboard.plainText(), u"water"_s);
}

} // namespace
