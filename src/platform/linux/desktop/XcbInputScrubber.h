#pragma once

#include <cstdint>

struct xcb_connection_t;

// libxcb reads what the X server sends through a 4 KiB buffer inside the connection, and the
// bytes of a reply stay there after it has been taken, until later traffic happens to cover
// them. A copied text passes through it on its way to the clipboard reader. This covers the
// whole buffer: it fetches a reply larger than the buffer, which the server must send in a
// single write so that all of it is waiting when libxcb reads (a property's reply comes in
// two, and libxcb may read its header alone and the rest past the buffer). The one such reply
// whose size and content are ours to choose is an XFixes region's list of rectangles.
class XcbInputScrubber {
public:
    explicit XcbInputScrubber(xcb_connection_t* connection);
    ~XcbInputScrubber();
    XcbInputScrubber(const XcbInputScrubber&) = delete;
    XcbInputScrubber& operator=(const XcbInputScrubber&) = delete;

    // One round trip to the server (two more the first time, to make the region). False when
    // the rectangles did not come back, all of them.
    bool scrub();

private:
    bool prepare();

    xcb_connection_t* m_connection;
    std::uint32_t m_region = 0;
};
