#include "AgentProcess.h"
#include "harness/ForeignClipboard.h"
#include "harness/StandInProcess.h"
#include "harness/TextWindow.h"

#include <QPoint>
#include <QProcess>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace LogLines;

namespace {

bool run(const QString& program, const QStringList& arguments) {
    QProcess process;
    process.start(program, arguments);
    return process.waitForFinished(10000) && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

bool xdotool(const QString& commands) {
    return run(u"xdotool"_s, commands.split(u' ', Qt::SkipEmptyParts));
}

// Another program calling a service, as the desktop's screen locker does.
bool dbusSend(const QString& bus, const QString& service, const QString& path,
              const QString& method, const QString& argument) {
    return run(u"dbus-send"_s,
               {u"--"_s + bus, u"--print-reply"_s, u"--dest="_s + service, path, method, argument});
}

// The agent with every automatic source on, on a desktop whose login manager and GNOME screen
// saver are stand-ins the test locks and unlocks.
class AgentActivityTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(logind.start(u"logind.py"_s));
        ASSERT_TRUE(screenSaver.start(u"screensaver.py"_s, {u"--flavour"_s, u"gnome"_s}));
        // The desktop's accessibility switch, on as a person reading with selections has it.
        ASSERT_TRUE(
            run(u"dbus-send"_s,
                {u"--session"_s, u"--print-reply"_s, u"--dest=org.a11y.Bus"_s, u"/org/a11y/bus"_s,
                 u"org.freedesktop.DBus.Properties.Set"_s, u"string:org.a11y.Status"_s,
                 u"string:IsEnabled"_s, u"variant:boolean:true"_s}));
        ASSERT_TRUE(window.start());
        AgentProcess::Options options;
        options.defaults.insert(u"trigger.selectionEnabled"_s, true);
        options.defaults.insert(u"trigger.pointerLookupEnabled"_s, true);
        options.defaults.insert(u"hoverDwellSeconds"_s, 0.2);
        ASSERT_TRUE(agent.start(options));
        ASSERT_TRUE(agent.waitForLine(exactly(u"[触发] Quillet 已启动"_s), 10000))
            << text(agent.lines());
    }
    void TearDown() override { xdotool(u"keyup alt"_s); }

    // GNOME locks by telling both: the session's hint and its screen saver's state.
    bool lock(bool locked) {
        const QString value = locked ? u"boolean:true"_s : u"boolean:false"_s;
        return dbusSend(u"system"_s, u"org.freedesktop.login1"_s,
                        u"/org/freedesktop/login1/session/auto"_s,
                        u"org.freedesktop.login1.Session.SetLockedHint"_s, value) &&
               dbusSend(u"session"_s, u"org.gnome.ScreenSaver"_s, u"/org/gnome/ScreenSaver"_s,
                        u"org.gnome.ScreenSaver.SetActive"_s, value);
    }

    // Where the window shows a word of its text.
    std::optional<QPoint> word(const QString& text) {
        const qsizetype start = TextWindow::initialText().indexOf(text);
        const QStringList answer =
            window.commandAnswer(u"locate page %1 %2"_s.arg(start).arg(start + text.size()))
                .split(u' ', Qt::SkipEmptyParts);
        if (start < 0 || answer.size() != 3 || answer[0] != u"ok"_s)
            return std::nullopt;
        return QPoint(answer[1].toInt(), answer[2].toInt());
    }

    StandInProcess logind;
    StandInProcess screenSaver;
    TextWindow window;
    ForeignClipboard clipboard;
    AgentProcess agent;
};

} // namespace

TEST_F(AgentActivityTest, NothingIsLookedUpWhileTheScreenIsLockedAndEverythingIsAfterwards) {
    const auto reading = word(u"Reading"_s);
    const auto slow = word(u"slow"_s);
    ASSERT_TRUE(reading && slow);

    const qsizetype locked = agent.mark();
    ASSERT_TRUE(lock(true));
    ASSERT_TRUE(agent.waitForLine(exactly(u"[触发] 取词已暂停｜锁屏"_s),
                                  AgentProcess::lineTimeoutMs, locked))
        << text(agent.linesSince(locked));

    // A copy, a double-click on a word and Alt held over another: none is read.
    ASSERT_TRUE(clipboard.copy(u"river"_s.toUtf8()));
    ASSERT_TRUE(xdotool(
        u"mousemove %1 %2 click --repeat 2 --delay 80 1"_s.arg(reading->x()).arg(reading->y())));
    ASSERT_TRUE(xdotool(u"mousemove %1 %2 keydown alt"_s.arg(slow->x()).arg(slow->y())));
    // Past the selection's debounce and the hover's dwell.
    agent.drain(1500);
    ASSERT_TRUE(xdotool(u"keyup alt"_s));

    const qsizetype unlocked = agent.mark();
    ASSERT_TRUE(lock(false));
    ASSERT_TRUE(
        agent.waitForLine(exactly(u"[触发] 取词已恢复"_s), AgentProcess::lineTimeoutMs, unlocked))
        << text(agent.linesSince(locked));

    ASSERT_TRUE(clipboard.copy(u"water"_s.toUtf8()));
    ASSERT_TRUE(agent.waitForLine(startingWith(u"[结果] 词典｜water"_s),
                                  AgentProcess::lineTimeoutMs, unlocked))
        << text(agent.linesSince(locked));
    ASSERT_TRUE(xdotool(
        u"mousemove %1 %2 click --repeat 2 --delay 80 1"_s.arg(reading->x()).arg(reading->y())));
    ASSERT_TRUE(agent.waitForLine(exactly(u"[触发] 划词｜text-window｜直接读取｜Reading"_s),
                                  AgentProcess::lineTimeoutMs, unlocked))
        << text(agent.linesSince(locked));

    const QStringList since = agent.linesSince(locked);
    // Two services told of one lock: one pause, one resume.
    EXPECT_EQ(since.filter(u"取词已暂停"_s).size(), 1) << text(since);
    EXPECT_EQ(since.filter(u"取词已恢复"_s).size(), 1) << text(since);
    const QStringList whileLocked = since.mid(0, unlocked - locked);
    EXPECT_TRUE(whileLocked.filter(u"划词"_s).isEmpty()) << text(whileLocked);
    EXPECT_TRUE(whileLocked.filter(u"悬停取词"_s).isEmpty()) << text(whileLocked);
    EXPECT_TRUE(since.filter(u"river"_s).isEmpty()) << text(since);
}
