#pragma once

#include "platform/GlobalPointerEvents.h"
#include "platform/linux/capture/ClickCounter.h"

#include <QObject>
#include <QPointer>
#include <QSet>
#include <optional>
#include <xcb/xcb.h>

class XcbEventConnection;

// Left-button gestures from the XInput 2.2 raw events of every master device, selected on
// the root window of the program's own X connection: no grab, and nothing runs while
// nothing happens. Raw events carry no position, so the pointer is asked where it is on
// press and release, and once per dispatch while the button is held and it moved.
class XInputPointerEvents : public QObject, public GlobalPointerEvents {
public:
    struct Options {
        int doubleClickIntervalMs = 400;
        int doubleClickDistance = 5;
        // Whether input sent through the XTEST extension is ignored. The program itself only
        // ever sends keys that way, so its selection watch keeps synthetic clicks: they are a
        // person's too, through a dwell-click tool of the desktop's accessibility kit (or
        // xdotool in the tests).
        bool ignoreSyntheticDevices = true;
    };

    XInputPointerEvents(XcbEventConnection& connection, Options options);
    ~XInputPointerEvents() override;

    bool start(Handler handler) override;
    void stop() override;

private:
    bool handle(const xcb_generic_event_t* event);
    bool selectEvents(bool on);
    void readSyntheticDevices();
    std::optional<QPoint> pointerPosition();
    void buttonPressed(quint32 time);
    void buttonReleased(quint32 time);
    void moved();
    void reportDrag();

    QPointer<XcbEventConnection> m_connection;
    Options m_options;
    Handler m_handler;
    ClickCounter m_clicks;
    std::optional<int> m_listener;
    quint8 m_opcode = 0;
    QSet<quint16> m_syntheticDevices;
    bool m_held = false;
    int m_clickCount = 1;
    quint32 m_lastTime = 0;
    // Motion seen since the last drag was reported; the report is queued once per burst.
    bool m_moved = false;
    bool m_dragQueued = false;
};
