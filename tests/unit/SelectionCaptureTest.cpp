#include "capture/AccessibilityAuthorization.h"
#include "capture/SelectionCoordinator.h"
#include "capture/SelectionMonitor.h"
#include "harness/ManualTimers.h"
#include "harness/QtPrinters.h"
#include "harness/ScriptedAccessibleReader.h"
#include "harness/ScriptedClipboardSnapshots.h"
#include "harness/ScriptedFrontmost.h"
#include "harness/ScriptedKeys.h"
#include "harness/ScriptedPermissions.h"
#include "harness/ScriptedPointerEvents.h"
#include "harness/ScriptedPrimarySelection.h"
#include "logs/EventLog.h"
#include "settings/DefaultsStore.h"
#include "settings/Preferences.h"
#include "settings/TriggerSettings.h"

#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Kind = SystemPermissions::Kind;

namespace {

TEST(SelectionMonitorTest, DragsOfMoreThanFourPointsAndDoubleClicksEndASelection) {
    ScriptedPointerEvents pointer;
    QList<quint64> fired;
    SelectionMonitor monitor(pointer, [&](quint64 pressTime) { fired.append(pressTime); });
    ASSERT_TRUE(monitor.start());

    pointer.click({10, 10});
    pointer.dragAcross({10, 10}, {14, 10}); // exactly 4: a shaky click
    EXPECT_TRUE(fired.isEmpty());

    pointer.dragAcross({10, 10}, {13, 13}); // 4.24
    ASSERT_EQ(fired.size(), 1);
    EXPECT_EQ(fired.last(), pointer.serverTime() - 2) << "the press's time, not the release's";

    pointer.click({50, 50}, 2);
    pointer.click({50, 50}, 3);
    EXPECT_EQ(fired.size(), 3);

    // A release whose press was never seen (the monitor started mid-press) is no gesture;
    // nor is anything once stopped.
    monitor.stop();
    EXPECT_FALSE(pointer.isRunning());
    pointer.dragAcross({0, 0}, {100, 0});
    EXPECT_EQ(fired.size(), 3);
    ASSERT_TRUE(monitor.start());
    pointer.release({0, 0});
    EXPECT_EQ(fired.size(), 3);
}

TEST(SelectionMonitorTest, SaysSoWhenTheDesktopOffersNoPointerEvents) {
    ScriptedPointerEvents pointer;
    pointer.setAvailable(false);
    SelectionMonitor monitor(pointer, [](quint64) {});
    EXPECT_FALSE(monitor.start());
    EXPECT_FALSE(monitor.isRunning());
}

// A coordinator over scripted applications, on a clock the test moves.
class SelectionCoordinatorTest : public testing::Test {
protected:
    SelectionCoordinatorTest() {
        permissions.set(Kind::accessibility, true);
        triggers.setSelectionEnabled(true);
        coordinator.start({
            .pauseClipboard = [this] { calls.append(u"pause"_s); },
            .resumeClipboard = [this] { calls.append(u"resume"_s); },
            .run = [this](const QString& text) { calls.append(u"run:"_s + text); },
            .showNotice = [this](const QString& text) { calls.append(u"notice:"_s + text); },
            .showRejection =
                [this](const QString& text, RejectReason reason, bool keepsNoCopy) {
                    calls.append(u"rejected:"_s + RejectReasons::description(reason) +
                                 (keepsNoCopy ? QString() : u":"_s + text));
                },
        });
        pasteboard.copy({{u"text/plain"_s, "before"_ba}, {u"text/html"_s, "<b>before</b>"_ba}});
    }

    // The application puts its selection on the clipboard when it is asked to copy.
    void copiesOnRequest(const QString& selection) {
        keys.onCopy = [this, selection] {
            pasteboard.copyText(selection);
        };
    }
    // A selection gesture ends now, and the capture runs to its end.
    void gesture() {
        coordinator.captureNow(quint64(1000));
        finish();
    }
    void finish() {
        timers.advance(2s);
        now = now.addMSecs(2000);
    }
    QStringList logLines() const {
        QStringList lines;
        for (auto it = log.entries().crbegin(); it != log.entries().crend(); ++it)
            lines.append(it->text);
        return lines;
    }

    QTemporaryDir dir;
    DefaultsStore store{dir.path() + u"/defaults.json"_s};
    EventLog log{{}, false};
    Preferences preferences{store, {}};
    TriggerSettings triggers{store};
    ManualTimers timers;
    ScriptedAccessibleReader accessible;
    ScriptedPrimarySelection primary;
    ScriptedKeys keys;
    ScriptedPasteboard pasteboard;
    ScriptedClipboardSnapshots snapshots{pasteboard};
    ScriptedPermissions permissions;
    ScriptedFrontmost frontmost;
    AccessibilityAuthorization authorization{permissions, log, timers};
    QDateTime now = QDateTime(QDate(2026, 3, 1), QTime(9, 0), Qt::UTC);
    QStringList calls;
    SelectionCoordinator coordinator{{
        .reading = {.accessible = accessible,
                    .primary = primary,
                    .keys = keys,
                    .pasteboard = pasteboard,
                    .snapshots = snapshots,
                    .permissions = permissions,
                    .timers = timers,
                    .pauseClipboard = {},
                    .resumeClipboard = {},
                    .typesNotRestored =
                        [this](const QStringList& types) {
                            calls.append(u"notRestored:"_s + types.join(u','));
                        }},
        .frontmost = frontmost,
        .authorization = authorization,
        .triggers = triggers,
        .preferences = preferences,
        .log = log,
        .now = [this] { return now; },
        .copyFromOwnWindow = {},
    }};
};

TEST_F(SelectionCoordinatorTest, AnAccessibleSelectionIsLookedUpWithoutTouchingTheClipboard) {
    accessible.select(u"  looked up  "_s);
    gesture();
    EXPECT_EQ(calls, QStringList{u"run:looked up"_s});
    EXPECT_EQ(keys.copies(), 0);
    EXPECT_EQ(accessible.lastLimit(), 250ms);
    EXPECT_EQ(logLines().last(), u"划词｜Reader｜直接读取｜looked up"_s);
    EXPECT_EQ(log.entries().first().diskText, u"划词｜Reader｜直接读取｜‹9 字›"_s)
        << "the disk never sees the text";
}

TEST_F(SelectionCoordinatorTest, APasswordFieldEndsTheReadWithoutACopy) {
    accessible.outcome = AccessibleSelectionReader::Miss::passwordField;
    primary.select(u"hunter2 secret"_s, 2000);
    copiesOnRequest(u"hunter2"_s);
    gesture();
    EXPECT_EQ(keys.copies(), 0);
    EXPECT_EQ(primary.reads(), 0);
    EXPECT_TRUE(calls.isEmpty()) << calls.join(u'\n').toStdString();
    EXPECT_EQ(logLines().last(), u"Reader：密码输入框，已跳过"_s);
}

TEST_F(SelectionCoordinatorTest, ThePrimarySelectionCountsOnlyWhenItChangedDuringTheGesture) {
    primary.select(u"old selection"_s, 999);
    copiesOnRequest(u"copied text"_s);
    gesture();
    EXPECT_EQ(calls.last(), u"run:copied text"_s);
    EXPECT_EQ(primary.reads(), 0);

    primary.select(u"fresh selection"_s, 1000);
    calls.clear();
    gesture();
    EXPECT_EQ(calls, QStringList{u"run:fresh selection"_s});
    EXPECT_EQ(logLines().last(), u"划词｜Reader｜直接读取｜fresh selection"_s);
}

TEST_F(SelectionCoordinatorTest, TheSimulatedCopyPutsTheClipboardBackAndHidesItsOwnCopy) {
    copiesOnRequest(u"copied text"_s);
    const ScriptedPasteboard::Content before = {{u"text/html"_s, "<b>before</b>"_ba},
                                                {u"text/plain"_s, "before"_ba}};
    gesture();
    EXPECT_EQ(calls, (QStringList{u"pause"_s, u"resume"_s, u"run:copied text"_s}));
    EXPECT_EQ(keys.copies(), 1);
    EXPECT_EQ(pasteboard.types(), (QStringList{u"text/html"_s, u"text/plain"_s}));
    EXPECT_EQ(pasteboard.data(u"text/html"_s), "<b>before</b>"_ba);
    EXPECT_EQ(pasteboard.data(u"text/plain"_s), "before"_ba);
    EXPECT_EQ(logLines().last(), u"划词｜Reader｜模拟复制｜copied text"_s);
}

TEST_F(SelectionCoordinatorTest, TypesTheOwnerWouldNotHandOverAreReported) {
    snapshots.refusedTypes = {u"text/html"_s};
    copiesOnRequest(u"copied text"_s);
    gesture();
    EXPECT_TRUE(calls.contains(u"notRestored:text/html"_s));
}

TEST_F(SelectionCoordinatorTest, AnApplicationThatIgnoresTheCopyLeavesTheClipboardAlone) {
    gesture();
    EXPECT_EQ(keys.copies(), 1);
    EXPECT_EQ(snapshots.restores(), 0);
    EXPECT_EQ(calls, (QStringList{u"pause"_s, u"resume"_s}));
    EXPECT_EQ(logLines().last(), u"Reader：模拟复制未被响应"_s);
}

TEST_F(SelectionCoordinatorTest, HeldModifiersDelayTheCopyAtMostHalfASecond) {
    copiesOnRequest(u"copied text"_s);
    keys.modifierLooksHeld = 3;
    coordinator.captureNow(quint64(1000));
    timers.advance(59ms);
    EXPECT_EQ(keys.copies(), 0) << "still held at the third look";
    timers.advance(1ms);
    EXPECT_EQ(keys.copies(), 1);
    finish();

    keys.modifierLooksHeld = 1000; // never let go
    calls.clear();
    coordinator.captureNow(quint64(5000));
    timers.advance(499ms);
    EXPECT_EQ(keys.copies(), 1);
    timers.advance(1ms);
    EXPECT_EQ(keys.copies(), 2) << "after 25 looks it goes on regardless";
}

TEST_F(SelectionCoordinatorTest, NoCopyIsSimulatedInATerminal) {
    frontmost.bringForward(u"xterm"_s, u"XTerm"_s);
    copiesOnRequest(u"rm -rf"_s);
    gesture();
    EXPECT_EQ(keys.copies(), 0);
    EXPECT_EQ(logLines().last(), u"XTerm：应用未在限时内响应"_s);
}

TEST_F(SelectionCoordinatorTest, SkipsPasswordManagersItselfAndSelectionsWhileOff) {
    frontmost.bringForward(u"keepassxc"_s, u"KeePassXC"_s);
    accessible.select(u"hunter2"_s);
    gesture();
    EXPECT_EQ(accessible.reads(), 0);
    EXPECT_EQ(logLines().last(), u"已跳过 KeePassXC（密码管理器）"_s);

    frontmost.bringForward(u"quillet"_s, u"Quillet"_s, /*isOwn=*/true);
    gesture();
    triggers.setSelectionEnabled(false);
    frontmost.bringForward(u"org.example.reader"_s, u"Reader"_s);
    gesture();
    EXPECT_EQ(accessible.reads(), 0);
    EXPECT_TRUE(calls.isEmpty());
}

TEST_F(SelectionCoordinatorTest, TwoSelectionsHalfASecondApartAreOneCapture) {
    accessible.select(u"first words"_s);
    coordinator.captureNow(quint64(1000));
    now = now.addMSecs(500);
    accessible.select(u"second words"_s);
    coordinator.captureNow(quint64(1500));
    finish();
    EXPECT_EQ(calls, QStringList{u"run:first words"_s});
    now = now.addMSecs(100);
    coordinator.captureNow(quint64(4000));
    finish();
    EXPECT_EQ(calls.last(), u"run:second words"_s);
}

TEST_F(SelectionCoordinatorTest, ANewerGestureDropsTheCaptureStillWaiting) {
    copiesOnRequest(u"first copy"_s);
    keys.modifierLooksHeld = 1000;
    coordinator.captureNow(quint64(1000));
    now = now.addMSecs(700);
    accessible.select(u"second words"_s);
    coordinator.captureNow(quint64(2000));
    finish();
    EXPECT_EQ(calls, QStringList{u"run:second words"_s});
    EXPECT_EQ(keys.copies(), 0);
}

TEST_F(SelectionCoordinatorTest, ConsumingFiltersShortRepeatedAndRefusedText) {
    accessible.select(u"a"_s);
    gesture();
    EXPECT_EQ(logLines().last(), u"Reader：选中文本过短"_s);

    accessible.select(u"the same words"_s);
    gesture();
    gesture();
    EXPECT_EQ(calls.count(u"run:the same words"_s), 1) << "once a minute";
    now = now.addSecs(61);
    gesture();
    EXPECT_EQ(calls.count(u"run:the same words"_s), 2) << logLines().join(u'\n').toStdString();

    accessible.select(u"https://example.com/page"_s);
    gesture();
    EXPECT_TRUE(calls.last().startsWith(u"rejected:"_s)) << calls.last().toStdString();
    EXPECT_TRUE(logLines().last().startsWith(u"Reader：被「"_s));

    // A copy its owner marked secret is refused without keeping it.
    accessible.outcome = AccessibleSelectionReader::Miss::noFocused;
    keys.onCopy = [this] {
        pasteboard.copyText(u"correct horse"_s, {{u"x-kde-passwordManagerHint"_s, "secret"_ba}});
    };
    gesture();
    EXPECT_FALSE(calls.last().contains(u"horse"_s)) << calls.last().toStdString();
}

TEST_F(SelectionCoordinatorTest, ThreeFailedReadsInOneApplicationShowOneNotice) {
    const QString notice = u"notice:多次未能读取 Reader 中选中的文本，可以改用复制查词"_s;
    for (int i = 0; i < 5; ++i)
        gesture();
    EXPECT_EQ(calls.count(notice), 1);

    // Another application's failure starts the count again.
    frontmost.bringForward(u"org.example.viewer"_s, u"Viewer"_s);
    gesture();
    frontmost.bringForward(u"org.example.reader"_s, u"Reader"_s);
    gesture();
    gesture();
    EXPECT_EQ(calls.count(notice), 1);
    gesture();
    EXPECT_EQ(calls.count(notice), 2);
}

TEST_F(SelectionCoordinatorTest, AMissingGrantStartsWatchingForIt) {
    permissions.set(Kind::accessibility, false);
    accessible.select(u"words"_s);
    gesture();
    EXPECT_EQ(accessible.reads(), 0);
    EXPECT_EQ(calls.last(),
              u"notice:辅助功能授权已失效，划词无法取词。到「设置 › 通用」重新授权"_s);
    EXPECT_TRUE(authorization.isPolling());

    permissions.set(Kind::accessibility, true);
    timers.advance(1s);
    EXPECT_FALSE(authorization.isPolling());
    timers.advance(5s);
    EXPECT_EQ(logLines().count(u"已获得辅助功能授权，划词取词可用"_s), 1);

    permissions.sandboxed = true;
    gesture();
    EXPECT_EQ(calls.last(), u"notice:当前版本受沙盒限制，划词不可用"_s);
}

TEST_F(SelectionCoordinatorTest, OnDemandReadsAnswerWhatTheHotKeyNeeds) {
    using OnDemand = SelectionCoordinator::OnDemand;
    const auto read = [this] {
        auto task = coordinator.captureOnDemand();
        timers.advance(2s);
        return QCoro::waitFor(std::move(task));
    };
    accessible.select(u"on demand"_s);
    OnDemand result = read();
    ASSERT_TRUE(std::holds_alternative<SelectionCaptureOutcome>(result));
    EXPECT_EQ(std::get<SelectionCaptureOutcome>(result).text, u"on demand"_s);
    EXPECT_EQ(logLines().last(), u"快捷键｜Reader｜直接读取｜on demand"_s);
    // No debounce for the hot key.
    result = read();
    EXPECT_TRUE(std::holds_alternative<SelectionCaptureOutcome>(result))
        << logLines().join(u'\n').toStdString() << result.index();

    frontmost.bringForward(u"bitwarden"_s, u"Bitwarden"_s);
    result = read();
    ASSERT_TRUE(std::holds_alternative<SelectionCoordinator::BlockedApplication>(result));
    EXPECT_EQ(accessible.reads(), 2);

    frontmost.bringForward(u"quillet"_s, u"Quillet"_s, true);
    EXPECT_TRUE(std::holds_alternative<SelectionCoordinator::NothingInOwnWindow>(read()));

    frontmost.bringForward(u"org.example.reader"_s, u"Reader"_s);
    accessible.outcome = AccessibleSelectionReader::Miss::passwordField;
    result = read();
    ASSERT_TRUE(std::holds_alternative<SelectionCaptureFailure>(result));
    EXPECT_EQ(std::get<SelectionCaptureFailure>(result), SelectionCaptureFailure::secureField);
}

} // namespace
