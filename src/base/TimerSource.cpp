#include "base/TimerSource.h"

#include <QTimer>

namespace {

class EventLoopTimer final : public TimerSource::Timer {
public:
    EventLoopTimer(std::chrono::milliseconds delay, std::function<void()> callback)
        : m_callback(std::move(callback)) {
        m_timer.setSingleShot(true);
        m_timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, [this] { m_callback(); });
        m_timer.start(delay);
    }

private:
    std::function<void()> m_callback;
    QTimer m_timer;
};

class EventLoopTimers final : public TimerSource {
public:
    std::unique_ptr<Timer> start(std::chrono::milliseconds delay,
                                 std::function<void()> callback) override {
        return std::make_unique<EventLoopTimer>(delay, std::move(callback));
    }
};

} // namespace

TimerSource& TimerSource::system() {
    static EventLoopTimers timers;
    return timers;
}
