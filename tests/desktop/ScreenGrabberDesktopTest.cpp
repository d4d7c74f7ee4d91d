// The X screen grab on a real X server: what a window shows comes back pixel for pixel, and
// read by the recognition path, as text.
#include "RenderedText.h"
#include "harness/RunningTask.h"
#include "platform/linux/screen/TesseractScreenText.h"
#include "platform/linux/screen/XcbScreenGrabber.h"

#include <QPainter>
#include <QTest>
#include <QWidget>
#include <functional>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// A window at a known place on the screen, bypassing the window manager's placement.
class ShownWindow : public QWidget {
public:
    ShownWindow(QRect geometry, std::function<void(QPainter&)> paint)
        : QWidget(nullptr, Qt::X11BypassWindowManagerHint | Qt::FramelessWindowHint),
          m_paint(std::move(paint)) {
        setGeometry(geometry);
        show();
    }
    // Until the server shows what was painted.
    bool awaitShown(XcbScreenGrabber& grabber, QRgb cornerColour) {
        return QTest::qWaitForWindowExposed(this) && QTest::qWaitFor([&] {
                   const auto capture = grabber.grab(QRect(geometry().topLeft(), QSize(1, 1)));
                   return capture && capture->image.pixel(0, 0) == cornerColour;
               });
    }

protected:
    void paintEvent(QPaintEvent*) override {
        QPainter painter(this);
        m_paint(painter);
    }

private:
    std::function<void(QPainter&)> m_paint;
};

using Transfer = XcbScreenGrabber::Transfer;

class ScreenGrabberDesktop : public testing::TestWithParam<Transfer> {};

} // namespace

TEST_P(ScreenGrabberDesktop, capturesWhatAWindowShowsAndClipsToTheScreen) {
    XcbScreenGrabber grabber(GetParam());
    // Four coloured quarters tell a swapped channel, a wrong row stride or an offset.
    const QRect place(200, 150, 120, 80);
    ShownWindow window(place, [](QPainter& painter) {
        painter.fillRect(0, 0, 60, 40, QColor(255, 0, 0));
        painter.fillRect(60, 0, 60, 40, QColor(0, 255, 0));
        painter.fillRect(0, 40, 60, 40, QColor(0, 0, 255));
        painter.fillRect(60, 40, 60, 40, QColor(250, 200, 10));
    });
    ASSERT_TRUE(window.awaitShown(grabber, qRgb(255, 0, 0)));

    const auto capture = grabber.grab(place.adjusted(-5, -5, 5, 5));
    ASSERT_TRUE(capture);
    EXPECT_EQ(capture->area, place.adjusted(-5, -5, 5, 5));
    ASSERT_EQ(capture->image.size(), capture->area.size());
    const QPoint at = place.topLeft() - capture->area.topLeft();
    EXPECT_EQ(capture->image.pixel(at + QPoint(10, 10)), qRgb(255, 0, 0));
    EXPECT_EQ(capture->image.pixel(at + QPoint(110, 10)), qRgb(0, 255, 0));
    EXPECT_EQ(capture->image.pixel(at + QPoint(10, 70)), qRgb(0, 0, 255));
    EXPECT_EQ(capture->image.pixel(at + QPoint(110, 70)), qRgb(250, 200, 10));

    // The same window's corner twice, the second time in a larger grab (a new segment).
    const auto whole = grabber.grab(QRect(0, 0, 1280, 800));
    ASSERT_TRUE(whole);
    EXPECT_EQ(whole->image.pixel(place.topLeft() + QPoint(110, 70)), qRgb(250, 200, 10));

    const auto straddling = grabber.grab(QRect(1200, 760, 200, 100));
    ASSERT_TRUE(straddling);
    EXPECT_EQ(straddling->area, QRect(1200, 760, 80, 40));
    EXPECT_EQ(straddling->image.size(), QSize(80, 40));
    EXPECT_FALSE(grabber.grab(QRect(1300, 0, 100, 100)));
    EXPECT_FALSE(grabber.grab(QRect(-200, -200, 100, 100)));
}

INSTANTIATE_TEST_SUITE_P(Transfers, ScreenGrabberDesktop,
                         testing::Values(Transfer::sharedMemoryWhereOffered, Transfer::socket),
                         [](const testing::TestParamInfo<Transfer>& info) {
                             return info.param == Transfer::socket ? "socket" : "sharedMemory";
                         });

TEST(ScreenTextDesktop, readsTheTextOfAWindowOnTheScreen) {
    const QRect place(100, 300, 560, 90);
    ShownWindow window(place, [](QPainter& painter) {
        painter.fillRect(0, 0, 560, 90, Qt::white);
        QFont font(u"DejaVu Sans"_s);
        font.setPixelSize(15);
        painter.setFont(font);
        painter.setPen(QColor(30, 30, 30));
        painter.drawText(QPointF(12, 30), u"Quiet harbours welcome weary sailors home."_s);
        painter.drawText(QPointF(12, 60), u"The lighthouse keeper counts every ship."_s);
    });
    XcbScreenGrabber probe;
    ASSERT_TRUE(window.awaitShown(probe, qRgb(255, 255, 255)));

    TesseractScreenText reader(XcbScreenGrabber::factory());
    reader.prepare();
    const auto region = finish(reader.read(place, ScreenText::Layout::block, 5s));
    ASSERT_TRUE(std::holds_alternative<ScreenText::Recognition>(region));
    for (const ScreenText::Word& word : std::get<ScreenText::Recognition>(region).words)
        EXPECT_TRUE(QRectF(place).contains(word.box)) << word.text.toStdString();
    EXPECT_EQ(RenderedText::linesOf(std::get<ScreenText::Recognition>(region)),
              QStringList({u"Quiet harbours welcome weary sailors home."_s,
                           u"The lighthouse keeper counts every ship."_s}));

    // "lighthouse", where the pointer would rest on it.
    const QPointF point(place.x() + 80, place.y() + 55);
    const auto around =
        finish(reader.read(QRect(qRound(point.x()) - 160, qRound(point.y()) - 32, 320, 64),
                           ScreenText::Layout::aroundPoint, 2s));
    EXPECT_EQ(RenderedText::wordAt(around, point), u"lighthouse"_s);
}
