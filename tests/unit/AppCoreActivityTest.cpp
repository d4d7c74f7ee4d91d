#include "capture/HotKeyCenter.h"
#include "capture/SystemActivityMonitor.h"
#include "harness/QtPrinters.h"
#include "harness/ScriptedCoordinator.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Kind = SystemPermissions::Kind;
using Playing = PlaybackMonitor::Playing;

namespace {

// The coordinator with every source on, paused and resumed by the system's notices.
class AppCoreActivityTest : public testing::Test, public ScriptedCoordinator {
protected:
    AppCoreActivityTest() {
        permissions->set(Kind::accessibility, true);
        permissions->set(Kind::screenRecording, true);
        triggers.setSelectionEnabled(true);
        triggers.setPointerLookupEnabled(true);
        triggers.setVideoSubtitlesEnabled(true);
    }

    // Which sources run: clipboard, selection, hover, playback.
    QList<bool> running() {
        return {core->clipboard().isRunning(), pointer->isRunning(), sampler->isRunning(),
                core->playback()->isRunning()};
    }
    void copy(const QString& text) {
        pasteboard.copyText(text);
        // The clipboard is polled on the event loop's own timer; a poll is what it would do.
        if (core->clipboard().isRunning())
            core->clipboard().poll();
        ASSERT_TRUE(settle());
    }

    const QList<bool> allRunning{true, true, true, true};
    const QList<bool> noneRunning{false, false, false, false};
};

TEST_F(AppCoreActivityTest, EveryEpisodeStopsEverySourceOnceAndItsLastEndStartsThemAgain) {
    startCore();
    ASSERT_EQ(running(), allRunning);

    activity->announce(PauseReason::screenLock, true);
    EXPECT_EQ(running(), noneRunning);
    EXPECT_TRUE(core->isSystemPaused());
    copy(u"water"_s);
    EXPECT_TRUE(presenter.calls.filter(u"loading"_s).isEmpty()) << "nothing is read while locked";

    // Sleep and wake inside the lock: still paused until the unlock.
    activity->announce(PauseReason::sleep, true);
    activity->announce(PauseReason::sleep, false);
    EXPECT_EQ(running(), noneRunning);
    activity->announce(PauseReason::screenLock, false);
    EXPECT_EQ(running(), allRunning);
    EXPECT_EQ(logLines().filter(u"取词已"_s),
              (QStringList{u"取词已暂停｜锁屏"_s, u"取词已恢复"_s}));

    copy(u"river"_s);
    EXPECT_TRUE(presenter.calls.contains(u"show:river"_s))
        << "copies are read again: " << presenter.calls.join(u" | "_s).toStdString();
    EXPECT_FALSE(presenter.calls.contains(u"show:water"_s))
        << "a copy made while locked stays unread";
}

TEST_F(AppCoreActivityTest, EndsWithoutBeginningsAndSettingsChangedWhilePausedResumeNothing) {
    startCore();
    activity->announce(PauseReason::screenLock, false);
    activity->announce(PauseReason::sleep, false);
    EXPECT_TRUE(logLines().filter(u"取词已"_s).isEmpty());

    activity->announce(PauseReason::sessionSwitch, true);
    // Turning a feature on while another user has the seat waits for the seat's return.
    triggers.setPointerLookupEnabled(false);
    triggers.setPointerLookupEnabled(true);
    triggers.setMuted(true);
    triggers.setMuted(false);
    EXPECT_EQ(running(), noneRunning);
    EXPECT_EQ(logLines().filter(u"取词已暂停"_s), QStringList{u"取词已暂停｜用户切换"_s});
    activity->announce(PauseReason::sessionSwitch, false);
    EXPECT_EQ(running(), allRunning);
}

TEST_F(AppCoreActivityTest, TheHotKeyIsReleasedWhilePausedAndBoundAgainAfter) {
    triggers.setHotKey(HotKeySpec{8, HotKeySpec::control | HotKeySpec::option});
    triggers.setMethod(TriggerSettings::Method::hotKey);
    startCore();
    ASSERT_TRUE(hotKeys->isRegistered(quint32(HotKeySlotID::lookup)));
    activity->announce(PauseReason::sleep, true);
    EXPECT_EQ(hotKeys->registrations(), 0) << "another user's keys are not ours to take";
    activity->announce(PauseReason::sleep, false);
    EXPECT_TRUE(hotKeys->isRegistered(quint32(HotKeySlotID::lookup)));
}

TEST_F(AppCoreActivityTest, AScreenLockedAtStartKeepsEverySourceFromStarting) {
    activity->missing = {u"系统状态｜没有系统总线"_s};
    activity->holding = {PauseReason::screenLock};
    startCore();
    EXPECT_EQ(running(), noneRunning);
    EXPECT_EQ(pointer->starts(), 0) << "not started and stopped: never started";
    EXPECT_TRUE(logLines().contains(u"系统状态｜没有系统总线"_s)) << "a missing service is said";
}

TEST_F(AppCoreActivityTest, PlaybackIsWatchedOnlyForTheSubtitlesAndEachChangeIsToldOnce) {
    triggers.setVideoSubtitlesEnabled(false);
    startCore();
    EXPECT_FALSE(core->playback()->isRunning());
    EXPECT_FALSE(assertions->watching) << "no inhibitor is watched that nothing needs";

    QList<std::pair<Playing, Playing>> changes;
    QObject::connect(core.get(), &AppCore::playbackChanged,
                     [&](const Playing& from, const Playing& to) {
                         changes.append({from, to});
                     });
    assertions->regular = {42};
    assertions->names[42] = u"firefox"_s;
    assertions->hold(42, u"PreventUserIdleDisplaySleep"_s);
    triggers.setVideoSubtitlesEnabled(true);
    EXPECT_TRUE(assertions->watching);
    timers.advance(PlaybackMonitor::pollInterval * 3);
    ASSERT_EQ(changes.size(), 1);
    EXPECT_EQ(changes[0].second.apps, QSet<qint32>{42});
    EXPECT_TRUE(logLines().contains(u"视频播放｜正在播放：firefox（42）"_s));

    // A lock stops the poll, which lets go of what was playing.
    activity->announce(PauseReason::screenLock, true);
    ASSERT_EQ(changes.size(), 2);
    EXPECT_EQ(changes[1].second, Playing::none());
    EXPECT_EQ(logLines().mid(logLines().indexOf(u"取词已暂停｜锁屏"_s)),
              (QStringList{u"取词已暂停｜锁屏"_s, u"视频播放｜没有应用在播放视频"_s}))
        << "the pause is said before the sources stop";
    const int reads = assertions->reads;
    timers.advance(5s);
    EXPECT_EQ(assertions->reads, reads) << "a stopped monitor does not poll";
}

} // namespace
