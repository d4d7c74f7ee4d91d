#pragma once

#include <QPointF>
#include <QPointer>
#include <optional>
#include <xcb/xcb.h>

class XcbEventConnection;

// The top-level window at a point of the X desktop, and the process that shows it.
class X11WindowAtPoint {
public:
    explicit X11WindowAtPoint(XcbEventConnection& connection);

    // The process of the window at `point` (its _NET_WM_PID): nothing when no window is
    // there, 0 when the window does not say. Two round trips per level of windows crossed
    // (the window manager's frame, then the application's window): four or so.
    std::optional<qint64> processAt(QPointF point) const;

private:
    QPointer<XcbEventConnection> m_connection;
    xcb_atom_t m_pid = XCB_ATOM_NONE;
    xcb_atom_t m_state = XCB_ATOM_NONE;
};
