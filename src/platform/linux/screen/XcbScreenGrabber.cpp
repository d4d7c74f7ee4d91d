#include "platform/linux/screen/XcbScreenGrabber.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <sys/ipc.h>
#include <sys/shm.h>

namespace {

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};
template <typename T> using Reply = std::unique_ptr<T, FreeDeleter>;

// Hover crops are a few dozen kilobytes; a segment this large also takes most boxes. Larger
// boxes are copied through the socket rather than kept in memory between grabs.
constexpr std::size_t maxSegmentBytes = 8u << 20;

} // namespace

XcbScreenGrabber::XcbScreenGrabber(Transfer transfer) : m_transfer(transfer) {
    connect();
}

XcbScreenGrabber::~XcbScreenGrabber() {
    disconnect();
}

ScreenGrabFactory XcbScreenGrabber::factory() {
    return [] {
        auto grabber = std::make_shared<XcbScreenGrabber>();
        return ScreenGrab([grabber](QRect area) { return grabber->grab(area); });
    };
}

bool XcbScreenGrabber::connect() {
    int screenNumber = 0;
    xcb_connection_t* connection = xcb_connect(nullptr, &screenNumber);
    if (xcb_connection_has_error(connection)) {
        xcb_disconnect(connection);
        return false;
    }
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screenNumber && it.rem; ++i)
        xcb_screen_next(&it);
    if (!it.rem) {
        xcb_disconnect(connection);
        return false;
    }
    m_connection = connection;
    m_screen = it.data;
    Reply<xcb_shm_query_version_reply_t> shm(
        xcb_shm_query_version_reply(connection, xcb_shm_query_version(connection), nullptr));
    m_hasShm = shm != nullptr && m_transfer == Transfer::sharedMemoryWhereOffered;
    return true;
}

void XcbScreenGrabber::disconnect() {
    if (!m_connection)
        return;
    dropSegment();
    xcb_disconnect(m_connection);
    m_connection = nullptr;
    m_screen = nullptr;
}

std::optional<ScreenCapture> XcbScreenGrabber::grab(QRect area) {
    // A server that went away (or restarted) is asked again over a new connection.
    if (m_connection && xcb_connection_has_error(m_connection))
        disconnect();
    if (!m_connection && !connect())
        return std::nullopt;
    const QRect screen(0, 0, m_screen->width_in_pixels, m_screen->height_in_pixels);
    const QRect clipped = area.intersected(screen);
    if (clipped.isEmpty())
        return std::nullopt;
    const std::size_t bytes = std::size_t(clipped.width()) * clipped.height() * 4;
    if (m_hasShm && bytes <= maxSegmentBytes && reserveSegment(bytes))
        return grabShared(clipped);
    return grabCopied(clipped);
}

std::optional<QImage::Format> XcbScreenGrabber::pixelFormat(uint8_t depth,
                                                            xcb_visualid_t visual) const {
    int bitsPerPixel = 0;
    const xcb_setup_t* setup = xcb_get_setup(m_connection);
    for (auto it = xcb_setup_pixmap_formats_iterator(setup); it.rem; xcb_format_next(&it))
        if (it.data->depth == depth)
            bitsPerPixel = it.data->bits_per_pixel;
    const xcb_visualtype_t* type = nullptr;
    for (auto d = xcb_screen_allowed_depths_iterator(m_screen); d.rem && !type; xcb_depth_next(&d))
        for (auto v = xcb_depth_visuals_iterator(d.data); v.rem; xcb_visualtype_next(&v))
            if (v.data->visual_id == visual)
                type = v.data;
    // Little-endian true colour, as every current server sends it.
    if (!type || type->_class != XCB_VISUAL_CLASS_TRUE_COLOR ||
        xcb_get_setup(m_connection)->image_byte_order != XCB_IMAGE_ORDER_LSB_FIRST)
        return std::nullopt;
    if (bitsPerPixel == 32 && type->red_mask == 0xff0000 && type->green_mask == 0xff00 &&
        type->blue_mask == 0xff)
        return QImage::Format_RGB32;
    if (bitsPerPixel == 16 && type->red_mask == 0xf800 && type->green_mask == 0x7e0 &&
        type->blue_mask == 0x1f)
        return QImage::Format_RGB16;
    return std::nullopt;
}

bool XcbScreenGrabber::reserveSegment(std::size_t bytes) {
    if (m_segment.memory && m_segment.size >= bytes)
        return true;
    dropSegment();
    // Grown in steps, so a few slightly larger grabs do not each make a new one.
    const std::size_t size =
        std::min(maxSegmentBytes, std::max<std::size_t>(bytes * 2, 256u << 10));
    const int shmId = shmget(IPC_PRIVATE, size, IPC_CREAT | 0600);
    if (shmId < 0)
        return false;
    void* memory = shmat(shmId, nullptr, 0);
    if (memory == reinterpret_cast<void*>(-1)) {
        shmctl(shmId, IPC_RMID, nullptr);
        return false;
    }
    const xcb_shm_seg_t id = xcb_generate_id(m_connection);
    Reply<xcb_generic_error_t> error(xcb_request_check(
        m_connection, xcb_shm_attach_checked(m_connection, id, uint32_t(shmId), 0)));
    // Marked for removal at once: it goes when both sides have let go, even after a crash.
    shmctl(shmId, IPC_RMID, nullptr);
    if (error) {
        // A server on another machine cannot share memory with us.
        shmdt(memory);
        m_hasShm = false;
        return false;
    }
    m_segment = {id, shmId, memory, size};
    return true;
}

void XcbScreenGrabber::dropSegment() {
    if (!m_segment.memory)
        return;
    if (m_connection && !xcb_connection_has_error(m_connection))
        xcb_shm_detach(m_connection, m_segment.id);
    shmdt(m_segment.memory);
    m_segment = {};
}

std::optional<ScreenCapture> XcbScreenGrabber::grabShared(QRect area) {
    Reply<xcb_shm_get_image_reply_t> reply(xcb_shm_get_image_reply(
        m_connection,
        xcb_shm_get_image(m_connection, m_screen->root, int16_t(area.x()), int16_t(area.y()),
                          uint16_t(area.width()), uint16_t(area.height()), ~0u,
                          XCB_IMAGE_FORMAT_Z_PIXMAP, m_segment.id, 0),
        nullptr));
    if (!reply)
        return std::nullopt;
    const std::optional<QImage::Format> format = pixelFormat(reply->depth, reply->visual);
    if (!format)
        return std::nullopt;
    const qsizetype stride = reply->size / area.height();
    // Copied out: the segment is written again by the next grab.
    const QImage view(static_cast<const uchar*>(m_segment.memory), area.width(), area.height(),
                      stride, *format);
    return ScreenCapture{area, view.copy()};
}

std::optional<ScreenCapture> XcbScreenGrabber::grabCopied(QRect area) {
    Reply<xcb_get_image_reply_t> reply(xcb_get_image_reply(
        m_connection,
        xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, m_screen->root, int16_t(area.x()),
                      int16_t(area.y()), uint16_t(area.width()), uint16_t(area.height()), ~0u),
        nullptr));
    if (!reply)
        return std::nullopt;
    const std::optional<QImage::Format> format = pixelFormat(reply->depth, reply->visual);
    const int length = xcb_get_image_data_length(reply.get());
    if (!format || length < area.height())
        return std::nullopt;
    const QImage view(xcb_get_image_data(reply.get()), area.width(), area.height(),
                      length / area.height(), *format);
    return ScreenCapture{area, view.copy()};
}
