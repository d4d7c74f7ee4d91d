#include "ui/DesktopSessionDetection.h"

#include <QGuiApplication>

using namespace Qt::StringLiterals;

DesktopSession detectDesktopSession() {
    const QString platform = QGuiApplication::platformName();
    if (platform == u"wayland"_s)
        return DesktopSession::wayland;
    if (platform != u"xcb"_s)
        return DesktopSession::other;
    if (qEnvironmentVariable("XDG_SESSION_TYPE") == u"wayland"_s ||
        qEnvironmentVariableIsSet("WAYLAND_DISPLAY"))
        return DesktopSession::wayland;
    return DesktopSession::x11;
}
