#pragma once

#include "platform/FrontmostApplication.h"

#include <QPointer>
#include <xcb/xcb.h>

class XcbEventConnection;

// The active window as the window manager announces it (_NET_ACTIVE_WINDOW), named by its
// WM_CLASS class and its _NET_WM_PID. Three round trips per call.
class X11FrontmostApplication : public FrontmostApplication {
public:
    explicit X11FrontmostApplication(XcbEventConnection& connection);

    std::optional<Application> current() const override;

private:
    xcb_atom_t atom(const char* name) const;

    QPointer<XcbEventConnection> m_connection;
    mutable xcb_atom_t m_activeWindow = XCB_ATOM_NONE;
    mutable xcb_atom_t m_pid = XCB_ATOM_NONE;
};
