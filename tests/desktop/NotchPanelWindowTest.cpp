#include "PanelFixtures.h"
#include "harness/XClients.h"

#include <QApplication>
#include <QGuiApplication>
#include <QScreen>
#include <QStandardPaths>
#include <gtest/gtest.h>

using namespace PanelFixtures;
using State = NotchPanel::State;

namespace {

class NotchPanelWindow : public testing::Test {
protected:
    void SetUp() override {
        if (QGuiApplication::platformName() != u"xcb"_s)
            GTEST_SKIP() << "needs the X11 session of tests/harness/desktop-session";
        if (QStandardPaths::findExecutable(u"xdotool"_s).isEmpty())
            GTEST_SKIP() << "xdotool is missing (scripts/setup installs it)";
        restPointer();
        NotchPanel::Timings timings = fastTimings();
        timings.autoHide = 10000ms; // stays open while the test clicks on it
        timings.animation = 120ms;  // the real growth, as users see it
        panel = std::make_unique<NotchPanel>(timings);
        panel->setActions(recorder.actions());
    }

    void TearDown() override { restPointer(); }

    // Well below the panel, so crossing events only come when a test asks for them.
    static void restPointer() {
        const QRect screen = QGuiApplication::primaryScreen()->geometry();
        xdotool({u"mousemove"_s, QString::number(screen.center().x()),
                 QString::number(screen.bottom() - 20)});
    }

    // Focus belongs to an ordinary window, as when the user reads in another application.
    QWidget* activeReader() {
        reader = std::make_unique<QWidget>();
        reader->setWindowTitle(u"reader"_s);
        reader->setGeometry(200, 300, 400, 300);
        reader->show();
        reader->activateWindow();
        return QTest::qWaitForWindowActive(reader.get()) ? reader.get() : nullptr;
    }

    static QPoint centreOf(QWidget* widget) { return widget->mapToGlobal(widget->rect().center()); }

    Recorder recorder;
    std::unique_ptr<NotchPanel> panel;
    std::unique_ptr<QWidget> reader;
};

TEST_F(NotchPanelWindow, HangsFromTheTopCentreOfTheScreen) {
    panel->show(wordResult(), true);
    QWidget* window = panel->window();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window));
    ASSERT_TRUE(QTest::qWaitFor([&] { return window->width() > 300; }));
    QTest::qWait(200); // let the growth finish

    const QRect screen = window->screen()->geometry();
    const QRect frame = window->frameGeometry();
    EXPECT_EQ(frame.top(), screen.top());
    EXPECT_LE(std::abs(frame.center().x() - screen.center().x()), 1);
    EXPECT_EQ(window->objectName(), u"QuilletPanel"_s);

    panel->collapse();
    ASSERT_TRUE(QTest::qWaitFor([&] { return window->width() < 200; }));
    EXPECT_EQ(window->frameGeometry().top(), screen.top());
}

TEST_F(NotchPanelWindow, ShowingAndClickingNeverTakesFocus) {
    QWidget* active = activeReader();
    ASSERT_NE(active, nullptr);

    panel->showLoading(u"water"_s, true);
    panel->show(wordResult(), true);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(panel->window()));
    QTest::qWait(300);
    EXPECT_EQ(QApplication::activeWindow(), active);
    EXPECT_FALSE(panel->window()->isActiveWindow());

    QAbstractButton* star = button(*panel, u"starButton"_s);
    const QPoint target = centreOf(star);
    ASSERT_TRUE(xdotool({u"mousemove"_s, QString::number(target.x()), QString::number(target.y()),
                         u"click"_s, u"1"_s}));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !recorder.starToggles.isEmpty(); }));
    QTest::qWait(200);
    EXPECT_EQ(QApplication::activeWindow(), active);
    EXPECT_EQ(recorder.starToggles, QStringList{u"water"_s});
}

TEST_F(NotchPanelWindow, ThePointerOpensThePillAndLeavingFoldsIt) {
    panel->show(wordResult(), true);
    panel->collapse();
    QWidget* window = panel->window();
    ASSERT_TRUE(QTest::qWaitFor([&] { return window->width() < 200; }));

    const QPoint pill = window->mapToGlobal(QPoint(window->width() / 2, 8));
    ASSERT_TRUE(xdotool({u"mousemove"_s, QString::number(pill.x()), QString::number(pill.y())}));
    ASSERT_TRUE(waitForState(*panel, State::result));
    EXPECT_EQ(panel->headlineText(), u"water /ˈwɔːtə/"_s);

    restPointer();
    EXPECT_TRUE(waitForState(*panel, State::collapsed));
}

} // namespace

TEST_F(NotchPanelWindow, WithoutTheIdleNotchTheWindowIsThereOnlyWhileItShowsSomething) {
    QWidget* window = panel->window();
    panel->showAtRest();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window));
    panel->setShowsAtRest(false);
    EXPECT_FALSE(window->isVisible());

    panel->show(wordResult(), true);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window));
    panel->collapse();
    // Gone once the fold ends, not before: the fold itself stays on screen.
    EXPECT_TRUE(window->isVisible());
    ASSERT_TRUE(QTest::qWaitFor([&] { return !window->isVisible(); }));

    panel->setShowsAtRest(true);
    EXPECT_TRUE(window->isVisible());
}
