#pragma once

#include <QPointer>
#include <QSet>
#include <xcb/xcb.h>

class XcbEventConnection;

// The processes that own a top-level window the window manager manages: _NET_CLIENT_LIST on
// the root, each window's _NET_WM_PID. Read again only after the list changed (a property
// change on the root), and only when asked. Main thread only.
class X11ClientWindowPids {
public:
    explicit X11ClientWindowPids(XcbEventConnection& connection);
    ~X11ClientWindowPids();

    void start();
    void stop();
    bool hasManagedWindow(qint32 pid);
    // The process that set the window's _NET_WM_PID; 0 when none did or there is no window.
    qint32 pidOfWindow(quint32 window);

private:
    void reread();
    bool atomsKnown();

    QPointer<XcbEventConnection> m_connection;
    int m_listener = -1;
    bool m_stale = true;
    QSet<qint32> m_pids;
    xcb_atom_t m_clientList = XCB_ATOM_NONE;
    xcb_atom_t m_wmPid = XCB_ATOM_NONE;
};
