#include "platform/linux/capture/ClickCounter.h"

#include <cstdlib>

ClickCounter::ClickCounter(int intervalMs, int distance)
    : m_interval(qMax(0, intervalMs)), m_distance(qMax(0, distance)) {}

int ClickCounter::press(quint32 time, QPoint position) {
    // Unsigned subtraction keeps the gap right across the clock's wrap.
    const quint32 gap = time - m_lastTime;
    const bool continues = m_count > 0 && gap <= quint32(m_interval) &&
                           std::abs(position.x() - m_lastPosition.x()) <= m_distance &&
                           std::abs(position.y() - m_lastPosition.y()) <= m_distance;
    m_count = continues ? m_count + 1 : 1;
    m_lastTime = time;
    m_lastPosition = position;
    return m_count;
}

void ClickCounter::reset() {
    m_count = 0;
}
