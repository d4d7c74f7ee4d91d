#pragma once

#include "platform/linux/capture/EventMaskUnion.h"

#include <QObject>
#include <functional>
#include <memory>
#include <vector>
#include <xcb/xcb.h>

class QSocketNotifier;

// An X connection of the program's own, apart from the toolkit's, for the capture adapters:
// events arrive through its file descriptor on the main loop and go to every listener in
// turn until one takes them. Errors of unchecked requests arrive the same way (response type
// 0). Main thread only.
class XcbEventConnection : public QObject {
    Q_OBJECT
public:
    // Returns true when it handled the event; the event stays owned by the connection.
    using Listener = std::function<bool(const xcb_generic_event_t* event)>;

    // Connects to $DISPLAY; isValid() tells whether that worked.
    explicit XcbEventConnection(QObject* parent = nullptr);
    ~XcbEventConnection() override;

    bool isValid() const { return m_connection != nullptr; }
    xcb_connection_t* connection() const { return m_connection; }
    xcb_screen_t* screen() const { return m_screen; }
    xcb_window_t root() const;

    // Returns an id for removeListener.
    int addListener(Listener listener);
    void removeListener(int id);

    // Hands out every event already read. Called by itself when the descriptor is readable
    // and before the main loop sleeps (a reply read on the way may have brought events).
    void dispatch();

    // What `owner` wants of the root window: XInput events per device (XCB_INPUT_DEVICE_*
    // or a device id → XCB_INPUT_XI_EVENT_MASK_* bits) and core events (XCB_EVENT_MASK_*).
    // The server keeps one mask per client, so the connection sends the union of every
    // owner's; an empty mask withdraws the owner's. False when the server refused.
    bool selectXInputEvents(const void* owner, const EventMaskUnion::Masks& masks);
    bool selectRootEvents(const void* owner, quint32 eventMask);

private:
    xcb_connection_t* m_connection = nullptr;
    xcb_screen_t* m_screen = nullptr;
    std::unique_ptr<QSocketNotifier> m_notifier;
    struct Entry {
        int id;
        Listener listener;
    };
    std::vector<Entry> m_listeners;
    int m_nextId = 0;
    EventMaskUnion m_xinputMasks;
    EventMaskUnion m_rootMasks;
};
