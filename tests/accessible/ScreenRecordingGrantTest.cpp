// Reading the screen needs no grant on X11; a Wayland session does not show other programs'
// windows to an X client, so there the grant is missing.
#include "platform/linux/atspi/AtspiAccessibilityGrant.h"

#include <gtest/gtest.h>

TEST(ScreenRecordingGrant, isThereOnX11AndMissingUnderWayland) {
    qunsetenv("WAYLAND_DISPLAY");
    qunsetenv("XDG_SESSION_TYPE");
    AtspiAccessibilityGrant grant;
    EXPECT_TRUE(grant.isGranted(SystemPermissions::Kind::screenRecording));
    qputenv("XDG_SESSION_TYPE", "wayland");
    EXPECT_FALSE(grant.isGranted(SystemPermissions::Kind::screenRecording));
    qputenv("XDG_SESSION_TYPE", "x11");
    qputenv("WAYLAND_DISPLAY", "wayland-0");
    EXPECT_FALSE(grant.isGranted(SystemPermissions::Kind::screenRecording));
    qunsetenv("WAYLAND_DISPLAY");
    EXPECT_TRUE(grant.isGranted(SystemPermissions::Kind::screenRecording));
}
