#pragma once

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
};
