#pragma once

#include "platform/SystemActivityEvents.h"

#include <QStringList>

// The system's lock, sleep and user-switch notices as a test announces them. Nothing reaches
// the listener while stopped, as with the real adapters.
class ScriptedSystemActivity final : public SystemActivityEvents {
public:
    // Announced as unavailable when listening starts.
    QStringList missing;
    // Conditions that already hold, announced as beginning when listening starts.
    QList<PauseReason> holding;

    void start(Listener listener) override {
        m_listener = std::move(listener);
        m_running = true;
        for (const QString& line : missing)
            if (m_listener.unavailable)
                m_listener.unavailable(line);
        for (PauseReason reason : holding)
            announce(reason, true);
    }
    void stop() override { m_running = false; }

    void announce(PauseReason reason, bool begins) {
        if (m_running && m_listener.changed)
            m_listener.changed(reason, begins);
    }
    bool isRunning() const { return m_running; }

private:
    Listener m_listener;
    bool m_running = false;
};
