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
//
// The thread that copied the text out of the buffer also keeps its last bytes in the CPU's
// vector registers, which glibc's memcpy uses for copies of up to about 2 KiB (larger ones
// go by "rep movsb"). A smaller region's reply, left for that same thread to read, replaces
// them.
class XcbInputScrubber {
public:
    explicit XcbInputScrubber(xcb_connection_t* connection);
    ~XcbInputScrubber();
    XcbInputScrubber(const XcbInputScrubber&) = delete;
    XcbInputScrubber& operator=(const XcbInputScrubber&) = delete;

    // One round trip to the server (three more the first time, to make the regions). False
    // when the rectangles did not come back, all of them.
    bool scrub();

private:
    bool prepare();
    std::uint32_t makeRegion(int rectangles);
    void* awaitReply(unsigned int sequence);

    xcb_connection_t* m_connection;
    std::uint32_t m_bufferSized = 0;
    std::uint32_t m_registerSized = 0;
};
