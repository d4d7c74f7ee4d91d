#include "platform/linux/capture/KeyDownRecord.h"

#include <algorithm>
#include <limits>

void KeyDownRecord::pressed(quint16 sourceDevice, quint8 keyCode, Clock::time_point at) {
    if (m_synthetic.contains(sourceDevice) || (m_isModifier && m_isModifier(keyCode)))
        return;
    m_last = at;
}

double KeyDownRecord::secondsAgo(Clock::time_point now) const {
    if (!m_last)
        return std::numeric_limits<double>::infinity();
    // A press read after `now` was taken is "just now", never in the future.
    return std::max(0.0, std::chrono::duration<double>(now - *m_last).count());
}
