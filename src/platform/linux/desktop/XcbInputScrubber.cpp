#include "platform/linux/desktop/XcbInputScrubber.h"

#include <cstdlib>
#include <vector>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>

namespace {

// 8 bytes each: 8 KiB of rectangles, twice the buffer, so it is filled whatever unread
// bytes already wait at its start.
constexpr int kRectangles = 1024;

} // namespace

XcbInputScrubber::XcbInputScrubber(xcb_connection_t* connection) : m_connection(connection) {}

XcbInputScrubber::~XcbInputScrubber() {
    if (m_region == XCB_NONE)
        return;
    xcb_xfixes_destroy_region(m_connection, m_region);
    xcb_flush(m_connection);
}

bool XcbInputScrubber::prepare() {
    // Asking for the newest version the headers know never lowers the one Qt agreed on for
    // this connection: the server answers with the lower of the two.
    xcb_xfixes_query_version_reply_t* version = xcb_xfixes_query_version_reply(
        m_connection,
        xcb_xfixes_query_version(m_connection, XCB_XFIXES_MAJOR_VERSION, XCB_XFIXES_MINOR_VERSION),
        nullptr);
    const bool hasRegions = version && version->major_version >= 2;
    std::free(version);
    if (!hasRegions)
        return false;
    // One pixel apart, so the server keeps every rectangle rather than merging them.
    std::vector<xcb_rectangle_t> rectangles(kRectangles);
    for (int i = 0; i < kRectangles; ++i)
        rectangles[i] = {static_cast<std::int16_t>(2 * i), 0, 1, 1};
    const xcb_xfixes_region_t region = xcb_generate_id(m_connection);
    xcb_generic_error_t* error = xcb_request_check(
        m_connection,
        xcb_xfixes_create_region_checked(m_connection, region, kRectangles, rectangles.data()));
    if (error) {
        std::free(error);
        return false;
    }
    m_region = region;
    return true;
}

bool XcbInputScrubber::scrub() {
    if (m_region == XCB_NONE && !prepare())
        return false;
    // X.Org sends this reply in one write. Two in a row cover a server that sends the header
    // apart: while libxcb reads the first one's rectangles past the buffer, the second
    // arrives whole.
    const xcb_xfixes_fetch_region_cookie_t cookies[] = {
        xcb_xfixes_fetch_region(m_connection, m_region),
        xcb_xfixes_fetch_region(m_connection, m_region),
    };
    bool whole = true;
    for (const xcb_xfixes_fetch_region_cookie_t& cookie : cookies) {
        xcb_generic_error_t* error = nullptr;
        xcb_xfixes_fetch_region_reply_t* reply =
            xcb_xfixes_fetch_region_reply(m_connection, cookie, &error);
        whole = whole && reply && xcb_xfixes_fetch_region_rectangles_length(reply) == kRectangles;
        std::free(reply);
        std::free(error);
    }
    return whole;
}
