#pragma once

#include <QPoint>
#include <QtGlobal>

// Counts presses in a row the way the desktop's double-click setting means it: a press
// counts on from the one before when it comes within `interval` milliseconds of it and
// within `distance` pixels (on each axis) of where that one was. Times are the window
// system's 32-bit millisecond clock, which wraps.
class ClickCounter {
public:
    ClickCounter(int intervalMs, int distance);

    // The click count of a press at `time` and `position`.
    int press(quint32 time, QPoint position);
    // Forgets the run, so the next press is a single click.
    void reset();

private:
    int m_interval;
    int m_distance;
    int m_count = 0;
    quint32 m_lastTime = 0;
    QPoint m_lastPosition;
};
