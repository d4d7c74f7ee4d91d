#pragma once

#include "platform/linux/capture/MenuStrip.h"

#include <xcb/xcb.h>

// Reads the menu strip of an X desktop: the work area of the current desktop as the window
// manager publishes it on the root window, and the top struts of the clients it manages.
class XcbMenuStrip {
public:
    XcbMenuStrip(xcb_connection_t* connection, xcb_window_t root);

    // Two round trips, and one for the clients' struts.
    MenuStrip read() const;
    // Whether a change of this root window property may move the strip.
    bool dependsOn(xcb_atom_t property) const;

private:
    xcb_connection_t* m_connection;
    xcb_window_t m_root;
    xcb_atom_t m_workArea = XCB_ATOM_NONE;
    xcb_atom_t m_currentDesktop = XCB_ATOM_NONE;
    xcb_atom_t m_clientList = XCB_ATOM_NONE;
    xcb_atom_t m_strutPartial = XCB_ATOM_NONE;
    xcb_atom_t m_strut = XCB_ATOM_NONE;
};
