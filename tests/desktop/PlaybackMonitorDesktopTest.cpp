// Who plays video on a real desktop: the playback monitor over the Linux adapter, with
// stand-in services on a private session bus (GNOME's session manager, the freedesktop screen
// saver, KDE's policy agent, a media player) and a window manager. This test process plays
// the browser: it shows a top-level window, and its child processes, started with a Chromium
// renderer's argument, hold the inhibitors. The monitor's ticks are driven by hand.
#include "harness/ManualTimers.h"
#include "harness/StandInProcess.h"
#include "platform/linux/capture/XcbEventConnection.h"
#include "platform/linux/session/LinuxPowerAssertions.h"
#include "subtitles/PlaybackMonitor.h"

#include <QCoreApplication>
#include <QTest>
#include <QWidget>
#include <algorithm>
#include <csignal>
#include <gtest/gtest.h>
#include <memory>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

// Readable failures: the playing set's pids in order, an assertion as type and name.
void PrintTo(const PlaybackMonitor::Playing& playing, std::ostream* out) {
    QList<qint32> apps(playing.apps.cbegin(), playing.apps.cend());
    std::sort(apps.begin(), apps.end());
    *out << "playing{";
    for (qint32 pid : apps)
        *out << ' ' << pid;
    *out << " }";
}

void PrintTo(const PowerAssertions::Assertion& assertion, std::ostream* out) {
    *out << assertion.type.toStdString() << " \"" << assertion.name.toStdString() << '"';
}

namespace {

using Playing = PlaybackMonitor::Playing;
const QString display = u"PreventUserIdleDisplaySleep"_s;
const QString systemOnly = u"PreventUserIdleSystemSleep"_s;

class PlaybackMonitorDesktopTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(x11.isValid());
        window.setWindowTitle(u"Browser"_s);
        window.resize(320, 200);
        window.show();
        for (const char* service : {"screensaver.py", "gnome-session.py", "kde-policy-agent.py"})
            ASSERT_TRUE(services.emplace_back(std::make_unique<StandInProcess>())
                            ->start(QString::fromLatin1(service)));
        monitor.onChange = [this](const Playing&, const Playing& to) {
            reports.append(to);
        };
    }

    void startWatching() {
        monitor.start();
        ASSERT_TRUE(QTest::qWaitFor([&] { return assertions.isWatchingCalls(); }, 5000));
        ASSERT_TRUE(
            QTest::qWaitFor([&] { return assertions.isRegularApplication(browser); }, 5000));
    }

    // A child of the browser holding an inhibitor; its command line is a renderer's.
    StandInProcess& holder(const QStringList& arguments) {
        auto& process = *holders.emplace_back(std::make_unique<StandInProcess>());
        EXPECT_TRUE(
            process.start(u"inhibitor.py"_s, arguments + QStringList{u"--type=renderer"_s}));
        return process;
    }

    // Ticks the poll until the monitor reports `apps`, letting the bus's messages in between.
    bool tickUntil(const QSet<qint32>& apps) {
        return QTest::qWaitFor(
            [&] {
                timers.advance(PlaybackMonitor::pollInterval);
                return monitor.playing().apps == apps;
            },
            5000);
    }

    // What the adapter has gathered for one process, once it has seen `count` of them.
    QList<PowerAssertions::Assertion> heldBy(qint32 pid, qsizetype count = 1) {
        const auto held = [&] {
            return assertions.assertionsByProcess()
                .value_or(PowerAssertions::ByProcess{})
                .value(pid);
        };
        // What it has by then is what the caller compares.
        static_cast<void>(QTest::qWaitFor([&] { return held().size() >= count; }, 5000));
        return held();
    }

    const qint32 browser = qint32(QCoreApplication::applicationPid());
    QWidget window;
    XcbEventConnection x11;
    LinuxPowerAssertions assertions{x11};
    ManualTimers timers;
    // This process is the browser here, so the agent is someone else.
    PlaybackMonitor monitor{assertions, timers, /*ownPid=*/1};
    QList<Playing> reports;
    std::vector<std::unique_ptr<StandInProcess>> services;
    std::vector<std::unique_ptr<StandInProcess>> holders;
};

TEST_F(PlaybackMonitorDesktopTest,
       ARendererHoldingAnIdleInhibitorMakesItsBrowserPlayUntilReleased) {
    startWatching();
    for (const QString& service : {u"gnome"_s, u"freedesktop"_s, u"kde"_s}) {
        SCOPED_TRACE(service.toStdString());
        reports.clear();
        StandInProcess& renderer = holder({u"--service"_s, service});
        ASSERT_TRUE(tickUntil({browser}));
        EXPECT_EQ(heldBy(renderer.pid()),
                  (QList<PowerAssertions::Assertion>{{display, u"Video Player"_s}}));
        // Its own application is never reported.
        EXPECT_EQ(PlaybackMonitor::read(assertions, browser), Playing::none());
        for (int i = 0; i < 6; ++i)
            timers.advance(PlaybackMonitor::pollInterval);
        EXPECT_EQ(reports, (QList<Playing>{{{browser}}}));

        EXPECT_EQ(renderer.ask("release"), "released");
        ASSERT_TRUE(tickUntil({}));
        EXPECT_EQ(reports, (QList<Playing>{{{browser}}, Playing::none()}));
    }
}

TEST_F(PlaybackMonitorDesktopTest, AHolderThatExitsTakesItsInhibitorsAlong) {
    startWatching();
    StandInProcess& gnome = holder({u"--service"_s, u"gnome"_s});
    StandInProcess& screenSaver = holder({u"--service"_s, u"freedesktop"_s});
    ASSERT_TRUE(tickUntil({browser}));
    ASSERT_EQ(heldBy(gnome.pid()).size(), 1);
    ASSERT_EQ(heldBy(screenSaver.pid()).size(), 1);
    const qint32 gone = gnome.pid();
    gnome.stop();
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return !assertions.assertionsByProcess().value().contains(gone); }, 5000));
    timers.advance(PlaybackMonitor::pollInterval);
    EXPECT_EQ(monitor.playing(), Playing{{browser}}) << "the other renderer still holds one";
    screenSaver.stop();
    ASSERT_TRUE(tickUntil({}));
    EXPECT_EQ(reports, (QList<Playing>{{{browser}}, Playing::none()}));
}

TEST_F(PlaybackMonitorDesktopTest, AServiceThatLeavesTakesItsInhibitorsAlong) {
    startWatching();
    holder({u"--service"_s, u"gnome"_s});
    ASSERT_TRUE(tickUntil({browser}));
    services[1]->stop(); // GNOME's session manager
    ASSERT_TRUE(tickUntil({}));
    holder({u"--service"_s, u"freedesktop"_s});
    ASSERT_TRUE(tickUntil({browser}));
    services[0]->stop(); // the screen saver
    ASSERT_TRUE(tickUntil({}));
    EXPECT_EQ(reports.size(), 4);
}

TEST_F(PlaybackMonitorDesktopTest, AHelperStartedByAnotherHelperIsTheBrowsersToo) {
    startWatching();
    // browser → a process without a window (a zygote) → the renderer holding the inhibitor.
    StandInProcess zygote;
    ASSERT_TRUE(zygote.startProgram(
        u"/bin/sh"_s,
        {u"-c"_s, u"/usr/bin/python3 %1 --service freedesktop --type=renderer & wait"_s.arg(
                      StandInProcess::folder() + u"/inhibitor.py"_s)}));
    ASSERT_TRUE(tickUntil({browser}));
    const QList<qint32> holders = assertions.assertionsByProcess()->keys();
    ASSERT_EQ(holders.size(), 1);
    EXPECT_NE(holders[0], zygote.pid());
    EXPECT_EQ(assertions.responsibleFor(holders[0]), browser);
    // The renderer is the zygote's child, not ours: it is stopped by its own id.
    ::kill(holders[0], SIGTERM);
    ASSERT_TRUE(tickUntil({}));
}

TEST_F(PlaybackMonitorDesktopTest, ScreenKeepingToolsAndSuspendOnlyInhibitorsAreNotVideo) {
    startWatching();
    StandInProcess& suspendOnly =
        holder({u"--service"_s, u"gnome"_s, u"--flags"_s, u"4"_s, u"--app"_s, u"Backup"_s});
    StandInProcess& kdeProfile =
        holder({u"--service"_s, u"kde"_s, u"--flags"_s, u"1"_s, u"--app"_s, u"Updates"_s});
    StandInProcess& caffeine =
        holder({u"--service"_s, u"freedesktop"_s, u"--process-name"_s, u"caffeine"_s});
    StandInProcess& inhibit =
        holder({u"--service"_s, u"gnome"_s, u"--process-name"_s, u"systemd-inhibit"_s});
    // Seen, and told apart by what they keep awake.
    EXPECT_EQ(heldBy(suspendOnly.pid()),
              (QList<PowerAssertions::Assertion>{{systemOnly, u"Backup"_s}}));
    EXPECT_EQ(heldBy(kdeProfile.pid()),
              (QList<PowerAssertions::Assertion>{{systemOnly, u"Updates"_s}}));
    EXPECT_EQ(heldBy(caffeine.pid()).value(0).type, display);
    EXPECT_EQ(heldBy(inhibit.pid()).value(0).type, display);
    EXPECT_EQ(assertions.processName(caffeine.pid()), u"caffeine"_s);

    for (int i = 0; i < 4; ++i)
        timers.advance(PlaybackMonitor::pollInterval);
    EXPECT_EQ(monitor.playing(), Playing::none());
    EXPECT_TRUE(reports.isEmpty());
}

TEST_F(PlaybackMonitorDesktopTest, APausedPlayerOfTheBrowserVetoesItsInhibitor) {
    startWatching();
    StandInProcess player;
    ASSERT_TRUE(player.start(u"mpris-player.py"_s, {u"--status"_s, u"Paused"_s}));
    ASSERT_TRUE(QTest::qWaitFor([&] { return assertions.mediaPlaying(browser) == false; }, 5000));
    EXPECT_EQ(assertions.mediaPlaying(player.pid() + 100000), std::nullopt);

    StandInProcess& renderer = holder({u"--service"_s, u"freedesktop"_s});
    ASSERT_EQ(heldBy(renderer.pid()).size(), 1);
    for (int i = 0; i < 4; ++i)
        timers.advance(PlaybackMonitor::pollInterval);
    EXPECT_EQ(monitor.playing(), Playing::none());

    EXPECT_EQ(player.ask("Playing"), "ok");
    ASSERT_TRUE(tickUntil({browser}));
    EXPECT_EQ(player.ask("Stopped"), "ok");
    ASSERT_TRUE(tickUntil({}));
    EXPECT_EQ(reports, (QList<Playing>{{{browser}}, Playing::none()}));
}

TEST_F(PlaybackMonitorDesktopTest, StoppingReportsNothingPlayingAndLetsGoOfTheBus) {
    // Taken before anything watched: GNOME's list has it, and its window names the browser.
    StandInProcess& early =
        holder({u"--service"_s, u"gnome"_s, u"--xid"_s, QString::number(window.winId())});
    startWatching();
    ASSERT_TRUE(tickUntil({browser}));
    EXPECT_EQ(heldBy(browser).value(0).type, display);

    monitor.stop();
    EXPECT_EQ(reports, (QList<Playing>{{{browser}}, Playing::none()}));
    EXPECT_EQ(assertions.assertionsByProcess(), std::nullopt);
    EXPECT_FALSE(assertions.isWatchingCalls());
    EXPECT_EQ(timers.pending(), 0);

    // Watching again finds it again; its release ends it.
    startWatching();
    ASSERT_TRUE(tickUntil({browser}));
    EXPECT_EQ(early.ask("release"), "released");
    ASSERT_TRUE(tickUntil({}));
}

} // namespace
