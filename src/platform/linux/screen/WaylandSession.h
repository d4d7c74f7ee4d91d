#pragma once

#include <QtGlobal>

// A Wayland session shows X clients only their own windows: the screen cannot be read
// through X, and there is no other way in yet.
inline bool isWaylandSession() {
    return qEnvironmentVariableIsSet("WAYLAND_DISPLAY") ||
           qEnvironmentVariable("XDG_SESSION_TYPE")
                   .compare(QLatin1StringView("wayland"), Qt::CaseInsensitive) == 0;
}
