#pragma once

#include <chrono>
#include <functional>
#include <memory>

// Where delays and time limits come from. The program uses the event loop's timers; tests
// hand in a clock they move themselves, so no outcome depends on how fast the machine is.
class TimerSource {
public:
    // A timer that has been started; dropping it stops it.
    class Timer {
    public:
        virtual ~Timer() = default;
    };

    virtual ~TimerSource() = default;

    // Calls `callback` once, on the calling thread, `delay` from now, unless the returned
    // timer is dropped first. The callback may drop its own timer (a coroutine resumed from
    // it ends the wait that holds the timer).
    [[nodiscard]] virtual std::unique_ptr<Timer> start(std::chrono::milliseconds delay,
                                                       std::function<void()> callback) = 0;

    // The event loop's timers of the calling thread.
    static TimerSource& system();
};
