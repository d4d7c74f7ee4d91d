#include "platform/linux/session/X11ClientWindowPids.h"

#include "platform/linux/capture/XcbEventConnection.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>

namespace {

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};
using PropertyReply = std::unique_ptr<xcb_get_property_reply_t, FreeDeleter>;

// A desktop has tens of windows, not thousands.
constexpr quint32 clientListLongs = 4096;

xcb_atom_t internAtom(xcb_connection_t* c, const char* name) {
    std::unique_ptr<xcb_intern_atom_reply_t, FreeDeleter> reply(
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, quint16(std::strlen(name)), name), nullptr));
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

qint32 pidFrom(const PropertyReply& reply) {
    if (!reply || reply->format != 32 || xcb_get_property_value_length(reply.get()) < 4)
        return 0;
    return qint32(*static_cast<const quint32*>(xcb_get_property_value(reply.get())));
}

} // namespace

X11ClientWindowPids::X11ClientWindowPids(XcbEventConnection& connection)
    : m_connection(&connection) {}

X11ClientWindowPids::~X11ClientWindowPids() {
    stop();
}

bool X11ClientWindowPids::atomsKnown() {
    if (!m_connection || !m_connection->isValid())
        return false;
    if (m_clientList == XCB_ATOM_NONE) {
        m_clientList = internAtom(m_connection->connection(), "_NET_CLIENT_LIST");
        m_wmPid = internAtom(m_connection->connection(), "_NET_WM_PID");
    }
    return m_clientList != XCB_ATOM_NONE && m_wmPid != XCB_ATOM_NONE;
}

void X11ClientWindowPids::start() {
    if (m_listener >= 0 || !atomsKnown())
        return;
    m_stale = true;
    m_connection->selectRootEvents(this, XCB_EVENT_MASK_PROPERTY_CHANGE);
    const xcb_window_t root = m_connection->root();
    m_listener = m_connection->addListener([this, root](const xcb_generic_event_t* event) {
        if ((event->response_type & 0x7f) == XCB_PROPERTY_NOTIFY) {
            const auto* change = reinterpret_cast<const xcb_property_notify_event_t*>(event);
            if (change->window == root && change->atom == m_clientList)
                m_stale = true;
        }
        // Others watch the root's properties too.
        return false;
    });
}

void X11ClientWindowPids::stop() {
    if (m_listener < 0 || !m_connection)
        return;
    m_connection->removeListener(m_listener);
    m_connection->selectRootEvents(this, 0);
    m_listener = -1;
    m_pids.clear();
    m_stale = true;
}

bool X11ClientWindowPids::hasManagedWindow(qint32 pid) {
    if (pid <= 0 || m_listener < 0)
        return false;
    if (m_stale)
        reread();
    return m_pids.contains(pid);
}

qint32 X11ClientWindowPids::pidOfWindow(quint32 window) {
    if (window == XCB_WINDOW_NONE || !atomsKnown())
        return 0;
    xcb_connection_t* c = m_connection->connection();
    return pidFrom(PropertyReply(xcb_get_property_reply(
        c, xcb_get_property(c, 0, window, m_wmPid, XCB_ATOM_CARDINAL, 0, 1), nullptr)));
}

void X11ClientWindowPids::reread() {
    m_stale = false;
    m_pids.clear();
    xcb_connection_t* c = m_connection->connection();
    const PropertyReply list(
        xcb_get_property_reply(c,
                               xcb_get_property(c, 0, m_connection->root(), m_clientList,
                                                XCB_ATOM_WINDOW, 0, clientListLongs),
                               nullptr));
    if (!list || list->format != 32)
        return;
    const auto* windows = static_cast<const xcb_window_t*>(xcb_get_property_value(list.get()));
    const int count = xcb_get_property_value_length(list.get()) / 4;
    // Every question first, then the answers: one round trip's wait for the lot.
    std::vector<xcb_get_property_cookie_t> cookies;
    cookies.reserve(size_t(count));
    for (int i = 0; i < count; ++i)
        cookies.push_back(xcb_get_property(c, 0, windows[i], m_wmPid, XCB_ATOM_CARDINAL, 0, 1));
    for (const xcb_get_property_cookie_t cookie : cookies) {
        xcb_generic_error_t* error = nullptr;
        const PropertyReply reply(xcb_get_property_reply(c, cookie, &error));
        std::free(error); // a window that closed meanwhile
        if (const qint32 pid = pidFrom(reply); pid > 0)
            m_pids.insert(pid);
    }
}
