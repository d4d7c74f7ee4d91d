#pragma once

#include <QCoroTask>
#include <QTest>
#include <gtest/gtest.h>
#include <memory>
#include <optional>

// A task left running while the test does other things (moves a clock, stops a process);
// its outcome once it has one.
template <typename Value> class RunningTask {
public:
    explicit RunningTask(QCoro::Task<Value> task)
        : m_outcome(std::make_shared<std::optional<Value>>()) {
        collect(std::move(task), m_outcome);
    }
    bool finished() const { return m_outcome->has_value(); }
    // Runs the event loop until the task has ended, for at most `timeoutMs`.
    bool awaitEnd(int timeoutMs = 10'000) const {
        return QTest::qWaitFor([this] { return finished(); }, timeoutMs);
    }
    const Value& outcome() const {
        EXPECT_TRUE(awaitEnd()) << "the task never ended";
        return m_outcome->value();
    }

private:
    static QCoro::Task<void> collect(QCoro::Task<Value> task,
                                     std::shared_ptr<std::optional<Value>> outcome) {
        Value value = co_await std::move(task);
        *outcome = std::move(value);
    }
    std::shared_ptr<std::optional<Value>> m_outcome;
};

// Runs `task` to its end on the event loop.
template <typename Value> Value finish(QCoro::Task<Value> task) {
    RunningTask<Value> running(std::move(task));
    return running.outcome();
}
