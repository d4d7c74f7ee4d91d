#include "platform/linux/capture/XcbOwnerChanges.h"

#include <cstdlib>
#include <xcb/xfixes.h>

std::uint8_t watchOwnerChanges(xcb_connection_t* connection, xcb_window_t window,
                               xcb_atom_t selection) {
    const xcb_query_extension_reply_t* extension =
        xcb_get_extension_data(connection, &xcb_xfixes_id);
    if (!extension || !extension->present)
        return 0;
    // The server answers no XFixes request of a client that has not said its version.
    xcb_xfixes_query_version_reply_t* version = xcb_xfixes_query_version_reply(
        connection,
        xcb_xfixes_query_version(connection, XCB_XFIXES_MAJOR_VERSION, XCB_XFIXES_MINOR_VERSION),
        nullptr);
    const bool usable = version && version->major_version >= 1;
    std::free(version);
    if (!usable)
        return 0;
    xcb_xfixes_select_selection_input(connection, window, selection,
                                      XCB_XFIXES_SELECTION_EVENT_MASK_SET_SELECTION_OWNER |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_WINDOW_DESTROY |
                                          XCB_XFIXES_SELECTION_EVENT_MASK_SELECTION_CLIENT_CLOSE);
    xcb_flush(connection);
    return std::uint8_t(extension->first_event + XCB_XFIXES_SELECTION_NOTIFY);
}
