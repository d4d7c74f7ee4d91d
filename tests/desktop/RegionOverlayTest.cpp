#include "ui/RegionOverlay.h"

#include "X11TestInput.h"
#include "harness/QtPrinters.h"
#include "harness/RunningTask.h"
#include "ui/RegionOverlayWindow.h"

#include <QApplication>
#include <QGuiApplication>
#include <QImage>
#include <QProcess>
#include <QScreen>
#include <QStandardPaths>
#include <QTest>
#include <QWidget>
#include <gtest/gtest.h>
#include <ostream>

using namespace Qt::StringLiterals;

// Boxes in failure messages as numbers, not bytes.
static void PrintTo(const QRect& box, std::ostream* out) {
    *out << "QRect(" << box.x() << "," << box.y() << " " << box.width() << "x" << box.height()
         << ")";
}

namespace {

// What a caller sees the moment pick() returns, before any other event is handled: the box,
// whether an overlay window is still mapped, and what a capture of the screen shows.
struct Return {
    std::optional<QRect> box;
    bool overlayMapped = true;
    QImage screen;
};

bool overlayMapped() {
    // xdotool asks the X server itself: only viewable windows count. It fails when it
    // finds none.
    QProcess search;
    search.start(u"xdotool"_s, {u"search"_s, u"--onlyvisible"_s, u"--name"_s, u"Quillet 框选"_s});
    search.waitForFinished(10000);
    return !search.readAllStandardOutput().trimmed().isEmpty();
}

QCoro::Task<Return> pickAndLook(RegionOverlay& overlay) {
    Return seen;
    seen.box = co_await overlay.pick();
    seen.overlayMapped = overlayMapped();
    seen.screen = QGuiApplication::primaryScreen()->grabWindow(0).toImage();
    co_return seen;
}

class RegionOverlayTest : public testing::Test {
protected:
    void SetUp() override {
        if (QGuiApplication::platformName() != u"xcb"_s)
            GTEST_SKIP() << "needs the X11 session of tests/harness/desktop-session";
        if (QStandardPaths::findExecutable(u"xdotool"_s).isEmpty())
            GTEST_SKIP() << "xdotool is missing (scripts/setup installs it)";
        screen = QGuiApplication::primaryScreen()->geometry();
    }

    // An ordinary white window with the focus, as the page the user reads in.
    void openReader() {
        reader = std::make_unique<QWidget>();
        reader->setWindowTitle(u"reader"_s);
        reader->setAutoFillBackground(true);
        reader->setPalette(QPalette(Qt::white, Qt::white));
        reader->setGeometry(screen.x() + 100, screen.y() + 100, 600, 400);
        reader->show();
        reader->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(reader.get()));
    }

    // Every screen has its overlay window, mapped and holding the keyboard.
    bool overlayOpen() {
        return QTest::qWaitFor([this] {
            const QList<RegionOverlayWindow*> windows = overlay.windows();
            if (windows.size() != QGuiApplication::screens().size())
                return false;
            for (RegionOverlayWindow* window : windows)
                if (!window->isVisible() || !window->windowHandle()->isExposed())
                    return false;
            return QWidget::keyboardGrabber() != nullptr;
        });
    }

    static bool drag(QPoint from, QPoint to) {
        const QPoint middle = (from + to) / 2;
        return xdotool({u"mousemove"_s, QString::number(from.x()), QString::number(from.y()),
                        u"mousedown"_s, u"1"_s, u"mousemove"_s, QString::number(middle.x()),
                        QString::number(middle.y()), u"mousemove"_s, QString::number(to.x()),
                        QString::number(to.y()), u"mouseup"_s, u"1"_s});
    }

    QPoint at(int x, int y) const { return screen.topLeft() + QPoint(x, y); }

    QRect screen;
    RegionOverlay overlay;
    std::unique_ptr<QWidget> reader;
};

TEST_F(RegionOverlayTest, ADragGivesItsBoxAndTheOverlayIsGoneWhenPickReturns) {
    openReader();
    RunningTask<Return> picking(pickAndLook(overlay));
    ASSERT_TRUE(overlayOpen());
    ASSERT_TRUE(overlayMapped()) << "the probe must see the overlay while it is open";

    // Drawn from the lower right to the upper left: the box comes out normalised.
    ASSERT_TRUE(drag(at(450, 350), at(200, 150)));
    const Return& seen = picking.outcome();
    EXPECT_EQ(seen.box, QRect(at(200, 150), at(450, 350)));
    EXPECT_FALSE(seen.overlayMapped);

    // A capture at once sees the reader's own white, neither the dimming nor the outline.
    const QImage& shot = seen.screen;
    for (const QPoint point :
         {at(300, 250), at(200, 150), at(199, 149), at(451, 351), at(150, 130), at(600, 450)})
        EXPECT_EQ(shot.pixelColor(point - screen.topLeft()).name(), u"#ffffff"_s)
            << point.x() << "," << point.y();
    // The reader keeps the focus: the overlay took the keys for a while, never the focus.
    EXPECT_TRUE(QTest::qWaitFor([&] { return QApplication::activeWindow() == reader.get(); }));
}

TEST_F(RegionOverlayTest, EscAClickOrATwitchDrawNothing) {
    openReader();
    {
        RunningTask<Return> picking(pickAndLook(overlay));
        ASSERT_TRUE(overlayOpen());
        ASSERT_TRUE(xdotool({u"key"_s, u"Escape"_s}));
        EXPECT_EQ(picking.outcome().box, std::nullopt);
        EXPECT_FALSE(picking.outcome().overlayMapped);
    }
    {
        RunningTask<Return> picking(pickAndLook(overlay));
        ASSERT_TRUE(overlayOpen());
        ASSERT_TRUE(xdotool({u"mousemove"_s, u"300"_s, u"300"_s, u"click"_s, u"1"_s}));
        EXPECT_EQ(picking.outcome().box, std::nullopt);
    }
    {
        RunningTask<Return> picking(pickAndLook(overlay));
        ASSERT_TRUE(overlayOpen());
        ASSERT_TRUE(drag(at(300, 300), at(303, 297)));
        EXPECT_EQ(picking.outcome().box, std::nullopt);
        EXPECT_FALSE(picking.outcome().overlayMapped);
    }
}

TEST_F(RegionOverlayTest, ASecondPickWhileOneIsOpenAnswersNothingAndLeavesTheFirstOpen) {
    RunningTask<std::optional<QRect>> first(overlay.pick());
    ASSERT_TRUE(overlayOpen());
    RunningTask<std::optional<QRect>> second(overlay.pick());
    ASSERT_TRUE(second.awaitEnd(100));
    EXPECT_EQ(second.outcome(), std::nullopt);
    EXPECT_FALSE(first.finished());
    EXPECT_EQ(overlay.windows().size(), QGuiApplication::screens().size());

    ASSERT_TRUE(drag(at(100, 100), at(140, 120)));
    EXPECT_EQ(first.outcome(), QRect(at(100, 100), at(140, 120)));

    // Once it has returned, the next pick opens the overlay again.
    RunningTask<std::optional<QRect>> third(overlay.pick());
    ASSERT_TRUE(overlayOpen());
    ASSERT_TRUE(xdotool({u"key"_s, u"Escape"_s}));
    EXPECT_EQ(third.outcome(), std::nullopt);
}

// A drag that runs off the screen's edge keeps to the screen it started on.
TEST_F(RegionOverlayTest, ABoxDraggedPastTheScreenEdgeIsClippedToThatScreen) {
    RunningTask<std::optional<QRect>> picking(overlay.pick());
    ASSERT_TRUE(overlayOpen());
    RegionOverlayWindow* window = overlay.windows().first();
    const QRect area = window->area();
    QTest::mousePress(window, Qt::LeftButton, {}, QPoint(30, 20));
    QTest::mouseMove(window, QPoint(-60, -40));
    QTest::mouseRelease(window, Qt::LeftButton, {}, QPoint(-60, -40));
    EXPECT_EQ(picking.outcome(), QRect(area.topLeft(), area.topLeft() + QPoint(30, 20)));

    RunningTask<std::optional<QRect>> toTheCorner(overlay.pick());
    ASSERT_TRUE(overlayOpen());
    window = overlay.windows().first();
    const QPoint pastTheCorner(area.width() + 50, area.height() + 50);
    QTest::mousePress(window, Qt::LeftButton, {}, QPoint(100, 80));
    QTest::mouseMove(window, pastTheCorner);
    QTest::mouseRelease(window, Qt::LeftButton, {}, pastTheCorner);
    EXPECT_EQ(toTheCorner.outcome(), QRect(area.topLeft() + QPoint(100, 80), area.bottomRight()));
}

} // namespace
