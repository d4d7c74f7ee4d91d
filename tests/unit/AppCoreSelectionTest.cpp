#include "capture/AccessibilityAuthorization.h"
#include "capture/HotKeyCenter.h"
#include "capture/PermissionCenter.h"
#include "capture/SelectionMonitor.h"
#include "core/AppCore.h"
#include "core/LookupPresenter.h"
#include "dictionary/BundledDictionary.h"
#include "dictionary/WordSourceCatalog.h"
#include "harness/FixtureDatabase.h"
#include "harness/ManualTimers.h"
#include "harness/QtPrinters.h"
#include "harness/ScriptedAccessibleReader.h"
#include "harness/ScriptedClipboardSnapshots.h"
#include "harness/ScriptedFrontmost.h"
#include "harness/ScriptedHotKeys.h"
#include "harness/ScriptedKeys.h"
#include "harness/ScriptedPermissions.h"
#include "harness/ScriptedPointerEvents.h"
#include "harness/ScriptedPrimarySelection.h"
#include "logs/EventLog.h"
#include "lookup/LookupEngine.h"
#include "lookup/UnsupportedTranslationEngine.h"
#include "notebook/Vocabulary.h"
#include "platform/CaptureAdapters.h"
#include "settings/DefaultsStore.h"
#include "settings/FilterPreferences.h"
#include "settings/Preferences.h"
#include "settings/TriggerSettings.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <QTest>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Kind = SystemPermissions::Kind;

namespace {

class NoticePresenter final : public LookupPresenter {
public:
    QStringList calls;
    void setActions(Actions) override {}
    void showLoading(const QString& query, bool force) override {
        calls.append(u"loading:"_s + query + (force ? u"!"_s : QString()));
    }
    bool show(const LookupResult& result, bool) override {
        calls.append(u"show:"_s + result.term);
        return true;
    }
    void showFailure(const QString& message, bool) override {
        calls.append(u"failure:"_s + message);
    }
    void showNotice(const QString& message) override { calls.append(u"notice:"_s + message); }
    void showRefusal(const QString& message) override { calls.append(u"refusal:"_s + message); }
    void showNeedsLanguagePack(const QString&, bool) override {}
    void showDownloadProgress(double) override {}
    void expand(bool) override {}
    void scheduleAutoHide() override {}
    void collapse() override {}
    std::optional<QString> loadingQuery() const override { return {}; }
};

const HotKeySpec kDefault = HotKeySpec::defaultLookup();

// The coordinator with scripted capture adapters: pointer, hot keys, applications, grants.
class AppCoreSelectionTest : public testing::Test {
protected:
    AppCoreSelectionTest() {
        adapters.pointer.reset(pointer = new ScriptedPointerEvents);
        adapters.hotKeys.reset(hotKeys = new ScriptedHotKeys);
        adapters.frontmost.reset(frontmost = new ScriptedFrontmost);
        adapters.keys.reset(keys = new ScriptedKeys);
        adapters.primary.reset(new ScriptedPrimarySelection);
        adapters.snapshots.reset(new ScriptedClipboardSnapshots(pasteboard));
        adapters.accessible.reset(accessible = new ScriptedAccessibleReader);
        adapters.permissions.reset(permissions = new ScriptedPermissions);
        permissions->set(Kind::accessibility, true);
    }

    void start() {
        core = std::make_unique<AppCore>(AppCore::Dependencies{
            .presenter = presenter,
            .pasteboard = pasteboard,
            .translator = translator,
            .engine = engine,
            .vocabulary = vocabulary,
            .log = log,
            .preferences = preferences,
            .triggers = triggers,
            .filter = filter,
            .speak = {},
            .openInDictionary = {},
            .openTranslationSettings = {},
            .capture = &adapters,
            .store = &store,
            .timers = &timers,
        });
        core->start();
    }
    void pressHotKey() {
        hotKeys->press(kDefault.keyCode, kDefault.modifiers);
        QCoreApplication::processEvents();
        timers.advance(2s);
        ASSERT_TRUE(QTest::qWaitFor([this] { return !core->isLookupInFlight(); }));
    }
    QString lastLine() const { return log.entries().first().text; }
    QStringList logLines() const {
        QStringList lines;
        for (const EventLog::Entry& entry : log.entries())
            lines.prepend(entry.text);
        return lines;
    }

    QTemporaryDir dir;
    DefaultsStore store{dir.path() + u"/defaults.json"_s};
    EventLog log{{}, false};
    Preferences preferences{store, {}};
    TriggerSettings triggers{store};
    FilterPreferences filter{store, log};
    Vocabulary vocabulary{{.store = store, .recordingEnabled = [] { return true; }, .log = {}}};
    FixtureDatabase database{FixtureDatabase::schema() +
                             u"INSERT INTO words VALUES ('water', 'ˈwɔːtə', 'n. 水', NULL);"_s};
    BundledDictionary bundled{database.path()};
    BundledOnlyCatalog catalog;
    UnsupportedTranslationEngine translator{log};
    LookupEngine engine{{.bundled = bundled, .catalog = catalog, .translator = translator}};
    ScriptedPasteboard pasteboard;
    NoticePresenter presenter;
    ManualTimers timers;
    CaptureAdapters adapters;
    ScriptedPointerEvents* pointer;
    ScriptedHotKeys* hotKeys;
    ScriptedFrontmost* frontmost;
    ScriptedKeys* keys;
    ScriptedAccessibleReader* accessible;
    ScriptedPermissions* permissions;
    std::unique_ptr<AppCore> core;
};

TEST_F(AppCoreSelectionTest, TheHotKeyLooksUpTheSelectionAndSaysWhyWhenItCannot) {
    triggers.setMethod(TriggerSettings::Method::hotKey);
    start();
    EXPECT_TRUE(logLines().contains(u"快捷键 Ctrl+Alt+Super+D 已就绪（快捷键查询）"_s));
    EXPECT_FALSE(core->clipboard().isRunning()) << "the hot key replaces copying";

    accessible->select(u"water"_s);
    pressHotKey();
    EXPECT_TRUE(presenter.calls.contains(u"loading:water!"_s))
        << presenter.calls.join(u'\n').toStdString();
    EXPECT_EQ(presenter.calls.last(), u"show:water"_s);

    accessible->outcome = AccessibleSelectionReader::Miss::noSelection;
    pressHotKey();
    EXPECT_EQ(presenter.calls.last(), u"notice:模拟复制未被响应"_s) << "nor did the copy";

    accessible->select(u"https://example.com"_s);
    pressHotKey();
    EXPECT_TRUE(presenter.calls.last().startsWith(u"refusal:"_s));
    EXPECT_TRUE(lastLine().startsWith(u"快捷键｜"_s));

    frontmost->bringForward(u"1password"_s, u"1Password"_s);
    pressHotKey();
    EXPECT_EQ(presenter.calls.last(), u"notice:来自密码管理器"_s);
    EXPECT_EQ(lastLine(), u"快捷键｜来自密码管理器"_s);

    frontmost->bringForward(u"org.example.reader"_s, u"Reader"_s);
    accessible->outcome = AccessibleSelectionReader::Miss::noFocused;
    keys->onCopy = [this] {
        pasteboard.copyText(u"s3cret value"_s, {{u"org.nspasteboard.ConcealedType"_s, {}}});
    };
    pressHotKey();
    EXPECT_EQ(presenter.calls.last(), u"notice:可能是密码或密钥"_s);
}

TEST_F(AppCoreSelectionTest, SourcesRunOnlyWithTheirSettingAndGrant) {
    start();
    EXPECT_FALSE(pointer->isRunning());
    EXPECT_EQ(hotKeys->registrations(), 0) << "copying is the method";

    triggers.setSelectionEnabled(true);
    EXPECT_TRUE(pointer->isRunning());
    triggers.setMuted(true);
    EXPECT_FALSE(pointer->isRunning());
    triggers.setMuted(false);
    core->setSystemPaused(true);
    EXPECT_FALSE(pointer->isRunning());
    core->setSystemPaused(false);
    EXPECT_TRUE(pointer->isRunning());

    triggers.setHotKey(HotKeySpec{8, HotKeySpec::control | HotKeySpec::option});
    triggers.setMethod(TriggerSettings::Method::hotKey);
    EXPECT_TRUE(hotKeys->isRegistered(quint32(HotKeySlotID::lookup)));
    triggers.setHotKey(std::nullopt);
    EXPECT_EQ(hotKeys->registrations(), 0);
}

TEST_F(AppCoreSelectionTest, AWithdrawnGrantTurnsItsFeaturesOffUntilItReturns) {
    triggers.setSelectionEnabled(true);
    triggers.setMethod(TriggerSettings::Method::hotKey);
    start();
    ASSERT_TRUE(pointer->isRunning());

    permissions->set(Kind::accessibility, false);
    EXPECT_FALSE(pointer->isRunning());
    EXPECT_EQ(hotKeys->registrations(), 0);
    EXPECT_FALSE(triggers.selectionEnabled());
    EXPECT_EQ(triggers.method(), TriggerSettings::Method::copy);
    EXPECT_EQ(presenter.calls.last(), u"notice:「辅助功能」授权不在了，重新授权即可恢复。"_s);
    EXPECT_TRUE(logLines().contains(u"快捷键查询已停用"_s));

    permissions->set(Kind::accessibility, true);
    EXPECT_TRUE(triggers.selectionEnabled());
    EXPECT_EQ(triggers.method(), TriggerSettings::Method::hotKey);
    EXPECT_TRUE(pointer->isRunning());
    EXPECT_EQ(hotKeys->registrations(), 1);
}

TEST_F(AppCoreSelectionTest, AFeatureWithoutItsGrantWaitsForIt) {
    permissions->set(Kind::accessibility, false);
    start();
    triggers.setSelectionEnabled(true); // as the command line would: not running, and said so
    EXPECT_FALSE(pointer->isRunning());
    EXPECT_EQ(logLines().count(u"划词查询需要「辅助功能」授权，尚未启动"_s), 1);
    triggers.setSelectionEnabled(false);
    PermissionCenter& center = *core->permissions();
    const auto denial =
        triggers.trySetSelection(true, center.checkFor(PermissionCenter::Feature::selectionLookup));
    ASSERT_TRUE(denial);
    EXPECT_EQ(denial->message, u"授权后即开启划词查询。"_s);
    EXPECT_FALSE(triggers.selectionEnabled());

    center.want(PermissionCenter::Feature::selectionLookup);
    EXPECT_TRUE(presenter.calls.last().startsWith(u"notice:授权后即开启划词查询。"_s));
    center.requestAccess(Kind::accessibility);
    EXPECT_EQ(permissions->requests, QList<Kind>{Kind::accessibility});
    EXPECT_TRUE(store.boolValue(u"permission.asked.accessibility"_s));
    EXPECT_TRUE(lastLine().startsWith(u"权限｜"_s)) << "no pane to open: the log says where";

    // The system's answer comes in on the next poll.
    permissions->set(Kind::accessibility, true);
    EXPECT_TRUE(triggers.selectionEnabled());
    EXPECT_TRUE(pointer->isRunning());
    EXPECT_TRUE(center.wanted().isEmpty());

    // Remembered across starts.
    const PermissionCenter again({.system = *permissions,
                                  .accessibility = *core->accessibility(),
                                  .store = store,
                                  .triggers = triggers,
                                  .log = log});
    EXPECT_TRUE(again.wasAsked(Kind::accessibility));
    EXPECT_FALSE(again.wasAsked(Kind::screenRecording));
}

TEST(PermissionCenterRulesTest, EachFeatureNeedsItsGrant) {
    QTemporaryDir dir;
    DefaultsStore store{dir.path() + u"/defaults.json"_s};
    TriggerSettings triggers{store};
    EXPECT_TRUE(PermissionCenter::required(triggers).isEmpty());
    triggers.setPointerLookupEnabled(true);
    EXPECT_EQ(PermissionCenter::required(triggers), QList<Kind>{Kind::screenRecording});
    triggers.setMethod(TriggerSettings::Method::hotKey);
    EXPECT_EQ(PermissionCenter::required(triggers),
              (QList<Kind>{Kind::accessibility, Kind::screenRecording}));
}

} // namespace
