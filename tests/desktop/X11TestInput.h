#pragma once

#include "harness/XClients.h"
#include "platform/linux/capture/XcbEventConnection.h"

#include <QCoreApplication>
#include <cstdlib>
#include <string>

// Everything the server sent `connection` before now has been handed to its listeners, and
// what they queued has run: after this, an event that did not arrive is not coming.
inline void settle(XcbEventConnection& connection) {
    xcb_connection_t* c = connection.connection();
    std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    connection.dispatch();
    QCoreApplication::processEvents();
    connection.dispatch();
}

// Names the contract suites' two benches in test names: the scripted fake and the desktop.
struct ScriptedOrDesktop {
    template <typename Bench> static std::string GetName(int) {
        return Bench::isScripted ? "scripted" : "desktop";
    }
};
