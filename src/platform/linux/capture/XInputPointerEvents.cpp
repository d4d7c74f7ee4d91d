#include "platform/linux/capture/XInputPointerEvents.h"

#include "logs/DiagnosticLog.h"
#include "platform/linux/capture/XcbEventConnection.h"

#include <QDateTime>
#include <cstdlib>
#include <memory>
#include <xcb/xinput.h>

using namespace Qt::StringLiterals;

namespace {

struct FreeDeleter {
    void operator()(void* p) const { std::free(p); }
};
template <typename T> using Reply = std::unique_ptr<T, FreeDeleter>;

constexpr quint32 kLeftButton = 1;

void logProblem(const QString& line) {
    DiagnosticLog::write(line, QDateTime::currentDateTime());
}

} // namespace

XInputPointerEvents::XInputPointerEvents(XcbEventConnection& connection, Options options)
    : m_connection(&connection), m_options(options),
      m_clicks(options.doubleClickIntervalMs, options.doubleClickDistance) {}

XInputPointerEvents::~XInputPointerEvents() {
    stop();
}

bool XInputPointerEvents::start(Handler handler) {
    m_handler = std::move(handler);
    if (m_listener)
        return true;
    if (!m_connection || !m_connection->isValid()) {
        logProblem(u"pointer events: no X connection"_s);
        return false;
    }
    xcb_connection_t* c = m_connection->connection();
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(c, &xcb_input_id);
    if (!extension || !extension->present) {
        logProblem(u"pointer events: the X server has no XInput extension"_s);
        return false;
    }
    Reply<xcb_input_xi_query_version_reply_t> version(
        xcb_input_xi_query_version_reply(c, xcb_input_xi_query_version(c, 2, 2), nullptr));
    if (!version || version->major_version < 2 ||
        (version->major_version == 2 && version->minor_version < 2)) {
        logProblem(u"pointer events: the X server's XInput is older than 2.2"_s);
        return false;
    }
    m_opcode = extension->major_opcode;
    readSyntheticDevices();
    m_listener = m_connection->addListener(
        [this](const xcb_generic_event_t* event) { return handle(event); });
    if (!selectEvents(true)) {
        logProblem(u"pointer events: the X server refused the raw button events"_s);
        m_connection->removeListener(*m_listener);
        m_listener.reset();
        return false;
    }
    return true;
}

void XInputPointerEvents::stop() {
    if (!m_listener)
        return;
    if (m_connection) {
        selectEvents(false);
        m_connection->removeListener(*m_listener);
    }
    m_listener.reset();
    m_held = false;
    m_moved = false;
    m_clicks.reset();
}

bool XInputPointerEvents::selectEvents(bool on) {
    if (!on)
        return m_connection->selectXInputEvents(this, {});
    // Raw events come from the master devices with the device that made them as their
    // source; changes to the device list come only for all devices.
    const quint32 rawBits = XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_PRESS |
                            XCB_INPUT_XI_EVENT_MASK_RAW_BUTTON_RELEASE |
                            XCB_INPUT_XI_EVENT_MASK_RAW_MOTION;
    return m_connection->selectXInputEvents(
        this, {{XCB_INPUT_DEVICE_ALL_MASTER, rawBits},
               {XCB_INPUT_DEVICE_ALL, XCB_INPUT_XI_EVENT_MASK_HIERARCHY}});
}

void XInputPointerEvents::readSyntheticDevices() {
    m_syntheticDevices.clear();
    if (!m_options.ignoreSyntheticDevices)
        return;
    xcb_connection_t* c = m_connection->connection();
    Reply<xcb_input_xi_query_device_reply_t> reply(xcb_input_xi_query_device_reply(
        c, xcb_input_xi_query_device(c, XCB_INPUT_DEVICE_ALL), nullptr));
    if (!reply)
        return;
    for (auto it = xcb_input_xi_query_device_infos_iterator(reply.get()); it.rem;
         xcb_input_xi_device_info_next(&it)) {
        const QByteArray name(xcb_input_xi_device_info_name(it.data),
                              xcb_input_xi_device_info_name_length(it.data));
        // The server gives every master a slave named "<master> XTEST pointer/keyboard".
        if (name.contains(" XTEST "))
            m_syntheticDevices.insert(it.data->deviceid);
    }
}

bool XInputPointerEvents::handle(const xcb_generic_event_t* event) {
    if ((event->response_type & 0x7f) != XCB_GE_GENERIC)
        return false;
    const auto* generic = reinterpret_cast<const xcb_ge_generic_event_t*>(event);
    if (generic->extension != m_opcode)
        return false;
    switch (generic->event_type) {
    case XCB_INPUT_HIERARCHY:
        readSyntheticDevices();
        return true;
    case XCB_INPUT_RAW_BUTTON_PRESS:
    case XCB_INPUT_RAW_BUTTON_RELEASE:
    case XCB_INPUT_RAW_MOTION: {
        const auto* raw = reinterpret_cast<const xcb_input_raw_button_press_event_t*>(event);
        if (m_syntheticDevices.contains(raw->sourceid))
            return true;
        if (generic->event_type == XCB_INPUT_RAW_MOTION)
            moved();
        else if (raw->detail == kLeftButton && generic->event_type == XCB_INPUT_RAW_BUTTON_PRESS)
            buttonPressed(raw->time);
        else if (raw->detail == kLeftButton)
            buttonReleased(raw->time);
        m_lastTime = raw->time;
        return true;
    }
    default:
        return false;
    }
}

std::optional<QPoint> XInputPointerEvents::pointerPosition() {
    xcb_connection_t* c = m_connection->connection();
    Reply<xcb_query_pointer_reply_t> reply(
        xcb_query_pointer_reply(c, xcb_query_pointer(c, m_connection->root()), nullptr));
    if (!reply)
        return std::nullopt;
    return QPoint(reply->root_x, reply->root_y);
}

void XInputPointerEvents::buttonPressed(quint32 time) {
    const QPoint position = pointerPosition().value_or(QPoint());
    m_held = true;
    m_moved = false;
    m_clickCount = m_clicks.press(time, position);
    if (m_handler)
        m_handler({Event::Kind::press, position, m_clickCount, time});
}

void XInputPointerEvents::buttonReleased(quint32 time) {
    if (!m_held)
        return; // pressed before we started
    m_held = false;
    const QPoint position = pointerPosition().value_or(QPoint());
    // Motion not yet reported ends where the button comes up.
    if (m_moved && m_handler)
        m_handler({Event::Kind::drag, position, m_clickCount, m_lastTime});
    m_moved = false;
    if (m_handler)
        m_handler({Event::Kind::release, position, m_clickCount, time});
}

void XInputPointerEvents::moved() {
    if (!m_held)
        return;
    m_moved = true;
    if (m_dragQueued)
        return;
    m_dragQueued = true;
    // After the events read so far are handed out, so a burst costs one query.
    QMetaObject::invokeMethod(this, &XInputPointerEvents::reportDrag, Qt::QueuedConnection);
}

void XInputPointerEvents::reportDrag() {
    m_dragQueued = false;
    if (!m_held || !m_moved || !m_listener)
        return;
    m_moved = false;
    const std::optional<QPoint> position = pointerPosition();
    if (position && m_handler)
        m_handler({Event::Kind::drag, *position, m_clickCount, m_lastTime});
}
