#pragma once

#include <cstdint>
#include <xcb/xcb.h>

// A window of the program's own that is never shown: somewhere for selection data to be
// delivered, and an identity to own a selection with. Destroyed with this object.
class XcbHiddenWindow {
public:
    // `eventMask` is what the server reports about the window (XCB_EVENT_MASK_*).
    XcbHiddenWindow(xcb_connection_t* connection, xcb_window_t root, std::uint32_t eventMask);
    ~XcbHiddenWindow();
    XcbHiddenWindow(const XcbHiddenWindow&) = delete;
    XcbHiddenWindow& operator=(const XcbHiddenWindow&) = delete;

    xcb_window_t id() const { return m_window; }

private:
    xcb_connection_t* m_connection;
    xcb_window_t m_window;
};
