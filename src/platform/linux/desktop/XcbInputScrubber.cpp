#include "platform/linux/desktop/XcbInputScrubber.h"

#include <chrono>
#include <cstdlib>
#include <thread>
#include <vector>
#include <xcb/xcb.h>
#include <xcb/xcbext.h>
#include <xcb/xfixes.h>

namespace {

// 8 bytes each. 8 KiB of rectangles, twice the buffer, so it is filled whatever unread bytes
// already wait at its start.
constexpr int kBufferSized = 1024;
// 1.3 KiB: more than eight registers of 64 bytes, less than where memcpy turns to
// "rep movsb".
constexpr int kRegisterSized = 160;

} // namespace

XcbInputScrubber::XcbInputScrubber(xcb_connection_t* connection) : m_connection(connection) {}

XcbInputScrubber::~XcbInputScrubber() {
    for (const std::uint32_t region : {m_bufferSized, m_registerSized}) {
        if (region != XCB_NONE)
            xcb_xfixes_destroy_region(m_connection, region);
    }
    xcb_flush(m_connection);
}

std::uint32_t XcbInputScrubber::makeRegion(int count) {
    // One pixel apart, so the server keeps every rectangle rather than merging them.
    std::vector<xcb_rectangle_t> rectangles(static_cast<std::size_t>(count));
    for (int i = 0; i < count; ++i)
        rectangles[std::size_t(i)] = {static_cast<std::int16_t>(2 * i), 0, 1, 1};
    const xcb_xfixes_region_t region = xcb_generate_id(m_connection);
    xcb_generic_error_t* error = xcb_request_check(
        m_connection, xcb_xfixes_create_region_checked(m_connection, region, std::uint32_t(count),
                                                       rectangles.data()));
    if (!error)
        return region;
    std::free(error);
    return XCB_NONE;
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
    m_bufferSized = makeRegion(kBufferSized);
    m_registerSized = makeRegion(kRegisterSized);
    return m_bufferSized != XCB_NONE && m_registerSized != XCB_NONE;
}

void* XcbInputScrubber::awaitReply(unsigned int sequence) {
    // Qt reads the connection on a thread of its own, which waits for the server all along:
    // looking for the reply without reading leaves the copying to it. Should nobody read, this
    // thread reads after a while.
    using namespace std::chrono_literals;
    const auto deadline = std::chrono::steady_clock::now() + 200ms;
    void* reply = nullptr;
    xcb_generic_error_t* error = nullptr;
    while (std::chrono::steady_clock::now() < deadline) {
        if (xcb_poll_for_reply(m_connection, sequence, &reply, &error)) {
            std::free(error);
            return reply;
        }
        std::this_thread::sleep_for(20us);
    }
    reply = xcb_wait_for_reply(m_connection, sequence, &error);
    std::free(error);
    return reply;
}

bool XcbInputScrubber::scrub() {
    if ((m_bufferSized == XCB_NONE || m_registerSized == XCB_NONE) && !prepare())
        return false;
    // X.Org sends these replies in one write. The large one twice covers a server that sends
    // the header apart: while libxcb reads the first one's rectangles past the buffer, the
    // second arrives whole.
    const struct {
        xcb_xfixes_fetch_region_cookie_t cookie;
        int rectangles;
    } fetches[] = {
        {xcb_xfixes_fetch_region(m_connection, m_bufferSized), kBufferSized},
        {xcb_xfixes_fetch_region(m_connection, m_bufferSized), kBufferSized},
        {xcb_xfixes_fetch_region(m_connection, m_registerSized), kRegisterSized},
    };
    xcb_flush(m_connection);
    bool whole = true;
    for (const auto& fetch : fetches) {
        auto* reply =
            static_cast<xcb_xfixes_fetch_region_reply_t*>(awaitReply(fetch.cookie.sequence));
        whole =
            whole && reply && xcb_xfixes_fetch_region_rectangles_length(reply) == fetch.rectangles;
        std::free(reply);
    }
    return whole;
}
