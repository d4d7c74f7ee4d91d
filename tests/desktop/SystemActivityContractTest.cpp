// What the coordinator relies on from the system's lock, sleep and user-switch notices, seen
// through the monitor that merges them: checked against the scripted fake the unit tests use
// and against the Linux adapter, with a stand-in login manager on a private system bus and
// stand-in screen savers on the session bus.
#include "X11TestInput.h"
#include "capture/SystemActivityMonitor.h"
#include "harness/ScriptedSystemActivity.h"
#include "harness/StandInProcess.h"
#include "platform/linux/session/LinuxSystemActivity.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QSignalSpy>
#include <QTest>
#include <gtest/gtest.h>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

enum class Missing { nothing, logind, systemBus, screenSaver };
enum class ScreenSaver { freedesktop, gnome };

struct Scripted {
    static constexpr bool isScripted = true;
    ScriptedSystemActivity activity;

    bool prepare(Missing missing) {
        if (missing != Missing::nothing)
            activity.missing = {u"系统状态｜一个服务不在"_s};
        return true;
    }
    SystemActivityEvents& events() { return activity; }
    bool settled() { return true; }

    bool lockByLogin(bool locked) { return announce(PauseReason::screenLock, locked); }
    bool lockByScreenSaver(ScreenSaver, bool active) {
        return announce(PauseReason::screenLock, active);
    }
    bool sleep(bool asleep) { return announce(PauseReason::sleep, asleep); }
    bool switchAway(bool away) { return announce(PauseReason::sessionSwitch, away); }
    bool lockedAtStart() {
        activity.holding = {PauseReason::screenLock};
        return true;
    }

private:
    bool announce(PauseReason reason, bool begins) {
        activity.announce(reason, begins);
        return true;
    }
};

// A blocking call on the connection the adapter listens on: the service emits its signal
// before it replies and the bus keeps their order, so once the reply is in, the signal has
// been queued for the adapter, and the events processed here hand it over.
bool callAndDeliver(QDBusConnection bus, const QString& service, const QString& path,
                    const QString& interface, const QString& method,
                    const QVariantList& arguments = {}) {
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    message.setArguments(arguments);
    const QDBusMessage reply = bus.call(message, QDBus::Block, 10000);
    QCoreApplication::processEvents();
    if (reply.type() != QDBusMessage::ReplyMessage)
        ADD_FAILURE() << qPrintable(method) << ": " << qPrintable(reply.errorMessage());
    return reply.type() == QDBusMessage::ReplyMessage;
}

const QString kLogin = u"org.freedesktop.login1"_s;
const QString kLoginRoot = u"/org/freedesktop/login1"_s;
const QString kLoginTest = u"org.quillet.Test.Login"_s;
const QString kOwnSession = u"7"_s;

struct Desktop {
    static constexpr bool isScripted = false;
    StandInProcess logind;
    StandInProcess freedesktop;
    StandInProcess gnome;
    std::unique_ptr<LinuxSystemActivity> activity;
    std::unique_ptr<QSignalSpy> settledSpy;

    bool prepare(Missing missing, const QStringList& logindOptions = {}) {
        if (missing != Missing::logind && missing != Missing::systemBus &&
            !logind.start(u"logind.py"_s, logindOptions))
            return false;
        if (missing != Missing::screenSaver &&
            (!startScreenSaver(freedesktop, ScreenSaver::freedesktop) ||
             !startScreenSaver(gnome, ScreenSaver::gnome)))
            return false;
        const QDBusConnection system =
            missing == Missing::systemBus
                ? QDBusConnection::connectToBus(u"unix:path=/nonexistent/bus"_s, u"nowhere"_s)
                : QDBusConnection::systemBus();
        activity = std::make_unique<LinuxSystemActivity>(system, QDBusConnection::sessionBus());
        settledSpy = std::make_unique<QSignalSpy>(activity.get(), &LinuxSystemActivity::settled);
        return true;
    }
    static bool startScreenSaver(StandInProcess& process, ScreenSaver flavour) {
        return process
            .start(u"screensaver.py"_s,
                   {u"--flavour"_s, flavour == ScreenSaver::gnome ? u"gnome"_s : u"freedesktop"_s})
            .has_value();
    }
    SystemActivityEvents& events() { return *activity; }
    bool settled() {
        return QTest::qWaitFor([&] { return settledSpy->count() > 0; }, 10000);
    }

    bool lockByLogin(bool locked) { return setLockedHint(kOwnSession, locked); }
    bool setLockedHint(const QString& session, bool locked) {
        const QString path =
            kLoginRoot + (session == kOwnSession ? u"/session/_37"_s : u"/session/"_s + session);
        return callAndDeliver(QDBusConnection::systemBus(), kLogin, path,
                              u"org.freedesktop.login1.Session"_s, u"SetLockedHint"_s, {locked});
    }
    bool lockByScreenSaver(ScreenSaver flavour, bool active) {
        const QString name = flavour == ScreenSaver::gnome ? u"org.gnome.ScreenSaver"_s
                                                           : u"org.freedesktop.ScreenSaver"_s;
        const QString path = flavour == ScreenSaver::gnome ? u"/org/gnome/ScreenSaver"_s
                                                           : u"/org/freedesktop/ScreenSaver"_s;
        return callAndDeliver(QDBusConnection::sessionBus(), name, path, name, u"SetActive"_s,
                              {active});
    }
    bool sleep(bool asleep) {
        return callAndDeliver(QDBusConnection::systemBus(), kLogin, kLoginRoot, kLoginTest,
                              asleep ? u"Sleep"_s : u"Wake"_s);
    }
    bool switchAway(bool away) {
        return callAndDeliver(QDBusConnection::systemBus(), kLogin, kLoginRoot, kLoginTest,
                              u"SetActive"_s, {kOwnSession, !away});
    }
    bool lockedAtStart() { return lockByLogin(true); }
};

// The monitor the coordinator owns, counting what it is told.
struct Watched {
    explicit Watched(SystemActivityEvents& events) : monitor(events) {
        monitor.onPause = [this] {
            ++pauses;
        };
        monitor.onResume = [this] {
            ++resumes;
        };
        monitor.onUnavailable = [this](const QString& line) {
            lines.append(line);
        };
    }
    SystemActivityMonitor monitor;
    int pauses = 0;
    int resumes = 0;
    QStringList lines;
};

template <typename Bench> class SystemActivityContract : public testing::Test {
protected:
    // The monitor listening, once the adapter has told what already holds.
    Watched& begin(Missing missing = Missing::nothing) {
        EXPECT_TRUE(bench.prepare(missing));
        watched = std::make_unique<Watched>(bench.events());
        watched->monitor.start();
        EXPECT_TRUE(bench.settled());
        return *watched;
    }

    Bench bench;
    std::unique_ptr<Watched> watched;
};

using Benches = testing::Types<Scripted, Desktop>;
TYPED_TEST_SUITE(SystemActivityContract, Benches, ScriptedOrDesktop);

} // namespace

TYPED_TEST(SystemActivityContract, LockSleepWakeUnlockPausesOnceAndResumesOnce) {
    Watched& w = this->begin();
    ASSERT_TRUE(this->bench.lockByLogin(true));
    EXPECT_TRUE(QTest::qWaitFor([&] { return w.pauses == 1; }, 5000));
    ASSERT_TRUE(this->bench.sleep(true));
    ASSERT_TRUE(this->bench.sleep(false));
    EXPECT_EQ(w.pauses, 1);
    EXPECT_EQ(w.resumes, 0) << "the screen is still locked after the wake";
    ASSERT_TRUE(this->bench.lockByLogin(false));
    EXPECT_TRUE(QTest::qWaitFor([&] { return w.resumes == 1; }, 5000));
    EXPECT_EQ(w.pauses, 1);
    EXPECT_FALSE(w.monitor.isPaused());
    EXPECT_TRUE(w.lines.isEmpty()) << w.lines.join(u'\n').toStdString();
}

TYPED_TEST(SystemActivityContract, OneLockToldByEveryServiceAndTwoLocksInARowPauseOnce) {
    Watched& w = this->begin();
    ASSERT_TRUE(this->bench.lockByLogin(true));
    ASSERT_TRUE(this->bench.lockByLogin(true));
    ASSERT_TRUE(this->bench.lockByScreenSaver(ScreenSaver::freedesktop, true));
    ASSERT_TRUE(this->bench.lockByScreenSaver(ScreenSaver::gnome, true));
    EXPECT_EQ(w.pauses, 1);
    ASSERT_TRUE(this->bench.lockByScreenSaver(ScreenSaver::gnome, false));
    ASSERT_TRUE(this->bench.lockByScreenSaver(ScreenSaver::freedesktop, false));
    ASSERT_TRUE(this->bench.lockByLogin(false));
    EXPECT_EQ(w.pauses, 1);
    EXPECT_EQ(w.resumes, 1);
}

TYPED_TEST(SystemActivityContract, AnEndWithoutItsBeginningChangesNothing) {
    Watched& w = this->begin();
    ASSERT_TRUE(this->bench.sleep(false));
    ASSERT_TRUE(this->bench.lockByLogin(false));
    ASSERT_TRUE(this->bench.switchAway(false));
    EXPECT_EQ(w.pauses, 0);
    EXPECT_EQ(w.resumes, 0);
}

TYPED_TEST(SystemActivityContract, AnotherUserTakingTheSeatAndGivingItBack) {
    Watched& w = this->begin();
    ASSERT_TRUE(this->bench.switchAway(true));
    EXPECT_TRUE(QTest::qWaitFor([&] { return w.pauses == 1; }, 5000));
    EXPECT_EQ(w.monitor.pauseReasons(), QSet<PauseReason>{PauseReason::sessionSwitch});
    ASSERT_TRUE(this->bench.switchAway(false));
    EXPECT_TRUE(QTest::qWaitFor([&] { return w.resumes == 1; }, 5000));
}

TYPED_TEST(SystemActivityContract, StopKeepsTheReasonsAndHearsNothingMore) {
    Watched& w = this->begin();
    ASSERT_TRUE(this->bench.lockByLogin(true));
    ASSERT_TRUE(QTest::qWaitFor([&] { return w.pauses == 1; }, 5000));
    w.monitor.stop();
    ASSERT_TRUE(this->bench.lockByLogin(false));
    ASSERT_TRUE(this->bench.switchAway(true));
    EXPECT_EQ(w.resumes, 0);
    EXPECT_EQ(w.monitor.pauseReasons(), QSet<PauseReason>{PauseReason::screenLock});
}

TYPED_TEST(SystemActivityContract, AScreenAlreadyLockedAtStartBeginsPaused) {
    ASSERT_TRUE(this->bench.prepare(Missing::nothing));
    ASSERT_TRUE(this->bench.lockedAtStart());
    Watched w(this->bench.events());
    w.monitor.start();
    ASSERT_TRUE(this->bench.settled());
    EXPECT_TRUE(QTest::qWaitFor([&] { return w.pauses == 1; }, 5000));
    EXPECT_EQ(w.monitor.pauseReasons(), QSet<PauseReason>{PauseReason::screenLock});
}

TYPED_TEST(SystemActivityContract, AMissingServiceIsOneLineAndTheOthersStillTell) {
    struct Case {
        Missing missing;
        bool byLogin;    // which service still tells of a lock
        QString desktop; // what the Linux adapter's line says
    };
    const QList<Case> cases = {{Missing::logind, false, u"没有 logind"_s},
                               {Missing::systemBus, false, u"连不上系统总线"_s},
                               {Missing::screenSaver, true, u"没有屏幕保护程序"_s}};
    for (const Case& c : cases) {
        SCOPED_TRACE(c.desktop.toStdString());
        TypeParam bench;
        ASSERT_TRUE(bench.prepare(c.missing));
        Watched w(bench.events());
        w.monitor.start();
        ASSERT_TRUE(bench.settled());
        ASSERT_EQ(w.lines.size(), 1) << w.lines.join(u'\n').toStdString();
        EXPECT_TRUE(w.lines[0].startsWith(u"系统状态｜"_s)) << w.lines[0].toStdString();
        if (!TypeParam::isScripted) {
            EXPECT_TRUE(w.lines[0].contains(c.desktop)) << w.lines[0].toStdString();
        }
        ASSERT_TRUE(c.byLogin ? bench.lockByLogin(true)
                              : bench.lockByScreenSaver(ScreenSaver::freedesktop, true));
        EXPECT_TRUE(QTest::qWaitFor([&] { return w.pauses == 1; }, 5000));
    }
}

namespace {

// What only the Linux adapter does: which session is ours, services that come and go.
class LinuxSystemActivityTest : public testing::Test {
protected:
    Watched& begin(Missing missing = Missing::nothing, const QStringList& logindOptions = {}) {
        EXPECT_TRUE(bench.prepare(missing, logindOptions));
        watched = std::make_unique<Watched>(bench.events());
        watched->monitor.start();
        EXPECT_TRUE(bench.settled());
        return *watched;
    }

    Desktop bench;
    std::unique_ptr<Watched> watched;
};

} // namespace

TEST_F(LinuxSystemActivityTest, AnotherUsersLockIsNotOurs) {
    Watched& w = begin();
    ASSERT_TRUE(bench.setLockedHint(u"c2"_s, true));
    EXPECT_EQ(w.pauses, 0);
    ASSERT_TRUE(bench.lockByLogin(true));
    EXPECT_TRUE(QTest::qWaitFor([&] { return w.pauses == 1; }, 5000));
}

TEST_F(LinuxSystemActivityTest, TheScreenStaysLockedWhileAnyServiceSaysSoOrUntilItQuits) {
    Watched& w = begin();
    ASSERT_TRUE(bench.lockByLogin(true));
    ASSERT_TRUE(bench.lockByScreenSaver(ScreenSaver::gnome, true));
    ASSERT_TRUE(bench.lockByLogin(false));
    EXPECT_EQ(w.resumes, 0) << "the GNOME screen saver still locks the screen";
    bench.gnome.stop();
    EXPECT_TRUE(QTest::qWaitFor([&] { return w.resumes == 1; }, 5000));
}

TEST_F(LinuxSystemActivityTest, AScreenSaverThatStartsLaterIsHeard) {
    Watched& w = begin(Missing::screenSaver);
    ASSERT_EQ(w.lines.size(), 1);
    EXPECT_TRUE(w.lines[0].contains(u"屏幕保护程序"_s)) << w.lines[0].toStdString();
    ASSERT_TRUE(Desktop::startScreenSaver(bench.freedesktop, ScreenSaver::freedesktop));
    ASSERT_TRUE(bench.lockByScreenSaver(ScreenSaver::freedesktop, true));
    EXPECT_TRUE(QTest::qWaitFor([&] { return w.pauses == 1; }, 5000));
}

TEST_F(LinuxSystemActivityTest, ALoginManagerThatStartsLaterIsHeard) {
    Watched& w = begin(Missing::logind);
    ASSERT_EQ(w.lines.size(), 1);
    EXPECT_TRUE(w.lines[0].contains(u"logind"_s)) << w.lines[0].toStdString();
    ASSERT_TRUE(bench.logind.start(u"logind.py"_s));
    ASSERT_TRUE(bench.switchAway(true));
    EXPECT_TRUE(QTest::qWaitFor([&] { return w.pauses == 1; }, 5000));
}

TEST_F(LinuxSystemActivityTest, OurSessionIsFoundByAutoElseByProcess) {
    // Started by the user's service manager: in no session, but the user's graphical one is
    // the one that locks.
    for (const QString& option : {u"--outside-session"_s, u"--no-auto"_s}) {
        SCOPED_TRACE(option.toStdString());
        Desktop desktop;
        ASSERT_TRUE(desktop.prepare(Missing::nothing, {option}));
        Watched w(desktop.events());
        w.monitor.start();
        ASSERT_TRUE(desktop.settled());
        EXPECT_TRUE(w.lines.isEmpty()) << w.lines.join(u'\n').toStdString();
        ASSERT_TRUE(desktop.lockByLogin(true));
        EXPECT_TRUE(QTest::qWaitFor([&] { return w.pauses == 1; }, 5000));
    }
}

TEST_F(LinuxSystemActivityTest, WithoutASessionSleepIsStillHeard) {
    Watched& w = begin(Missing::nothing, {u"--no-session"_s});
    ASSERT_EQ(w.lines.size(), 1);
    EXPECT_TRUE(w.lines[0].contains(u"会话"_s)) << w.lines[0].toStdString();
    ASSERT_TRUE(bench.sleep(true));
    EXPECT_TRUE(QTest::qWaitFor([&] { return w.pauses == 1; }, 5000));
}

TEST_F(LinuxSystemActivityTest, ARestartLearnsWhatChangedWhileStopped) {
    Watched& w = begin();
    ASSERT_TRUE(bench.lockByLogin(true));
    ASSERT_TRUE(bench.switchAway(true));
    ASSERT_TRUE(QTest::qWaitFor([&] { return w.pauses == 1; }, 5000));
    w.monitor.stop();
    ASSERT_TRUE(bench.lockByLogin(false));
    w.monitor.start();
    EXPECT_TRUE(QTest::qWaitFor(
        [&] { return w.monitor.pauseReasons() == QSet{PauseReason::sessionSwitch}; }, 5000));
    ASSERT_TRUE(bench.switchAway(false));
    EXPECT_TRUE(QTest::qWaitFor([&] { return w.resumes == 1; }, 5000));
}
