#pragma once

#include <atomic>
#include <memory>

// Cooperative cancellation: a long task checks its token after every suspension and ends
// silently once the token is cancelled. Copies share one flag.
class CancellationToken {
public:
    CancellationToken() : m_flag(std::make_shared<std::atomic_bool>(false)) {}

    void cancel() const { m_flag->store(true, std::memory_order_relaxed); }
    bool isCancelled() const { return m_flag->load(std::memory_order_relaxed); }

private:
    std::shared_ptr<std::atomic_bool> m_flag;
};

// What a cancelled task hands back instead of a value.
struct Cancelled {
    bool operator==(const Cancelled&) const = default;
};
