#pragma once

#include <QSet>
#include <chrono>
#include <functional>
#include <optional>

// When a person last pressed a key, from the raw key presses of the session. Modifier keys do
// not count (holding one is how hover lookup starts, and a modifier is not typing), and
// neither do keys sent by the devices set aside as synthetic (the program's own simulated
// copy comes through one).
class KeyDownRecord {
public:
    using Clock = std::chrono::steady_clock;

    void setSyntheticDevices(QSet<quint16> devices) { m_synthetic = std::move(devices); }
    void setModifierKey(std::function<bool(quint8 keyCode)> isModifier) {
        m_isModifier = std::move(isModifier);
    }

    void pressed(quint16 sourceDevice, quint8 keyCode, Clock::time_point at);
    void forget() { m_last.reset(); }
    // Seconds from the last counted press to `now`; infinite when there was none.
    double secondsAgo(Clock::time_point now) const;

private:
    QSet<quint16> m_synthetic;
    std::function<bool(quint8)> m_isModifier;
    std::optional<Clock::time_point> m_last;
};
