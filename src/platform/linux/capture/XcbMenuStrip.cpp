#include "platform/linux/capture/XcbMenuStrip.h"

#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

namespace {

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};
using PropertyReply = std::unique_ptr<xcb_get_property_reply_t, FreeDeleter>;

// A property of 32-bit cardinals (or windows), as many as it holds up to `most`.
std::vector<quint32> cardinals(const PropertyReply& reply) {
    if (!reply || reply->format != 32)
        return {};
    const auto* values = static_cast<const quint32*>(xcb_get_property_value(reply.get()));
    return {values, values + xcb_get_property_value_length(reply.get()) / 4};
}

xcb_get_property_cookie_t ask(xcb_connection_t* c, xcb_window_t window, xcb_atom_t property,
                              xcb_atom_t type, quint32 most) {
    return xcb_get_property(c, 0, window, property, type, 0, most);
}

PropertyReply answer(xcb_connection_t* c, xcb_get_property_cookie_t cookie) {
    return PropertyReply(xcb_get_property_reply(c, cookie, nullptr));
}

} // namespace

XcbMenuStrip::XcbMenuStrip(xcb_connection_t* connection, xcb_window_t root)
    : m_connection(connection), m_root(root) {
    const char* names[] = {"_NET_WORKAREA", "_NET_CURRENT_DESKTOP", "_NET_CLIENT_LIST",
                           "_NET_WM_STRUT_PARTIAL", "_NET_WM_STRUT"};
    xcb_atom_t* atoms[] = {&m_workArea, &m_currentDesktop, &m_clientList, &m_strutPartial,
                           &m_strut};
    xcb_intern_atom_cookie_t cookies[std::size(names)];
    for (std::size_t i = 0; i < std::size(names); ++i)
        cookies[i] = xcb_intern_atom(connection, 0, quint16(std::strlen(names[i])), names[i]);
    for (std::size_t i = 0; i < std::size(names); ++i) {
        std::unique_ptr<xcb_intern_atom_reply_t, FreeDeleter> reply(
            xcb_intern_atom_reply(connection, cookies[i], nullptr));
        *atoms[i] = reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    }
}

bool XcbMenuStrip::dependsOn(xcb_atom_t property) const {
    return property != XCB_ATOM_NONE &&
           (property == m_workArea || property == m_currentDesktop || property == m_clientList);
}

MenuStrip XcbMenuStrip::read() const {
    xcb_connection_t* c = m_connection;
    constexpr quint32 mostDesktops = 64;
    constexpr quint32 mostClients = 4096;
    const auto workAreaCookie = ask(c, m_root, m_workArea, XCB_ATOM_CARDINAL, 4 * mostDesktops);
    const auto desktopCookie = ask(c, m_root, m_currentDesktop, XCB_ATOM_CARDINAL, 1);
    const auto clientsCookie = ask(c, m_root, m_clientList, XCB_ATOM_WINDOW, mostClients);
    const std::vector<quint32> areas = cardinals(answer(c, workAreaCookie));
    const std::vector<quint32> desktop = cardinals(answer(c, desktopCookie));
    const std::vector<quint32> clients = cardinals(answer(c, clientsCookie));

    MenuStrip strip;
    // One rectangle per desktop: x, y, width, height.
    const std::size_t index = desktop.empty() ? 0 : desktop.front();
    if (areas.size() >= 4 * (index + 1)) {
        const quint32* area = areas.data() + 4 * index;
        strip.workArea = QRect(int(area[0]), int(area[1]), int(area[2]), int(area[3]));
    } else if (areas.size() >= 4) {
        strip.workArea = QRect(int(areas[0]), int(areas[1]), int(areas[2]), int(areas[3]));
    }
    if (!strip.workArea || strip.workArea->top() <= 0)
        return strip;

    // All clients' struts at once: one round trip for the lot.
    struct Asked {
        xcb_get_property_cookie_t partial;
        xcb_get_property_cookie_t whole;
    };
    std::vector<Asked> asked;
    asked.reserve(clients.size());
    for (quint32 window : clients)
        asked.push_back({ask(c, window, m_strutPartial, XCB_ATOM_CARDINAL, 12),
                         ask(c, window, m_strut, XCB_ATOM_CARDINAL, 4)});
    for (const Asked& client : asked) {
        const std::vector<quint32> partial = cardinals(answer(c, client.partial));
        const std::vector<quint32> whole = cardinals(answer(c, client.whole));
        // left, right, top, bottom, then each edge's start and end: top's are 8 and 9.
        if (partial.size() >= 10 && partial[2] > 0)
            strip.struts.append({int(partial[2]), int(partial[8]), int(partial[9])});
        else if (partial.empty() && whole.size() >= 4 && whole[2] > 0)
            strip.struts.append({int(whole[2]), 0, std::numeric_limits<int>::max()});
    }
    return strip;
}
