#pragma once

#include "base/TimerSource.h"

#include <QList>
#include <chrono>
#include <memory>

// Timers that fire only when the test moves their clock: a time limit runs out exactly when
// the test says so, however slow the machine.
class ManualTimers final : public TimerSource {
public:
    ManualTimers();
    ~ManualTimers() override;

    std::unique_ptr<Timer> start(std::chrono::milliseconds delay,
                                 std::function<void()> callback) override;

    // Moves the clock forward, firing every timer that falls due on the way, in the order
    // they fall due (timers started by a callback included).
    void advance(std::chrono::milliseconds by);
    // Timers started and neither fired nor dropped.
    int pending() const;
    std::chrono::milliseconds now() const { return m_now; }

private:
    struct Entry;
    class Handle;

    std::chrono::milliseconds m_now{0};
    quint64 m_nextId = 0;
    // Shared with the handles, which may outlive this source.
    std::shared_ptr<QList<Entry>> m_entries;
};
