#include "platform/linux/capture/XcbPointerSampler.h"

#include "logs/DiagnosticLog.h"
#include "platform/linux/capture/XcbEventConnection.h"
#include "platform/linux/capture/XcbKeyboardMap.h"
#include "platform/linux/capture/XcbMenuStrip.h"

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

void logProblem(const QString& line) {
    DiagnosticLog::write(line, QDateTime::currentDateTime());
}

// Lock and NumLock (usually Mod2) are left out: they are states, not keys held.
quint32 flagsOf(quint16 mask) {
    quint32 flags = 0;
    if (mask & XCB_KEY_BUT_MASK_SHIFT)
        flags |= PointerSampler::shift;
    if (mask & XCB_KEY_BUT_MASK_CONTROL)
        flags |= PointerSampler::control;
    if (mask & XCB_KEY_BUT_MASK_MOD_1)
        flags |= PointerSampler::option;
    if (mask & XCB_KEY_BUT_MASK_MOD_4)
        flags |= PointerSampler::command;
    return flags;
}

// Buttons 1 to 5 follow the modifiers in the mask, one bit each.
int buttonsOf(quint16 mask) {
    return (mask >> 8) & 0x1f;
}

} // namespace

XcbPointerSampler::XcbPointerSampler(XcbEventConnection& connection)
    : XcbPointerSampler(connection, Options{}) {}

XcbPointerSampler::XcbPointerSampler(XcbEventConnection& connection, Options options)
    : m_connection(&connection), m_options(options) {
    if (connection.isValid())
        m_stripReader = std::make_unique<XcbMenuStrip>(connection.connection(), connection.root());
}

XcbPointerSampler::~XcbPointerSampler() {
    stop();
}

bool XcbPointerSampler::start() {
    if (m_listener)
        return m_keysFollowed;
    if (!m_connection || !m_connection->isValid()) {
        logProblem(u"pointer sampler: no X connection"_s);
        return false;
    }
    m_listener = m_connection->addListener(
        [this](const xcb_generic_event_t* event) { return handle(event); });
    // The strip is read again when the window manager moves the work area or its panels.
    m_strip.reset();
    m_connection->selectRootEvents(this, XCB_EVENT_MASK_PROPERTY_CHANGE);
    m_keys.forget();
    m_keysFollowed = followKeys();
    return m_keysFollowed;
}

void XcbPointerSampler::stop() {
    if (!m_listener)
        return;
    if (m_connection) {
        m_connection->selectXInputEvents(this, {});
        m_connection->selectRootEvents(this, 0);
        m_connection->removeListener(*m_listener);
    }
    m_listener.reset();
    m_keysFollowed = false;
    m_strip.reset();
}

bool XcbPointerSampler::followKeys() {
    xcb_connection_t* c = m_connection->connection();
    const xcb_query_extension_reply_t* extension = xcb_get_extension_data(c, &xcb_input_id);
    if (!extension || !extension->present) {
        logProblem(u"pointer sampler: the X server has no XInput extension"_s);
        return false;
    }
    Reply<xcb_input_xi_query_version_reply_t> version(
        xcb_input_xi_query_version_reply(c, xcb_input_xi_query_version(c, 2, 2), nullptr));
    if (!version || version->major_version < 2 ||
        (version->major_version == 2 && version->minor_version < 2)) {
        logProblem(u"pointer sampler: the X server's XInput is older than 2.2"_s);
        return false;
    }
    m_opcode = extension->major_opcode;
    readDevices();
    if (!m_connection->selectXInputEvents(
            this, {{XCB_INPUT_DEVICE_ALL_MASTER, XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS}})) {
        logProblem(u"pointer sampler: the X server refused the raw key events"_s);
        return false;
    }
    return true;
}

void XcbPointerSampler::readDevices() {
    xcb_connection_t* c = m_connection->connection();
    auto keyboard = std::make_shared<XcbKeyboardMap>(c);
    m_keyboard = keyboard;
    m_keys.setModifierKey([keyboard](quint8 key) { return keyboard->isModifierKey(key); });
    QSet<quint16> synthetic;
    if (m_options.ignoreSyntheticKeys) {
        Reply<xcb_input_xi_query_device_reply_t> reply(xcb_input_xi_query_device_reply(
            c, xcb_input_xi_query_device(c, XCB_INPUT_DEVICE_ALL), nullptr));
        for (auto it = reply ? xcb_input_xi_query_device_infos_iterator(reply.get())
                             : xcb_input_xi_device_info_iterator_t{};
             it.rem; xcb_input_xi_device_info_next(&it)) {
            const QByteArray name(xcb_input_xi_device_info_name(it.data),
                                  xcb_input_xi_device_info_name_length(it.data));
            // The server gives every master a slave named "<master> XTEST keyboard".
            if (name.contains(" XTEST "))
                synthetic.insert(it.data->deviceid);
        }
    }
    m_keys.setSyntheticDevices(std::move(synthetic));
}

bool XcbPointerSampler::handle(const xcb_generic_event_t* event) {
    const quint8 type = event->response_type & 0x7f;
    if (type == XCB_PROPERTY_NOTIFY) {
        const auto* change = reinterpret_cast<const xcb_property_notify_event_t*>(event);
        if (change->window == m_connection->root() && m_stripReader &&
            m_stripReader->dependsOn(change->atom))
            m_strip.reset();
        return false;
    }
    if (type == XCB_MAPPING_NOTIFY) {
        if (m_keysFollowed)
            readDevices(); // the modifier keys may be others now
        return false;
    }
    if (type != XCB_GE_GENERIC || !m_keysFollowed)
        return false;
    const auto* generic = reinterpret_cast<const xcb_ge_generic_event_t*>(event);
    if (generic->extension != m_opcode || generic->event_type != XCB_INPUT_RAW_KEY_PRESS)
        return false;
    const auto* raw = reinterpret_cast<const xcb_input_raw_key_press_event_t*>(event);
    m_keys.pressed(raw->sourceid, quint8(raw->detail), KeyDownRecord::Clock::now());
    // Any device's: a modifier pressed through XTEST (an on-screen keyboard) is still held.
    if (m_modifierPressed && m_keyboard && m_keyboard->isModifierKey(quint8(raw->detail)))
        m_modifierPressed();
    return true;
}

bool XcbPointerSampler::notifyModifierPresses(std::function<void()> handler) {
    m_modifierPressed = std::move(handler);
    return m_keysFollowed;
}

PointerSampler::State XcbPointerSampler::sample() {
    State state;
    if (!m_connection || !m_connection->isValid())
        return state;
    xcb_connection_t* c = m_connection->connection();
    Reply<xcb_query_pointer_reply_t> pointer(
        xcb_query_pointer_reply(c, xcb_query_pointer(c, m_connection->root()), nullptr));
    // Key presses the server sent before its answer are read by now: hand them out, so a
    // press just before this sample is never missed.
    if (m_keysFollowed)
        m_connection->dispatch();
    if (pointer) {
        state.flags = flagsOf(pointer->mask);
        state.location = QPointF(pointer->root_x, pointer->root_y);
        state.mouseButtons = buttonsOf(pointer->mask);
    }
    if (m_keysFollowed)
        state.keyDownAgo = m_keys.secondsAgo(KeyDownRecord::Clock::now());
    return state;
}

bool XcbPointerSampler::inMenuBar(QPointF point) const {
    if (!m_stripReader)
        return false;
    if (!m_listener) // not following the window manager's changes: read it afresh
        return m_stripReader->read().contains(point);
    if (!m_strip)
        m_strip = m_stripReader->read();
    return m_strip->contains(point);
}
