#include "platform/linux/capture/ClickCounter.h"

#include <gtest/gtest.h>

// A 400 ms interval and 5 pixels, as a desktop typically sets them.
class ClickCounterTest : public testing::Test {
protected:
    ClickCounter clicks{400, 5};
};

TEST_F(ClickCounterTest, pressesInARowCountUpWithinIntervalAndDistance) {
    EXPECT_EQ(clicks.press(1000, {100, 100}), 1);
    EXPECT_EQ(clicks.press(1400, {105, 95}), 2); // both limits inclusive
    EXPECT_EQ(clicks.press(1700, {104, 97}), 3); // measured from the press before, not the first
    EXPECT_EQ(clicks.press(2000, {100, 100}), 4);
}

TEST_F(ClickCounterTest, aPressTooLateOrTooFarStartsAgain) {
    struct Case {
        const char* name;
        quint32 time;
        QPoint position;
    };
    const Case cases[] = {
        {"one millisecond late", 1401, {100, 100}},
        {"six pixels across", 1100, {106, 100}},
        {"six pixels down", 1100, {100, 94}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.name);
        ClickCounter fresh{400, 5};
        ASSERT_EQ(fresh.press(1000, {100, 100}), 1);
        ASSERT_EQ(fresh.press(c.time, c.position), 1);
        // The lone press begins the next run.
        EXPECT_EQ(fresh.press(c.time + 100, c.position), 2);
    }
}

TEST_F(ClickCounterTest, theServerClockWrappingKeepsTheRunWhileGoingBackOrAResetEndsIt) {
    EXPECT_EQ(clicks.press(0xffffff00u, {10, 10}), 1);
    EXPECT_EQ(clicks.press(0x00000050u, {10, 10}), 2); // 336 ms later, past the wrap
    // A clock that went back (another server, a reset) must not read as a fast double click.
    EXPECT_EQ(clicks.press(0x00000040u, {10, 10}), 1);
    clicks.reset();
    EXPECT_EQ(clicks.press(0x00000100u, {10, 10}), 1);
}
