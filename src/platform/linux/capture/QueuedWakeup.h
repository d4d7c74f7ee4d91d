#pragma once

#include <QCoreApplication>
#include <QMetaObject>
#include <coroutine>
#include <memory>
#include <utility>

// Lets a coroutine wait until some callback on the main thread (an X event handler, a timer)
// wakes it. The coroutine goes on later, from the event loop, never inside the waker's own
// call: the waker finishes undisturbed, and the coroutine may then end and free whatever it
// likes. Wakes that come while it is not waiting are kept for its next wait; several wakes
// before it runs are one.
class QueuedWakeup {
public:
    QueuedWakeup() : m_state(std::make_shared<State>()) {}
    QueuedWakeup(const QueuedWakeup&) = delete;
    QueuedWakeup& operator=(const QueuedWakeup&) = delete;

    void wake() {
        // Without an event loop (the program is ending) nobody will wait any more.
        if (m_state->posted || !QCoreApplication::instance())
            return;
        m_state->posted = true;
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [weak = std::weak_ptr<State>(m_state)] {
                // Held until the coroutine has run, even if it frees this wakeup.
                const std::shared_ptr<State> state = weak.lock();
                if (!state)
                    return;
                state->posted = false;
                state->woken = true;
                if (const std::coroutine_handle<> waiter = std::exchange(state->waiter, {}))
                    waiter.resume();
            },
            Qt::QueuedConnection);
    }

    auto operator co_await() {
        struct Awaiter {
            State& state;
            bool await_ready() const noexcept { return state.woken; }
            void await_suspend(std::coroutine_handle<> waiter) noexcept { state.waiter = waiter; }
            void await_resume() noexcept { state.woken = false; }
        };
        return Awaiter{*m_state};
    }

private:
    struct State {
        std::coroutine_handle<> waiter;
        bool woken = false;
        bool posted = false;
    };
    std::shared_ptr<State> m_state;
};
