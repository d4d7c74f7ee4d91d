#include "platform/WindowRequests.h"

#include <QGuiApplication>
#include <xcb/xcb.h>

namespace WindowRequests {

// Qt writes its X11 requests into libxcb's buffer and flushes it when it paints or reads
// events; elsewhere (Wayland, offscreen) there is nothing to send.
void send() {
    if (auto* x11 =
            qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr)
        xcb_flush(x11->connection());
}

} // namespace WindowRequests
