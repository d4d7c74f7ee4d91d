#include "platform/linux/capture/XcbHiddenWindow.h"

XcbHiddenWindow::XcbHiddenWindow(xcb_connection_t* connection, xcb_window_t root,
                                 std::uint32_t eventMask)
    : m_connection(connection), m_window(xcb_generate_id(connection)) {
    // Input-only: it draws nothing, yet holds properties and owns selections like any other.
    const std::uint32_t values[] = {1, eventMask};
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, m_window, root, -10, -10, 1, 1, 0,
                      XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT,
                      XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
    xcb_flush(m_connection);
}

XcbHiddenWindow::~XcbHiddenWindow() {
    xcb_destroy_window(m_connection, m_window);
    xcb_flush(m_connection);
}
