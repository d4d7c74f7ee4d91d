#include "capture/PointerDwellMonitor.h"

#include "harness/ManualTimers.h"
#include "harness/QtPrinters.h"
#include "harness/ScriptedPointerSampler.h"
#include "logs/EventLog.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

constexpr quint32 alt = PointerSampler::option;
constexpr quint32 shift = PointerSampler::shift;

// The monitor stepped by hand: each call is one sample, `at` seconds after the start.
class PointerDwellMonitorTest : public testing::Test {
protected:
    PointerDwellMonitorTest() {
        monitor.setCallbacks({
            .holdAnnounced = [this] { events.append(u"hold"_s); },
            .holdEnded = [this] { events.append(u"end"_s); },
            .dwell =
                [this](QPointF point) {
                    events.append(u"dwell %1,%2"_s.arg(point.x()).arg(point.y()));
                },
            .doubleTap = [this] { events.append(u"tap tap"_s); },
        });
    }

    void sample(double at, quint32 flags, QPointF where = {100, 100}, int buttons = 0) {
        monitor.step({.date = at,
                      .flags = flags,
                      .location = where,
                      .mouseButtons = buttons,
                      .keyDownAgo = at - lastKeyDown});
    }
    // Samples every 40 ms from `from` to `to`, holding `flags` at `where`.
    void hold(double from, double to, quint32 flags, QPointF where = {100, 100}) {
        for (double t = from; t <= to + 1e-9; t += 0.04)
            sample(t, flags, where);
    }
    QStringList lines() const {
        QStringList texts;
        for (const EventLog::Entry& entry : log.entries())
            texts.prepend(entry.text);
        return texts;
    }

    EventLog log{{}, false};
    ScriptedPointerSampler sampler;
    ManualTimers timers;
    PointerDwellMonitor monitor{sampler, log, timers, [] {
                                    return 0.0;
                                }};
    QStringList events;
    double lastKeyDown = -100; // long ago
};

TEST_F(PointerDwellMonitorTest, TwoQuickTapsAreOneDoubleTapAndAThirdStartsANewPair) {
    sample(0.0, alt);
    sample(0.1, 0); // a 0.1 s tap
    sample(0.4, alt);
    sample(0.5, 0); // pressed 0.3 s after the first ended
    EXPECT_EQ(events, QStringList{u"tap tap"_s});
    EXPECT_EQ(lines(), QStringList{u"悬停取词｜连按两下 Alt"_s});

    sample(0.6, alt);
    sample(0.7, 0);
    EXPECT_EQ(events.count(u"tap tap"_s), 1) << "the third tap only begins a pair";
    sample(0.8, alt);
    sample(0.9, 0);
    EXPECT_EQ(events.count(u"tap tap"_s), 2);
}

TEST_F(PointerDwellMonitorTest, SlowLongOrSpoiledPressesAreNoTaps) {
    // Too far apart.
    sample(0.0, alt);
    sample(0.1, 0);
    sample(0.6, alt);
    sample(0.7, 0);
    // A press held too long between two taps breaks the pair.
    sample(2.0, alt);
    sample(2.1, 0);
    sample(2.2, alt);
    sample(2.5, 0);
    sample(2.6, alt);
    sample(2.7, 0);
    // Alt with Shift joining in.
    sample(4.0, alt);
    sample(4.05, alt | shift);
    sample(4.1, 0);
    sample(4.2, alt);
    sample(4.3, 0);
    // A mouse button held through the press.
    sample(6.0, alt, {100, 100}, 1);
    sample(6.1, 0);
    sample(6.2, alt);
    sample(6.3, 0);
    EXPECT_FALSE(events.contains(u"tap tap"_s)) << events.join(u"; "_s).toStdString();
}

TEST_F(PointerDwellMonitorTest, TypingDuringAHoldSpoilsTheTapAndTheDwellWithOneLine) {
    sample(0.0, alt);
    lastKeyDown = 0.05; // Alt+Tab, say
    hold(0.08, 1.0, alt);
    sample(1.04, 0);
    EXPECT_EQ(lines(), QStringList{u"悬停取词｜按着 Alt 打了字，这次不取"_s});
    EXPECT_FALSE(events.contains(u"hold"_s));
    EXPECT_FALSE(events.join(u";"_s).contains(u"dwell"_s));
    sample(1.1, alt);
    sample(1.2, 0);
    EXPECT_FALSE(events.contains(u"tap tap"_s)) << "the spoiled press ended the pair";
}

TEST_F(PointerDwellMonitorTest, AHoldAnnouncesItselfAndFiresOncePerRestingPosition) {
    hold(0.0, 1.0, alt);
    EXPECT_EQ(events, (QStringList{u"hold"_s, u"dwell 100,100"_s}));
    // Within 3 points on each axis the pointer is still.
    hold(1.04, 2.0, alt, {102, 102});
    EXPECT_EQ(events.count(u"dwell 100,100"_s), 1);
    // Four points on one axis is a new position, which rests again before it fires.
    sample(2.04, alt, {104, 100});
    sample(2.2, alt, {104, 100});
    EXPECT_EQ(events.size(), 2);
    sample(2.25, alt, {104, 100});
    EXPECT_EQ(events.last(), u"dwell 104,100"_s);
    sample(2.3, 0, {104, 100});
    EXPECT_EQ(events.last(), u"end"_s);
}

TEST_F(PointerDwellMonitorTest, NoDwellWithAnotherModifierAButtonOrInTheMenuBar) {
    hold(0.0, 1.0, alt | shift);
    EXPECT_TRUE(events.isEmpty()) << "Alt+Shift is not the key alone";

    sampler.menuBar = QRectF(0, 0, 1920, 28);
    hold(2.0, 3.0, alt, {500, 10});
    EXPECT_EQ(events, QStringList{u"hold"_s}) << "announced, but nothing fires over the menu bar";
    sample(3.1, 0, {500, 10});

    events.clear();
    for (double t = 4.0; t < 5.0; t += 0.04)
        sample(t, alt, {300, 300}, 1);
    EXPECT_FALSE(events.join(u";"_s).contains(u"dwell"_s)) << "a button is down: a drag";
}

TEST_F(PointerDwellMonitorTest, ChosenKeyIsTheOnlyKeyThatArms) {
    monitor.setKey(Settings::PointerKey::command);
    hold(0.0, 1.0, alt);
    EXPECT_TRUE(events.isEmpty());
    hold(2.0, 3.0, PointerSampler::command);
    EXPECT_EQ(events, (QStringList{u"hold"_s, u"dwell 100,100"_s}));
    sample(3.1, 0);
    sample(3.2, PointerSampler::command);
    sample(3.3, 0);
    sample(3.4, PointerSampler::command);
    sample(3.5, 0);
    EXPECT_EQ(lines().last(), u"悬停取词｜连按两下 Super"_s);
}

// The monitor sampling on its own timer, on a clock the test moves.
class PointerDwellMonitorTimer : public testing::Test {
protected:
    PointerDwellMonitorTimer() {
        monitor.setCallbacks({.dwell = [this](QPointF) { ++dwells; },
                              .doubleTap =
                                  [this] {
                                      ++doubleTaps;
                                  }});
    }

    EventLog log{{}, false};
    ScriptedPointerSampler sampler;
    ManualTimers timers;
    PointerDwellMonitor monitor{sampler, log, timers, [this] {
                                    return timers.now().count() / 1000.0;
                                }};
    int dwells = 0;
    int doubleTaps = 0;
};

TEST_F(PointerDwellMonitorTimer, SamplesEvery40MsOnlyWhileRunning) {
    sampler.state.flags = alt;
    timers.advance(1s);
    EXPECT_EQ(sampler.samples(), 0);
    EXPECT_TRUE(monitor.start());
    EXPECT_TRUE(sampler.isRunning());
    timers.advance(400ms);
    EXPECT_EQ(sampler.samples(), 10);
    EXPECT_EQ(dwells, 1);
    monitor.stop();
    EXPECT_FALSE(sampler.isRunning());
    EXPECT_EQ(timers.pending(), 0);
    timers.advance(1s);
    EXPECT_EQ(sampler.samples(), 10);
}

TEST_F(PointerDwellMonitorTimer, SamplingRestsWithoutAModifierAndWakesOnOne) {
    monitor.start();
    timers.advance(2s);
    EXPECT_FALSE(monitor.isSampling()) << "nothing held for half a second";
    EXPECT_TRUE(monitor.isRunning());
    const int restingSamples = sampler.samples();
    timers.advance(5s);
    EXPECT_EQ(sampler.samples(), restingSamples);

    // A double tap from rest: the first press wakes the sampling in time to see both taps.
    for (quint32 flags : {alt, 0u, alt, 0u}) {
        sampler.setFlags(flags);
        timers.advance(80ms);
    }
    EXPECT_EQ(doubleTaps, 1);
    // A hold over a still pointer after rest fires as if sampling had never rested.
    timers.advance(1s);
    EXPECT_FALSE(monitor.isSampling());
    sampler.setFlags(alt);
    timers.advance(400ms);
    EXPECT_EQ(dwells, 1);
    monitor.stop();
    sampler.setFlags(0);
    sampler.setFlags(alt);
    EXPECT_FALSE(monitor.isSampling()) << "a stopped monitor is not woken";
}

} // namespace
