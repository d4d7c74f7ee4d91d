#include "subtitles/PlaybackMonitor.h"

#include "harness/ManualTimers.h"
#include "harness/QtPrinters.h"
#include "harness/ScriptedPowerAssertions.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using Playing = PlaybackMonitor::Playing;

namespace {

const QString display = u"PreventUserIdleDisplaySleep"_s;
const QString systemOnly = u"PreventUserIdleSystemSleep"_s;
constexpr qint32 ownPid = 7;

class PlaybackMonitorTest : public testing::Test {
protected:
    QSet<qint32> read() { return PlaybackMonitor::read(assertions, ownPid).apps; }

    ScriptedPowerAssertions assertions;
};

TEST_F(PlaybackMonitorTest, OnlyARegularApplicationKeepingTheDisplayAwakeIsPlaying) {
    assertions.regular = {10, 11, 12, 13, ownPid};
    assertions.hold(10, systemOnly);
    assertions.hold(11, u"NoDisplaySleepAssertion"_s);
    assertions.hold(12, u""_s);
    assertions.hold(ownPid, display);
    // A service holding the display on without a window of its own is not an application.
    assertions.hold(30, display);
    EXPECT_EQ(read(), QSet<qint32>{11});

    // One qualifying assertion among others is enough.
    assertions.hold(10, display, u"Playing video"_s);
    EXPECT_EQ(read(), (QSet<qint32>{10, 11}));
}

TEST_F(PlaybackMonitorTest, ScreenKeepingToolsAndTheBareElectronNameSayNothingAboutVideo) {
    assertions.regular = {20, 21, 22, 23};
    assertions.hold(20, display, u"Electron"_s);
    assertions.hold(21, display, u"Caffeine"_s);
    assertions.hold(22, display, u"screen on"_s);
    assertions.names[22] = u"systemd-inhibit"_s;
    assertions.hold(23, display, u"Electron"_s);
    assertions.hold(23, display, u"WebRTC call"_s);
    EXPECT_EQ(read(), QSet<qint32>{23});
}

TEST_F(PlaybackMonitorTest, AHelperIsCountedAsTheApplicationResponsibleForIt) {
    assertions.regular = {100};
    assertions.helpers = {101, 102, 103};
    assertions.responsible = {{101, 100}, {102, 102}, {103, 0}};
    assertions.hold(101, display);
    EXPECT_EQ(read(), QSet<qint32>{100}) << "the browser, not its renderer";

    // A helper that answers for itself, or for nobody, is not attributed.
    assertions.held->remove(101);
    assertions.hold(102, display);
    assertions.hold(103, display);
    EXPECT_TRUE(read().isEmpty());
    // A helper of this program does not make it a player.
    assertions.regular.insert(ownPid);
    assertions.responsible[103] = ownPid;
    EXPECT_TRUE(read().isEmpty());
}

TEST_F(PlaybackMonitorTest, APlayerThatSaysItIsPausedIsNotPlaying) {
    assertions.regular = {40, 41};
    assertions.hold(40, display);
    assertions.hold(41, display);
    assertions.players = {{40, false}, {41, true}};
    EXPECT_EQ(read(), QSet<qint32>{41});
}

TEST_F(PlaybackMonitorTest, AnUnreadableSystemIsNothingPlaying) {
    assertions.regular = {50};
    assertions.hold(50, display);
    assertions.held.reset();
    EXPECT_TRUE(read().isEmpty());
}

TEST_F(PlaybackMonitorTest, EachChangeIsReportedOnceAndStoppingReportsNothingPlaying) {
    ManualTimers timers;
    PlaybackMonitor monitor(assertions, timers, ownPid);
    QList<std::pair<Playing, Playing>> changes;
    monitor.onChange = [&](const Playing& from, const Playing& to) {
        changes.append({from, to});
    };
    assertions.regular = {60};
    assertions.hold(60, display);

    monitor.start();
    monitor.start();
    ASSERT_EQ(changes.size(), 1) << "the first poll is at once";
    EXPECT_EQ(changes[0].second.apps, QSet<qint32>{60});
    timers.advance(PlaybackMonitor::pollInterval * 4);
    EXPECT_EQ(changes.size(), 1) << "the same set again is no change";
    EXPECT_EQ(assertions.reads, 5);
    EXPECT_EQ(timers.pending(), 1) << "one poll timer, however often started";

    assertions.held->clear();
    timers.advance(PlaybackMonitor::pollInterval);
    ASSERT_EQ(changes.size(), 2);
    EXPECT_EQ(changes[1], (std::pair{Playing{{60}}, Playing::none()}));

    assertions.hold(60, display);
    timers.advance(PlaybackMonitor::pollInterval);
    monitor.stop();
    ASSERT_EQ(changes.size(), 4);
    EXPECT_EQ(changes[3].second, Playing::none());
    EXPECT_FALSE(assertions.watching);
    EXPECT_EQ(timers.pending(), 0);
    monitor.stop();
    EXPECT_EQ(changes.size(), 4) << "stopping twice, or with nothing playing, says nothing";
}

} // namespace
