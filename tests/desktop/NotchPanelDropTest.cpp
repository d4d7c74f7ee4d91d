// The panel dropping down on a real X server: laid out and painted once, revealed by the
// window's shape, with what it reveals really on screen.
#include "PanelFixtures.h"
#include "ui/HeadlineView.h"
#include "ui/NotchWindow.h"

#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QScreen>
#include <gtest/gtest.h>

using namespace PanelFixtures;

namespace {

// Counts what the window goes through while it drops.
class WindowEvents : public QObject {
public:
    int resizes = 0;
    int paints = 0;

protected:
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Resize)
            ++resizes;
        else if (event->type() == QEvent::Paint)
            ++paints;
        return false;
    }
};

// Text on the panel is light on a near-black ground; an empty or undrawn area has none.
int lightPixels(QWidget* widget) {
    const QRect area(widget->mapToGlobal(QPoint()), widget->size());
    const QImage image = QGuiApplication::primaryScreen()
                             ->grabWindow(0, area.x(), area.y(), area.width(), area.height())
                             .toImage();
    int light = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            light += qGray(image.pixel(x, y)) > 128;
    }
    return light;
}

class NotchPanelDrop : public testing::Test {
protected:
    void SetUp() override {
        if (QGuiApplication::platformName() != u"xcb"_s)
            GTEST_SKIP() << "needs the X11 session of tests/harness/desktop-session";
        NotchPanel::Timings timings = fastTimings();
        timings.autoHide = 10000ms;
        timings.animation = 400ms; // slow enough to look at mid-way
        panel = std::make_unique<NotchPanel>(timings);
        panel->showAtRest();
        window = qobject_cast<NotchWindow*>(panel->window());
        ASSERT_NE(window, nullptr);
        ASSERT_TRUE(QTest::qWaitForWindowExposed(window));
        QTest::qWait(50);
        window->installEventFilter(&events);
    }

    std::unique_ptr<NotchPanel> panel;
    NotchWindow* window = nullptr;
    WindowEvents events;
};

TEST_F(NotchPanelDrop, TheAnswerIsLaidOutOnceAndReadableWhileTheRestIsRevealed) {
    ASSERT_TRUE(panel->show(wordResult(), true));
    auto* headline = window->findChild<HeadlineView*>();
    ASSERT_NE(headline, nullptr);
    QAbstractButton* copy = button(*panel, u"copyButton"_s);
    ASSERT_NE(copy, nullptr);
    ASSERT_TRUE(QTest::qWaitFor([&] { return events.paints > 0; }));
    QTest::qWait(30);
    ASSERT_TRUE(window->isMoving()) << "the drop ended before the test could look";
    EXPECT_GT(lightPixels(headline), 20) << "the headline shows from the first frames";

    ASSERT_TRUE(QTest::qWaitFor([&] { return !window->isMoving(); }));
    QTest::qWait(50);
    EXPECT_LE(events.resizes, 1) << "the window takes its final size once";
    EXPECT_LE(events.paints, 3) << "frames reveal what is painted, they do not repaint it";
    EXPECT_GT(lightPixels(copy), 10) << "the last part revealed is on screen too";
}

TEST_F(NotchPanelDrop, FoldingBackEndsAsThePillAtTheTopCentre) {
    ASSERT_TRUE(panel->show(wordResult(), true));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !window->isMoving(); }));
    panel->collapse();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !window->isMoving(); }));
    const QRect screen = window->screen()->geometry();
    EXPECT_EQ(window->size(), QSize(176, 26));
    EXPECT_EQ(window->geometry().top(), screen.top());
    EXPECT_LE(std::abs(window->geometry().center().x() - screen.center().x()), 1);

    // Opening again while it folds drops from where the fold had got to.
    ASSERT_TRUE(panel->show(wordResult(u"river"_s), true));
    panel->collapse();
    ASSERT_TRUE(panel->show(wordResult(), true));
    ASSERT_TRUE(QTest::qWaitFor([&] { return !window->isMoving(); }));
    EXPECT_GT(window->width(), 300);
}

} // namespace
