#include "base/TimerSource.h"

#include <QTimer>

namespace {

// The QTimer outlives this handle until the event loop deletes it, so a callback that drops
// its own timer does not delete the object still emitting its timeout.
class EventLoopTimer final : public TimerSource::Timer {
public:
    EventLoopTimer(std::chrono::milliseconds delay, std::function<void()> callback)
        : m_timer(new QTimer) {
        m_timer->setSingleShot(true);
        m_timer->setTimerType(Qt::PreciseTimer);
        QObject::connect(m_timer, &QTimer::timeout, m_timer,
                         [callback = std::move(callback)] { callback(); });
        m_timer->start(delay);
    }
    ~EventLoopTimer() override {
        m_timer->stop();
        m_timer->deleteLater();
    }

private:
    QTimer* m_timer;
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
