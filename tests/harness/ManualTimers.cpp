#include "harness/ManualTimers.h"

#include <algorithm>

struct ManualTimers::Entry {
    quint64 id;
    std::chrono::milliseconds due;
    std::function<void()> callback;
};

class ManualTimers::Handle final : public TimerSource::Timer {
public:
    Handle(std::weak_ptr<QList<Entry>> entries, quint64 id)
        : m_entries(std::move(entries)), m_id(id) {}
    ~Handle() override {
        if (const auto entries = m_entries.lock())
            entries->removeIf([this](const Entry& entry) { return entry.id == m_id; });
    }

private:
    std::weak_ptr<QList<Entry>> m_entries;
    quint64 m_id;
};

ManualTimers::ManualTimers() : m_entries(std::make_shared<QList<Entry>>()) {}

ManualTimers::~ManualTimers() = default;

std::unique_ptr<TimerSource::Timer> ManualTimers::start(std::chrono::milliseconds delay,
                                                        std::function<void()> callback) {
    const quint64 id = m_nextId++;
    m_entries->append(
        {id, m_now + std::max(delay, std::chrono::milliseconds(0)), std::move(callback)});
    return std::make_unique<Handle>(m_entries, id);
}

void ManualTimers::advance(std::chrono::milliseconds by) {
    const std::chrono::milliseconds target = m_now + by;
    for (;;) {
        // The earliest due timer; among equals the one started first.
        const auto next = std::min_element(m_entries->begin(), m_entries->end(),
                                           [](const Entry& a, const Entry& b) {
                                               return a.due != b.due ? a.due < b.due : a.id < b.id;
                                           });
        if (next == m_entries->end() || next->due > target)
            break;
        m_now = next->due;
        const std::function<void()> callback = std::move(next->callback);
        m_entries->erase(next);
        callback();
    }
    m_now = target;
}

int ManualTimers::pending() const {
    return static_cast<int>(m_entries->size());
}
