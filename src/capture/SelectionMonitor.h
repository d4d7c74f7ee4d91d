#pragma once

#include "platform/GlobalPointerEvents.h"

#include <QPointF>
#include <functional>

// Notices that a selection gesture has just ended: a drag of more than 4 points, or a double
// (or triple) click. A plain click fires nothing; keyboard selections are not watched.
class SelectionMonitor {
public:
    // When the gesture's press happened, in window-system time.
    using Callback = std::function<void(quint64 pressServerTime)>;

    static constexpr double dragThreshold = 4.0;

    SelectionMonitor(GlobalPointerEvents& events, Callback onSelection);
    ~SelectionMonitor();

    // False when the window system offers no global pointer events.
    bool start();
    void stop();
    bool isRunning() const { return m_running; }

private:
    void handle(const GlobalPointerEvents::Event& event);

    GlobalPointerEvents& m_events;
    Callback m_onSelection;
    QPointF m_pressPosition;
    quint64 m_pressTime = 0;
    bool m_idle = true; // no press in progress
    bool m_dragged = false;
    bool m_running = false;
};
