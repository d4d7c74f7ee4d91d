#include "platform/WindowRequests.h"

#include <QGuiApplication>
#include <cstdlib>
#include <xcb/xcb.h>

namespace WindowRequests {

namespace {

xcb_connection_t* qtConnection() {
    auto* x11 = qGuiApp ? qGuiApp->nativeInterface<QNativeInterface::QX11Application>() : nullptr;
    return x11 ? x11->connection() : nullptr;
}

} // namespace

// Qt writes its X11 requests into libxcb's buffer and flushes it when it paints or reads
// events; elsewhere (Wayland, offscreen) there is nothing to send.
void send() {
    if (xcb_connection_t* connection = qtConnection())
        xcb_flush(connection);
}

// The server answers requests in order, so once the cheapest request with a reply has its
// answer, everything sent before it has been carried out.
void sync() {
    if (xcb_connection_t* connection = qtConnection())
        std::free(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
}

} // namespace WindowRequests
