#include "AgentProcess.h"
#include "harness/TextWindow.h"

#include <QPoint>
#include <QProcess>
#include <QRegularExpression>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace LogLines;

namespace {

bool xdotool(const QString& commands) {
    QProcess process;
    process.start(u"xdotool"_s, commands.split(u' ', Qt::SkipEmptyParts));
    return process.waitForFinished(10000) && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

// Where the window's read-only page shows a range of its text ("ok X Y").
std::optional<QPoint> pointOf(TextWindow& window, qsizetype start, qsizetype end) {
    const QStringList answer = window.commandAnswer(u"locate page %1 %2"_s.arg(start).arg(end))
                                   .split(u' ', Qt::SkipEmptyParts);
    if (answer.size() != 3 || answer[0] != u"ok"_s)
        return std::nullopt;
    return QPoint(answer[1].toInt(), answer[2].toInt());
}

// The agent with hover lookup on, over another program's window; the pointer key is Alt.
class AgentHoverTest : public testing::Test {
protected:
    void SetUp() override {
        QProcess bus;
        bus.start(u"dbus-send"_s,
                  {u"--session"_s, u"--print-reply"_s, u"--dest=org.a11y.Bus"_s, u"/org/a11y/bus"_s,
                   u"org.freedesktop.DBus.Properties.Set"_s, u"string:org.a11y.Status"_s,
                   u"string:IsEnabled"_s, u"variant:boolean:true"_s});
        ASSERT_TRUE(bus.waitForFinished(10000) && bus.exitCode() == 0);
        AgentProcess::Options options;
        options.defaults.insert(u"translation.endpoint"_s, u"http://127.0.0.1:9"_s);
        options.defaults.insert(u"trigger.pointerLookupEnabled"_s, true);
        options.defaults.insert(u"hoverDwellSeconds"_s, 0.2);
        ASSERT_TRUE(agent.start(options));
        ASSERT_TRUE(agent.waitForLine(exactly(u"[触发] Quillet 已启动"_s), 10000))
            << text(agent.lines());
    }
    void TearDown() override { xdotool(u"keyup alt"_s); }

    // The page's word, found in the window's text.
    std::optional<QPoint> word(const QString& text) {
        const qsizetype start = TextWindow::initialText().indexOf(text);
        return start < 0 ? std::nullopt : pointOf(window, start, start + text.size());
    }
    void restWithAltAt(QPoint point) {
        ASSERT_TRUE(xdotool(u"mousemove %1 %2 keydown alt"_s.arg(point.x()).arg(point.y())));
    }
    void doubleTapAlt() {
        ASSERT_TRUE(xdotool(u"keydown alt sleep 0.08 keyup alt sleep 0.12 keydown alt sleep 0.08 "
                            "keyup alt"_s));
    }

    AgentProcess agent;
    TextWindow window;
};

TEST_F(AgentHoverTest, AltOverAnAccessibleWordLooksItUpOncePerRestingPlace) {
    ASSERT_TRUE(window.start());
    const auto reading = word(u"Reading"_s);
    ASSERT_TRUE(reading);
    restWithAltAt(*reading);
    ASSERT_TRUE(agent.waitForLine(exactly(u"[触发] 悬停取词｜取到「Reading」（辅助功能）"_s)))
        << text(agent.lines());
    ASSERT_TRUE(agent.waitForLine(startingWith(u"[结果] 词典｜reading"_s)));

    // Resting on: nothing more. Four pixels on: a new place, the same word, within 15 s.
    qsizetype mark = agent.mark();
    agent.drain(800);
    EXPECT_TRUE(agent.linesSince(mark).filter(u"悬停取词｜取到"_s).isEmpty())
        << text(agent.linesSince(mark));
    ASSERT_TRUE(xdotool(u"mousemove_relative 4 0"_s));
    EXPECT_TRUE(agent.waitForLine(exactly(u"[拦截] 悬停取词｜15 秒内查过同一个词"_s),
                                  AgentProcess::lineTimeoutMs, mark))
        << text(agent.linesSince(mark));
    EXPECT_EQ(agent.linesSince(mark).filter(u"悬停取词｜取到"_s).size(), 1);

    // Without Alt, resting looks up nothing.
    ASSERT_TRUE(xdotool(u"keyup alt"_s));
    mark = agent.mark();
    const auto slow = word(u"slow"_s);
    ASSERT_TRUE(slow);
    ASSERT_TRUE(xdotool(u"mousemove %1 %2"_s.arg(slow->x()).arg(slow->y())));
    agent.drain(800);
    EXPECT_TRUE(agent.linesSince(mark).filter(u"悬停取词"_s).isEmpty())
        << text(agent.linesSince(mark));
}

TEST_F(AgentHoverTest, OffTheAccessibilityBusTheWordIsRecognisedOnTheScreen) {
    ASSERT_TRUE(window.start({.accessible = false}));
    const auto language = word(u"language"_s);
    ASSERT_TRUE(language);
    restWithAltAt(*language);
    ASSERT_TRUE(agent.waitForLine(exactly(u"[触发] 悬停取词｜取到「language」（文字识别）"_s)))
        << text(agent.lines());
    ASSERT_TRUE(agent.waitForLine(startingWith(u"[结果] 词典｜language"_s)));
}

TEST_F(AgentHoverTest, ADoubleTapDrawsABoxWhoseTextIsLookedUpAndEscCancels) {
    ASSERT_TRUE(window.start({.accessible = false}));
    const QString line = u"A word you look up twice"_s;
    const qsizetype start = TextWindow::initialText().indexOf(line);
    const auto first = pointOf(window, start, start + 1);
    const auto last = pointOf(window, start + line.size() - 1, start + line.size());
    ASSERT_TRUE(first && last);

    doubleTapAlt();
    ASSERT_TRUE(agent.waitForLine(exactly(u"[触发] 悬停取词｜连按两下 Alt"_s)))
        << text(agent.lines());
    ASSERT_TRUE(Desktop::windowShown(u"Quillet 框选"_s, 5000));
    ASSERT_TRUE(
        xdotool(u"mousemove %1 %2 mousedown 1 mousemove %3 %4 mouseup 1"_s.arg(first->x() - 10)
                    .arg(first->y() - 9)
                    .arg(last->x() + 10)
                    .arg(last->y() + 9)));
    const auto box = agent.waitForLine(startingWith(u"[触发] 截图查询｜点按｜"_s));
    ASSERT_TRUE(box) << text(agent.lines());
    EXPECT_TRUE(box->contains(u"look up twice"_s)) << box->toStdString();
    EXPECT_TRUE(Desktop::windowGone(u"Quillet 框选"_s, 5000));

    const qsizetype mark = agent.mark();
    doubleTapAlt();
    ASSERT_TRUE(Desktop::windowShown(u"Quillet 框选"_s, 5000)) << text(agent.linesSince(mark));
    ASSERT_TRUE(xdotool(u"key Escape"_s));
    EXPECT_TRUE(
        agent.waitForLine(exactly(u"[拦截] 截图查询｜取消"_s), AgentProcess::lineTimeoutMs, mark))
        << text(agent.linesSince(mark));
    EXPECT_TRUE(Desktop::windowGone(u"Quillet 框选"_s, 5000));
}

} // namespace
