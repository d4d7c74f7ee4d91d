#pragma once

#include "core/CapabilityModel.h"

// The desktop this program runs on, from the Qt platform and the session's environment. A
// program on XWayland sees only the other X programs, so that counts as Wayland.
DesktopSession detectDesktopSession();
