#pragma once

#include "base/TimerSource.h"

#include <chrono>
#include <coroutine>
#include <memory>

// `co_await Delay(timers, 20ms)`: resumes the coroutine on the calling thread once the delay
// has passed on the given timers, so a test that drives a ManualTimers moves every wait.
class Delay {
public:
    Delay(TimerSource& timers, std::chrono::milliseconds delay)
        : m_timers(timers), m_delay(delay) {}

    bool await_ready() const noexcept { return false; }
    void await_suspend(std::coroutine_handle<> waiting) {
        m_timer = m_timers.start(m_delay, [waiting] { waiting.resume(); });
    }
    void await_resume() const noexcept {}

private:
    TimerSource& m_timers;
    std::chrono::milliseconds m_delay;
    std::unique_ptr<TimerSource::Timer> m_timer;
};
