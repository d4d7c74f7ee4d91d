#pragma once

#include "platform/linux/screen/ScreenGrab.h"

#include <cstddef>
#include <xcb/shm.h>
#include <xcb/xcb.h>

// Captures areas of the X screen over a connection of its own (the capture adapters' shared
// one belongs to the main thread). Through a shared-memory segment kept between grabs where
// the server offers MIT-SHM, else by copying the pixels through the socket. One thread only.
class XcbScreenGrabber {
public:
    enum class Transfer { sharedMemoryWhereOffered, socket };
    explicit XcbScreenGrabber(Transfer transfer = Transfer::sharedMemoryWhereOffered);
    ~XcbScreenGrabber();
    XcbScreenGrabber(const XcbScreenGrabber&) = delete;
    XcbScreenGrabber& operator=(const XcbScreenGrabber&) = delete;

    // Nothing when the area lies off the screen or the server could not be asked.
    std::optional<ScreenCapture> grab(QRect area);

    // A grab that makes its grabber on the thread that first calls it.
    static ScreenGrabFactory factory();

private:
    bool connect();
    void disconnect();
    std::optional<QImage::Format> pixelFormat(uint8_t depth, xcb_visualid_t visual) const;
    std::optional<ScreenCapture> grabShared(QRect area);
    std::optional<ScreenCapture> grabCopied(QRect area);
    bool reserveSegment(std::size_t bytes);
    void dropSegment();

    xcb_connection_t* m_connection = nullptr;
    xcb_screen_t* m_screen = nullptr;
    Transfer m_transfer;
    bool m_hasShm = false;
    struct Segment {
        xcb_shm_seg_t id = 0;
        int shmId = -1;
        void* memory = nullptr;
        std::size_t size = 0;
    } m_segment;
};
