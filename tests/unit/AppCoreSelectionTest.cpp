#include "capture/AccessibilityAuthorization.h"
#include "capture/HotKeyCenter.h"
#include "capture/PermissionCenter.h"
#include "capture/SelectionMonitor.h"
#include "core/LookupPresenter.h"
#include "harness/QtPrinters.h"
#include "harness/ScriptedCoordinator.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Kind = SystemPermissions::Kind;

namespace {

const HotKeySpec kDefault = HotKeySpec::defaultLookup();

// The coordinator with scripted capture adapters: pointer, hot keys, applications, grants.
class AppCoreSelectionTest : public testing::Test, public ScriptedCoordinator {
protected:
    AppCoreSelectionTest() { permissions->set(Kind::accessibility, true); }

    void start() { startCore(); }
    void pressHotKey() {
        hotKeys->press(kDefault.keyCode, kDefault.modifiers);
        QCoreApplication::processEvents();
        timers.advance(2s);
        ASSERT_TRUE(QTest::qWaitFor([this] { return !core->isLookupInFlight(); }));
    }
    QString lastLine() const { return log.entries().first().text; }
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
