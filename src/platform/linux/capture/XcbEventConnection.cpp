#include "platform/linux/capture/XcbEventConnection.h"

#include <QAbstractEventDispatcher>
#include <QSocketNotifier>
#include <QThread>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>
#include <xcb/xcb.h>
#include <xcb/xinput.h>

XcbEventConnection::XcbEventConnection(QObject* parent) : QObject(parent) {
    int screenNumber = 0;
    xcb_connection_t* connection = xcb_connect(nullptr, &screenNumber);
    if (xcb_connection_has_error(connection)) {
        xcb_disconnect(connection);
        return;
    }
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(connection));
    for (int i = 0; i < screenNumber && it.rem; ++i)
        xcb_screen_next(&it);
    if (!it.rem) {
        xcb_disconnect(connection);
        return;
    }
    m_connection = connection;
    m_screen = it.data;
    m_notifier = std::make_unique<QSocketNotifier>(xcb_get_file_descriptor(connection),
                                                   QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &XcbEventConnection::dispatch);
    if (QAbstractEventDispatcher* loop = QAbstractEventDispatcher::instance(thread()))
        connect(loop, &QAbstractEventDispatcher::aboutToBlock, this, &XcbEventConnection::dispatch);
}

XcbEventConnection::~XcbEventConnection() {
    m_notifier.reset();
    if (m_connection)
        xcb_disconnect(m_connection);
}

xcb_window_t XcbEventConnection::root() const {
    return m_screen ? m_screen->root : 0;
}

int XcbEventConnection::addListener(Listener listener) {
    m_listeners.push_back({m_nextId, std::move(listener)});
    return m_nextId++;
}

void XcbEventConnection::removeListener(int id) {
    std::erase_if(m_listeners, [id](const Entry& entry) { return entry.id == id; });
}

void XcbEventConnection::dispatch() {
    if (!m_connection)
        return;
    while (xcb_generic_event_t* event = xcb_poll_for_event(m_connection)) {
        // A listener may add or remove listeners while it runs.
        const std::vector<Entry> listeners = m_listeners;
        for (const Entry& entry : listeners)
            if (entry.listener(event))
                break;
        std::free(event);
    }
    xcb_flush(m_connection);
}

bool XcbEventConnection::selectXInputEvents(const void* owner, const EventMaskUnion::Masks& masks) {
    if (!m_connection)
        return false;
    const EventMaskUnion::Masks before = m_xinputMasks.masksOf(owner);
    const std::set<quint16> changed = m_xinputMasks.set(owner, masks);
    if (changed.empty())
        return true;
    // Each device's mask: a header, then its length in words of bits (none clears it).
    std::vector<quint32> words;
    for (quint16 device : changed) {
        const quint32 bits = m_xinputMasks.combined(device);
        xcb_input_event_mask_t head{device, quint16(bits ? 1 : 0)};
        static_assert(sizeof head == sizeof(quint32));
        quint32 headWord = 0;
        std::memcpy(&headWord, &head, sizeof head);
        words.push_back(headWord);
        if (bits)
            words.push_back(bits);
    }
    const auto cookie = xcb_input_xi_select_events_checked(
        m_connection, root(), quint16(changed.size()),
        reinterpret_cast<const xcb_input_event_mask_t*>(words.data()));
    std::unique_ptr<xcb_generic_error_t, decltype(&std::free)> error(
        xcb_request_check(m_connection, cookie), &std::free);
    if (error) // refused whole: the server still has what it had
        m_xinputMasks.set(owner, before);
    return !error;
}

bool XcbEventConnection::selectRootEvents(const void* owner, quint32 eventMask) {
    if (!m_connection)
        return false;
    constexpr quint16 rootKey = 0;
    EventMaskUnion::Masks masks;
    if (eventMask)
        masks[rootKey] = eventMask;
    const EventMaskUnion::Masks before = m_rootMasks.masksOf(owner);
    if (m_rootMasks.set(owner, masks).empty())
        return true;
    const quint32 combined = m_rootMasks.combined(rootKey);
    std::unique_ptr<xcb_generic_error_t, decltype(&std::free)> error(
        xcb_request_check(m_connection, xcb_change_window_attributes_checked(
                                            m_connection, root(), XCB_CW_EVENT_MASK, &combined)),
        &std::free);
    if (error)
        m_rootMasks.set(owner, before);
    return !error;
}
