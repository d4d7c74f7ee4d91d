#pragma once

#include "platform/SystemActivityEvents.h"

#include <QSet>
#include <QString>
#include <functional>

// Merges the system's notices into one pause per episode: capture pauses when the first of
// screen lock, sleep and a user switch begins, and resumes when the last of them ends. Main
// thread only.
class SystemActivityMonitor {
public:
    explicit SystemActivityMonitor(SystemActivityEvents& events);
    ~SystemActivityMonitor();

    // The reason's text, as shown and logged.
    static QString text(PauseReason reason);

    std::function<void()> onPause;
    std::function<void()> onResume;
    // A service the notices come from is missing; the line says which.
    std::function<void(const QString& line)> onUnavailable;

    void start();
    // Stops listening; the reasons present stay, and still need their ends after a restart.
    void stop();
    void enterPaused(PauseReason reason);
    void leavePaused(PauseReason reason);

    bool isRunning() const { return m_running; }
    bool isPaused() const { return !m_reasons.isEmpty(); }
    const QSet<PauseReason>& pauseReasons() const { return m_reasons; }

private:
    SystemActivityEvents& m_events;
    QSet<PauseReason> m_reasons;
    bool m_running = false;
};
