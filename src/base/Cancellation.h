#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

// Cooperative cancellation: a long task checks its token after every suspension and ends
// silently once the token is cancelled. Copies share one flag. Work that cannot check (a
// network request in flight) observes the token with onCancel() and stops itself.
class CancellationToken {
    struct State {
        std::atomic_bool cancelled{false};
        std::mutex mutex;
        std::uint64_t nextId = 0;
        std::map<std::uint64_t, std::function<void()>> observers;
    };

public:
    // Keeps an observer registered; dropping it unregisters the observer.
    class Subscription {
    public:
        Subscription() = default;
        Subscription(Subscription&& other) noexcept
            : m_state(std::move(other.m_state)), m_id(other.m_id) {}
        Subscription& operator=(Subscription&& other) noexcept {
            reset();
            m_state = std::move(other.m_state);
            m_id = other.m_id;
            return *this;
        }
        Subscription(const Subscription&) = delete;
        Subscription& operator=(const Subscription&) = delete;
        ~Subscription() { reset(); }

        void reset() {
            if (const std::shared_ptr<State> state = m_state.lock()) {
                std::lock_guard lock(state->mutex);
                state->observers.erase(m_id);
            }
            m_state.reset();
        }

    private:
        friend class CancellationToken;
        Subscription(std::weak_ptr<State> state, std::uint64_t id)
            : m_state(std::move(state)), m_id(id) {}

        std::weak_ptr<State> m_state;
        std::uint64_t m_id = 0;
    };

    CancellationToken() : m_state(std::make_shared<State>()) {}

    // Observers run once, on the thread that cancels, after the flag is set.
    void cancel() const {
        if (m_state->cancelled.exchange(true))
            return;
        std::map<std::uint64_t, std::function<void()>> observers;
        {
            std::lock_guard lock(m_state->mutex);
            observers.swap(m_state->observers);
        }
        for (auto& [id, observer] : observers)
            observer();
    }
    bool isCancelled() const { return m_state->cancelled.load(std::memory_order_relaxed); }

    // Runs `observer` when the token is cancelled, or at once when it already is.
    [[nodiscard]] Subscription onCancel(std::function<void()> observer) const {
        {
            std::lock_guard lock(m_state->mutex);
            if (!m_state->cancelled.load()) {
                const std::uint64_t id = m_state->nextId++;
                m_state->observers.emplace(id, std::move(observer));
                return Subscription(m_state, id);
            }
        }
        observer();
        return {};
    }

private:
    std::shared_ptr<State> m_state;
};

// What a cancelled task hands back instead of a value.
struct Cancelled {
    bool operator==(const Cancelled&) const = default;
};
