#include "AgentProcess.h"
#include "harness/ForeignClipboard.h"
#include "harness/ForeignKeyGrab.h"
#include "harness/QuilletProcess.h"
#include "harness/TextWindow.h"
#include "harness/XClients.h"
#include "keys/HotKeySpec.h"

#include <QRegularExpression>
#include <gtest/gtest.h>
#include <xcb/xcb.h>

using namespace Qt::StringLiterals;
using namespace LogLines;

namespace {

// Alive and not a zombie: a clipboard owner that lost the clipboard has exited.
bool stillRunning(qint64 pid) {
    const char state = processState(pid);
    return state != 0 && state != 'Z';
}

// xdotool's commands as one line.
bool xdotool(const QString& commands) {
    return ::xdotool(commands.split(u' ', Qt::SkipEmptyParts));
}

// The agent reading selections in another program's window (a Qt text view, on the
// accessibility bus unless the test says otherwise), driven by xdotool as a hand would.
class AgentSelectionTest : public testing::Test {
protected:
    void SetUp() override {
        // The desktop's accessibility switch, on as a person using it would have it.
        ASSERT_TRUE(
            runTool(u"dbus-send"_s, {u"--session"_s, u"--print-reply"_s, u"--dest=org.a11y.Bus"_s,
                                     u"/org/a11y/bus"_s, u"org.freedesktop.DBus.Properties.Set"_s,
                                     u"string:org.a11y.Status"_s, u"string:IsEnabled"_s,
                                     u"variant:boolean:true"_s}));
    }

    void startAgent(bool hotKey = false) {
        AgentProcess::Options options;
        options.defaults.insert(u"translation.endpoint"_s, u"http://127.0.0.1:9"_s);
        options.defaults.insert(u"trigger.selectionEnabled"_s, !hotKey);
        if (hotKey)
            options.defaults.insert(u"trigger.method"_s, u"hotKey"_s);
        ASSERT_TRUE(agent.start(options));
        ASSERT_TRUE(agent.waitForLine(exactly(u"[触发] Quillet 已启动"_s), 10000))
            << text(agent.lines());
    }

    void openWindow(TextWindow::Options options = {}) {
        ASSERT_TRUE(window.start(options));
        QByteArray shell;
        ASSERT_TRUE(::xdotool(
            {u"getwindowgeometry"_s, u"--shell"_s, QString::number(window.windowId())}, &shell));
        for (const QByteArray& line : shell.split('\n')) {
            if (line.startsWith("X="))
                x = line.mid(2).toInt();
            else if (line.startsWith("Y="))
                y = line.mid(2).toInt();
        }
    }

    // The second line of the text view starts with "Reading in another language is slow".
    void doubleClickReading() {
        ASSERT_TRUE(
            xdotool(u"mousemove %1 %2 click --repeat 2 --delay 80 1"_s.arg(x + 40).arg(y + 14)));
    }
    // At a hand's pace: the pointer is asked where it is as each event arrives.
    void dragAcrossLine(int pixels) {
        ASSERT_TRUE(xdotool(u"mousemove %1 %2 sleep 0.1 mousedown 1 sleep 0.1 mousemove_relative "
                            "%3 0 sleep 0.1 mouseup 1"_s.arg(x + 30)
                                .arg(y + 14)
                                .arg(pixels)));
    }
    void pressHotKey(const QString& keys = u"ctrl+alt+super+d"_s) {
        ASSERT_TRUE(xdotool(u"key "_s + keys));
    }
    QStringList selectionLines(qsizetype from) const {
        return agent.linesSince(from).filter(QRegularExpression(u"^\\[触发\\] (划词|快捷键)｜"_s));
    }

    AgentProcess agent;
    TextWindow window;
    ForeignClipboard clipboard;
    int x = 0;
    int y = 0;
};

TEST_F(AgentSelectionTest, DragsAndDoubleClicksAreLookedUpThroughAccessibility) {
    startAgent();
    openWindow();
    doubleClickReading();
    ASSERT_TRUE(agent.waitForLine(exactly(u"[触发] 划词｜text-window｜直接读取｜Reading"_s)))
        << text(agent.lines());
    ASSERT_TRUE(agent.waitForLine(startingWith(u"[结果] 词典｜reading"_s)));

    // A plain click and a drag of 4 pixels select nothing to look up; the drag after them is
    // the only capture.
    agent.advanceClock(61);
    const qsizetype mark = agent.mark();
    ASSERT_TRUE(xdotool(u"mousemove %1 %2 click 1"_s.arg(x + 120).arg(y + 14)));
    dragAcrossLine(4);
    dragAcrossLine(200);
    const auto drag = agent.waitForLine(startingWith(u"[触发] 划词｜text-window｜直接读取｜"_s),
                                        AgentProcess::lineTimeoutMs, mark);
    ASSERT_TRUE(drag) << text(agent.linesSince(mark));
    EXPECT_TRUE(drag->contains(u"in another language"_s)) << drag->toStdString();
    EXPECT_EQ(selectionLines(mark).size(), 1) << text(agent.linesSince(mark));
}

TEST_F(AgentSelectionTest, PasswordFieldsAndPasswordManagersAreNeverRead) {
    startAgent(/*hotKey=*/true);
    openWindow();
    ASSERT_TRUE(clipboard.copy({{u"text/plain"_s, u"before"_s}}));
    const qint64 owner = clipboard.lastProcessId();
    // A plain text box inside a container that says it is a password field, as GTK 4 builds
    // its password entry: a copy would reach it.
    ASSERT_TRUE(window.command(u"focus nested"_s));
    pressHotKey();
    ASSERT_TRUE(agent.waitForLine(exactly(u"[拦截] 快捷键｜密码输入框，已跳过"_s)))
        << text(agent.lines());
    EXPECT_TRUE(stillRunning(owner)) << "no copy was simulated: the clipboard kept its owner";

    window.stop();
    openWindow({.windowClass = u"KeePassXC"_s});
    ASSERT_TRUE(window.command(u"select 4 9"_s));
    pressHotKey();
    ASSERT_TRUE(agent.waitForLine(exactly(u"[拦截] 快捷键｜来自密码管理器"_s)))
        << text(agent.lines());
}

TEST_F(AgentSelectionTest, WithoutAccessibilityTheCopyReadsItAndTheClipboardComesBack) {
    startAgent(/*hotKey=*/true);
    openWindow({.accessible = false});
    ASSERT_TRUE(clipboard.copy({{u"text/plain"_s, u"before"_s},
                                {u"text/html"_s, u"<b>before</b>"_s},
                                {u"application/x-quillet-test"_s, u"\u0001raw bytes"_s}}));
    const QMap<QString, QByteArray> before = clipboardContent();
    ASSERT_FALSE(before.isEmpty());

    ASSERT_TRUE(window.command(u"select 4 9"_s));
    pressHotKey();
    ASSERT_TRUE(agent.waitForLine(exactly(u"[触发] 快捷键｜text-window｜模拟复制｜quick"_s)))
        << text(agent.lines());
    ASSERT_TRUE(agent.waitForLine(startingWith(u"[结果] 词典｜quick"_s)));
    EXPECT_EQ(clipboardContent(), before);

    // In a terminal the copy keys stop the running job: nothing is sent.
    window.stop();
    ASSERT_TRUE(clipboard.copy({{u"text/plain"_s, u"in the terminal"_s}}));
    const qint64 owner = clipboard.lastProcessId();
    openWindow({.windowClass = u"XTerm"_s, .accessible = false});
    ASSERT_TRUE(window.command(u"select 4 9"_s));
    const qsizetype mark = agent.mark();
    pressHotKey();
    ASSERT_TRUE(agent.waitForLine(exactly(u"[拦截] 快捷键｜应用未在限时内响应"_s),
                                  AgentProcess::lineTimeoutMs, mark))
        << text(agent.linesSince(mark));
    EXPECT_TRUE(stillRunning(owner));
}

TEST_F(AgentSelectionTest, TheHotKeyLooksUpTheSelectionAndCanBeChanged) {
    // Ctrl+Alt+Super+D held by another program first.
    ForeignKeyGrab holder;
    ASSERT_TRUE(holder.grab(HotKeySpec::defaultLookup().keyCode,
                            XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1 | XCB_MOD_MASK_4));
    startAgent(/*hotKey=*/true);
    ASSERT_TRUE(agent.waitForLine(
        exactly(u"[错误] 快捷键 Ctrl+Alt+Super+D 注册失败（10），可能已被其它 App 占用"_s)))
        << text(agent.lines());

    openWindow();
    // Ctrl+Alt+X instead, from the command line.
    const QuilletProcess::Run set = QuilletProcess::run(
        {u"settings"_s, u"set"_s, u"trigger.hotKey"_s, u"{\"keyCode\":7,\"modifiers\":6144}"_s},
        QuilletProcess::environmentWithHome(agent.home()));
    ASSERT_EQ(set.exitCode, 0) << set.err.toStdString();
    ASSERT_TRUE(agent.waitForLine(exactly(u"[触发] 快捷键 Ctrl+Alt+X 已就绪（快捷键查询）"_s)))
        << text(agent.lines());
    ASSERT_TRUE(window.command(u"select 4 9"_s));
    pressHotKey(u"ctrl+alt+x"_s);
    ASSERT_TRUE(agent.waitForLine(exactly(u"[触发] 快捷键｜text-window｜直接读取｜quick"_s)))
        << text(agent.lines());
}

} // namespace
