#pragma once

#include "base/TimerSource.h"

#include <QObject>
#include <memory>

class EventLog;
class SystemPermissions;

// Watches the accessibility grant, which reading other applications' selections needs.
// `isTrusted` is the last answer; polling (once a read found the grant missing) asks the
// system every second until the grant is there. Main thread only.
class AccessibilityAuthorization : public QObject {
    Q_OBJECT
public:
    static constexpr std::chrono::milliseconds pollInterval{1000};

    AccessibilityAuthorization(SystemPermissions& permissions, EventLog& log, TimerSource& timers,
                               QObject* parent = nullptr);
    ~AccessibilityAuthorization() override;

    bool isTrusted() const { return m_trusted; }
    bool isSandboxed() const;
    // Re-reads the grant the system last reported (and asks it again in the background).
    void refresh();
    // Starts the one-second poll unless it runs.
    void startPolling();
    bool isPolling() const { return m_poll != nullptr; }

    // Called by the owner when the system reports a changed grant.
    void systemChanged();

Q_SIGNALS:
    void trustChanged(bool trusted);

private:
    void publish();
    void tick();

    SystemPermissions& m_permissions;
    EventLog& m_log;
    TimerSource& m_timers;
    std::unique_ptr<TimerSource::Timer> m_poll;
    bool m_trusted = false;
};
