// The strip above the work area where no dwell is reported, as the window manager's work
// area and the panels' struts draw it on one or two monitors.
#include "platform/linux/capture/MenuStrip.h"

#include <gtest/gtest.h>

namespace {

// Two 1280×800 monitors side by side.
constexpr int monitorWidth = 1280;

} // namespace

TEST(MenuStrip, withoutAWorkAreaNothingIsTheMenuBar) {
    const MenuStrip strip;
    EXPECT_FALSE(strip.contains({10, 0}));
    EXPECT_FALSE(strip.contains({10, 10}));
}

TEST(MenuStrip, aFullWidthPanelMakesTheStripAboveTheWorkArea) {
    MenuStrip strip{QRect(0, 28, 2 * monitorWidth, 772), {}};
    EXPECT_TRUE(strip.contains({0, 0}));
    EXPECT_TRUE(strip.contains({2 * monitorWidth - 1, 27.5}));
    EXPECT_FALSE(strip.contains({100, 28})); // the work area's first row
    EXPECT_FALSE(strip.contains({100, -1})); // off the desktop
    // A panel at the bottom leaves the top to the work area.
    strip.workArea = QRect(0, 0, 2 * monitorWidth, 772);
    EXPECT_FALSE(strip.contains({100, 5}));
}

TEST(MenuStrip, aPanelOnOneMonitorIsNoMenuBarOnTheOther) {
    // The window manager takes the left monitor's panel off the top of the whole desktop;
    // the panel's strut says it covers the left monitor only.
    const MenuStrip strip{QRect(0, 30, 2 * monitorWidth, 770), {{30, 0, monitorWidth - 1}}};
    EXPECT_TRUE(strip.contains({10, 10}));
    EXPECT_TRUE(strip.contains({monitorWidth - 1, 29}));
    EXPECT_FALSE(strip.contains({monitorWidth, 10}));
    EXPECT_FALSE(strip.contains({monitorWidth + 400, 10}));
}

TEST(MenuStrip, panelsOfDifferentHeightsEachCoverTheirOwnColumns) {
    const MenuStrip strip{QRect(0, 40, 2 * monitorWidth, 760),
                          {{24, 0, monitorWidth - 1}, {40, monitorWidth, 2 * monitorWidth - 1}}};
    EXPECT_TRUE(strip.contains({100, 20}));
    EXPECT_FALSE(strip.contains({100, 30})); // below the shorter panel
    EXPECT_TRUE(strip.contains({monitorWidth + 100, 30}));
}
