#include "platform/linux/capture/X11WindowAtPoint.h"

#include "platform/linux/capture/XcbEventConnection.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};
template <typename T> using Reply = std::unique_ptr<T, FreeDeleter>;

xcb_atom_t intern(xcb_connection_t* c, const char* name) {
    Reply<xcb_intern_atom_reply_t> reply(
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, quint16(std::strlen(name)), name), nullptr));
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

// Windows nested deeper than this are not an application's top level.
constexpr int deepestLevel = 8;

} // namespace

X11WindowAtPoint::X11WindowAtPoint(XcbEventConnection& connection) : m_connection(&connection) {
    if (!connection.isValid())
        return;
    m_pid = intern(connection.connection(), "_NET_WM_PID");
    m_state = intern(connection.connection(), "WM_STATE");
}

std::optional<qint64> X11WindowAtPoint::processAt(QPointF point) const {
    if (!m_connection || !m_connection->isValid())
        return std::nullopt;
    xcb_connection_t* c = m_connection->connection();
    const xcb_window_t root = m_connection->root();
    const auto x = qint16(std::floor(point.x()));
    const auto y = qint16(std::floor(point.y()));
    xcb_window_t window = root;
    // Down from the root through the windows under the point: the first that says whose it
    // is, or the application's window (the one with WM_STATE) inside the manager's frame.
    // Windows laid over everything (menus, tooltips, the program's own panel) are found too.
    for (int level = 0; level < deepestLevel; ++level) {
        Reply<xcb_translate_coordinates_reply_t> under(xcb_translate_coordinates_reply(
            c, xcb_translate_coordinates(c, root, window, x, y), nullptr));
        if (!under || under->child == XCB_WINDOW_NONE)
            break;
        window = under->child;
        const auto pidCookie = xcb_get_property(c, 0, window, m_pid, XCB_ATOM_CARDINAL, 0, 1);
        const auto stateCookie = xcb_get_property(c, 0, window, m_state, m_state, 0, 0);
        Reply<xcb_get_property_reply_t> pid(xcb_get_property_reply(c, pidCookie, nullptr));
        Reply<xcb_get_property_reply_t> state(xcb_get_property_reply(c, stateCookie, nullptr));
        if (pid && pid->format == 32 && xcb_get_property_value_length(pid.get()) >= 4)
            return *static_cast<const quint32*>(xcb_get_property_value(pid.get()));
        if (state && state->type != XCB_ATOM_NONE)
            return 0;
    }
    if (window == root)
        return std::nullopt;
    return 0;
}
