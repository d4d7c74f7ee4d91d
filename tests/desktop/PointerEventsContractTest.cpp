// What the selection watcher relies on from global pointer events, checked against the
// scripted fake the unit tests use and against the XInput adapter on a real X server.
//
// xdotool's input reaches the server through XTEST, which the adapter ignores so that the
// program's own simulated copy never counts as a gesture. The desktop bench therefore turns
// that filter off to let xdotool stand in for a hand; a test of its own shows the filter on
// (the default) drops those very events while a second, unfiltered adapter sees them.
#include "X11TestInput.h"
#include "harness/ScriptedPointerEvents.h"
#include "platform/linux/capture/XInputPointerEvents.h"

#include <QTest>
#include <functional>
#include <gtest/gtest.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

using Event = GlobalPointerEvents::Event;
using Kind = Event::Kind;

struct Scripted {
    static constexpr bool isScripted = true;
    ScriptedPointerEvents events;

    bool dragAcross(QPoint from, QPoint to, const std::function<bool()>&) {
        events.dragAcross(from, to);
        return true;
    }
    bool click(QPoint at) {
        events.click(at);
        return true;
    }
    bool doubleClick(QPoint at) {
        events.click(at, 1);
        events.click(at, 2);
        return true;
    }
    void settle() {}
};

QStringList at(QPoint p) {
    return {QStringLiteral("mousemove"), QString::number(p.x()), QString::number(p.y())};
}

QStringList nudge(int step) {
    return {u"mousemove_relative"_s, u"--"_s, QString::number(step), QString::number(step)};
}

struct Desktop {
    static constexpr bool isScripted = false;
    XcbEventConnection connection;
    XInputPointerEvents events{
        connection,
        {.doubleClickIntervalMs = 400, .doubleClickDistance = 5, .ignoreSyntheticDevices = false}};

    // The pointer is asked where it is when the press is read, so the press is read before
    // the pointer moves on, as it is when a hand moves it. xdotool's absolute moves warp the
    // pointer, which makes no raw motion; its relative moves go through the device, as a
    // mouse's do, and the warp after them puts the pointer exactly where the drag ends.
    bool dragAcross(QPoint from, QPoint to, const std::function<bool()>& pressed) {
        return xdotool(at(from) + QStringList{u"mousedown"_s, u"1"_s}) && pressed() &&
               xdotool(nudge(2) + nudge(2) + at(to) + QStringList{u"mouseup"_s, u"1"_s});
    }
    bool click(QPoint p) { return xdotool(at(p) + QStringList{u"click"_s, u"1"_s}); }
    bool doubleClick(QPoint p) {
        return xdotool(
            at(p) + QStringList{u"click"_s, u"--repeat"_s, u"2"_s, u"--delay"_s, u"60"_s, u"1"_s});
    }
    void settle() { ::settle(connection); }
};

template <typename Bench> class PointerEventsContract : public testing::Test {
protected:
    Bench bench;
    std::vector<Event> seen;

    void SetUp() override {
        ASSERT_TRUE(bench.events.start([this](const Event& e) { seen.push_back(e); }));
    }

    // Waits for the `count`th release.
    bool released(int count) {
        const auto releases = [&] {
            return std::count_if(seen.begin(), seen.end(),
                                 [](const Event& e) { return e.kind == Kind::release; });
        };
        const bool arrived = QTest::qWaitFor([&] { return releases() >= count; }, 5000);
        bench.settle();
        return arrived;
    }
    std::vector<Kind> kinds() const {
        std::vector<Kind> result;
        for (const Event& e : seen)
            if (result.empty() || e.kind != Kind::drag || result.back() != Kind::drag)
                result.push_back(e.kind); // a run of drags as one
        return result;
    }
};

using Benches = testing::Types<Scripted, Desktop>;
TYPED_TEST_SUITE(PointerEventsContract, Benches, ScriptedOrDesktop);

} // namespace

TYPED_TEST(PointerEventsContract, aDragGoesDownWhereItStartsAndUpWhereItEnds) {
    const auto pressed = [this] {
        return QTest::qWaitFor([&] { return !this->seen.empty(); }, 5000);
    };
    ASSERT_TRUE(this->bench.dragAcross({200, 200}, {320, 240}, pressed));
    ASSERT_TRUE(this->released(1));

    ASSERT_EQ(this->kinds(), (std::vector{Kind::press, Kind::drag, Kind::release}));
    EXPECT_EQ(this->seen.front().position, QPointF(200, 200));
    EXPECT_EQ(this->seen.front().clickCount, 1);
    EXPECT_EQ(this->seen[this->seen.size() - 2].position, QPointF(320, 240)); // the last drag
    EXPECT_EQ(this->seen.back().position, QPointF(320, 240));
    EXPECT_EQ(this->seen.back().clickCount, 1);
    for (std::size_t i = 1; i < this->seen.size(); ++i)
        EXPECT_GE(this->seen[i].serverTime, this->seen[i - 1].serverTime) << "event " << i;
    EXPECT_GT(this->seen.front().serverTime, 0u);
}

TYPED_TEST(PointerEventsContract, clicksCountWithoutDrags) {
    ASSERT_TRUE(this->bench.click({400, 400}));
    ASSERT_TRUE(this->released(1));
    // Far from the first click: a run of its own.
    ASSERT_TRUE(this->bench.doubleClick({600, 300}));
    ASSERT_TRUE(this->released(3));

    ASSERT_EQ(this->kinds(), (std::vector{Kind::press, Kind::release, Kind::press, Kind::release,
                                          Kind::press, Kind::release}));
    const std::vector<int> counts = {1, 1, 1, 1, 2, 2};
    for (std::size_t i = 0; i < counts.size(); ++i)
        EXPECT_EQ(this->seen[i].clickCount, counts[i]) << "event " << i;
    EXPECT_EQ(this->seen[0].position, QPointF(400, 400));
    EXPECT_EQ(this->seen[5].position, QPointF(600, 300));
}

TYPED_TEST(PointerEventsContract, stopEndsTheReportsAndStartingAgainResumesThem) {
    this->bench.events.stop();
    ASSERT_TRUE(this->bench.click({300, 300}));
    this->bench.settle();
    EXPECT_TRUE(this->seen.empty());

    std::vector<Event> again;
    ASSERT_TRUE(this->bench.events.start([&](const Event& e) { again.push_back(e); }));
    ASSERT_TRUE(this->bench.click({310, 300}));
    ASSERT_TRUE(QTest::qWaitFor([&] { return again.size() >= 2; }, 5000));
    EXPECT_TRUE(this->seen.empty());
    EXPECT_EQ(again.back().kind, Kind::release);
}

// The desktop alone.

TEST(XInputPointerEvents, syntheticInputIsIgnoredUnlessAskedFor) {
    XcbEventConnection filteredConnection;
    XcbEventConnection plainConnection;
    XInputPointerEvents filtered(filteredConnection, {});
    XInputPointerEvents plain(plainConnection, {.ignoreSyntheticDevices = false});
    std::vector<Event> filteredSeen;
    std::vector<Event> plainSeen;
    ASSERT_TRUE(filtered.start([&](const Event& e) { filteredSeen.push_back(e); }));
    ASSERT_TRUE(plain.start([&](const Event& e) { plainSeen.push_back(e); }));

    ASSERT_TRUE(xdotool(at({500, 500}) + QStringList{u"mousedown"_s, u"1"_s} + at({560, 520}) +
                        QStringList{u"mouseup"_s, u"1"_s}));
    ASSERT_TRUE(QTest::qWaitFor(
        [&] { return !plainSeen.empty() && plainSeen.back().kind == Kind::release; }, 5000));
    settle(filteredConnection);
    EXPECT_TRUE(filteredSeen.empty()) << filteredSeen.size() << " events";
}

TEST(XInputPointerEvents, otherButtonsAreNotGestures) {
    Desktop bench;
    std::vector<Event> seen;
    ASSERT_TRUE(bench.events.start([&](const Event& e) { seen.push_back(e); }));
    // Button 8 ("back"): the window manager binds nothing to it on the root window.
    ASSERT_TRUE(xdotool(at({300, 300}) + QStringList{u"mousedown"_s, u"8"_s} + at({400, 350}) +
                        QStringList{u"mouseup"_s, u"8"_s}));
    ASSERT_TRUE(bench.click({420, 350})); // the control: this one does arrive
    ASSERT_TRUE(QTest::qWaitFor([&] { return seen.size() >= 2; }, 5000));
    bench.settle();
    ASSERT_EQ(seen.size(), 2u);
    EXPECT_EQ(seen[0].kind, Kind::press);
    EXPECT_EQ(seen[0].position, QPointF(420, 350));
}

TEST(XInputPointerEvents, aBurstOfMotionCostsOneDrag) {
    Desktop bench;
    std::vector<Event> seen;
    ASSERT_TRUE(bench.events.start([&](const Event& e) { seen.push_back(e); }));
    // Fifty moves in one go: they are all waiting when the connection is next read.
    QStringList moves = at({100, 100}) + QStringList{u"mousedown"_s, u"1"_s};
    for (int i = 1; i <= 50; ++i)
        moves += nudge(1);
    ASSERT_TRUE(xdotool(moves));
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return !seen.empty() && seen.back().kind == Kind::drag; }, 5000));
    bench.settle();
    const auto drags = std::count_if(seen.begin(), seen.end(),
                                     [](const Event& e) { return e.kind == Kind::drag; });
    EXPECT_LE(drags, 2) << "one pointer query per burst";
    EXPECT_EQ(seen.back().position, QPointF(150, 150));
    ASSERT_TRUE(xdotool({u"mouseup"_s, u"1"_s}));
}
