#include "platform/linux/capture/XcbEventConnection.h"

#include <QAbstractEventDispatcher>
#include <QSocketNotifier>
#include <QThread>
#include <cstdlib>
#include <xcb/xcb.h>

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
