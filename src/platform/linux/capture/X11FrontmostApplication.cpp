#include "platform/linux/capture/X11FrontmostApplication.h"

#include "platform/linux/capture/XcbEventConnection.h"

#include <QCoreApplication>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace {

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};
using PropertyReply = std::unique_ptr<xcb_get_property_reply_t, FreeDeleter>;

PropertyReply property(xcb_connection_t* c, xcb_window_t window, xcb_atom_t name, xcb_atom_t type,
                       quint32 longs) {
    return PropertyReply(
        xcb_get_property_reply(c, xcb_get_property(c, 0, window, name, type, 0, longs), nullptr));
}

} // namespace

X11FrontmostApplication::X11FrontmostApplication(XcbEventConnection& connection)
    : m_connection(&connection) {}

xcb_atom_t X11FrontmostApplication::atom(const char* name) const {
    xcb_connection_t* c = m_connection->connection();
    std::unique_ptr<xcb_intern_atom_reply_t, FreeDeleter> reply(
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, quint16(std::strlen(name)), name), nullptr));
    return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
}

std::optional<FrontmostApplication::Application> X11FrontmostApplication::current() const {
    if (!m_connection || !m_connection->isValid())
        return std::nullopt;
    if (m_activeWindow == XCB_ATOM_NONE) {
        m_activeWindow = atom("_NET_ACTIVE_WINDOW");
        m_pid = atom("_NET_WM_PID");
    }
    xcb_connection_t* c = m_connection->connection();
    const PropertyReply active =
        property(c, m_connection->root(), m_activeWindow, XCB_ATOM_WINDOW, 1);
    if (!active || active->format != 32 || xcb_get_property_value_length(active.get()) < 4)
        return std::nullopt;
    const xcb_window_t window =
        *static_cast<const xcb_window_t*>(xcb_get_property_value(active.get()));
    if (window == XCB_WINDOW_NONE)
        return std::nullopt;

    // Both at once: one round trip's wait.
    const auto classCookie =
        xcb_get_property(c, 0, window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, 0, 256);
    const auto pidCookie = xcb_get_property(c, 0, window, m_pid, XCB_ATOM_CARDINAL, 0, 1);
    xcb_generic_error_t* classError = nullptr;
    const PropertyReply wmClass(xcb_get_property_reply(c, classCookie, &classError));
    const PropertyReply pid(xcb_get_property_reply(c, pidCookie, nullptr));
    std::free(classError);
    // A window that went away between the two questions: nothing is in front that we know.
    if (!wmClass)
        return std::nullopt;

    Application application;
    // WM_CLASS is "instance\0class\0".
    const QByteArray value(static_cast<const char*>(xcb_get_property_value(wmClass.get())),
                           xcb_get_property_value_length(wmClass.get()));
    const qsizetype split = value.indexOf('\0');
    if (split >= 0) {
        QByteArray className = value.mid(split + 1);
        if (const qsizetype end = className.indexOf('\0'); end >= 0)
            className.truncate(end);
        application.name = QString::fromUtf8(className);
        application.identifier = application.name.toLower();
    }
    if (pid && pid->format == 32 && xcb_get_property_value_length(pid.get()) >= 4)
        application.pid = *static_cast<const quint32*>(xcb_get_property_value(pid.get()));
    application.isOwn =
        application.pid != 0 && application.pid == QCoreApplication::applicationPid();
    return application;
}
