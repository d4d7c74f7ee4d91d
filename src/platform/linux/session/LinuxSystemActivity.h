#pragma once

#include "LogindSessionEvents.h"
#include "ScreenSaverActiveSignals.h"

#include <QHash>
#include <QObject>

// Sleep, screen lock and user switch on Linux: the login manager on the system bus and the
// screen savers on the session bus. A condition holds while any of them says it does, so two
// services telling of one lock make one beginning and one end. Either may be missing; the
// other goes on.
class LinuxSystemActivity final : public QObject, public SystemActivityEvents {
    Q_OBJECT

public:
    // The desktop's buses.
    LinuxSystemActivity();
    LinuxSystemActivity(QDBusConnection systemBus, QDBusConnection sessionBus);
    ~LinuxSystemActivity() override;

    void start(Listener listener) override;
    void stop() override;

Q_SIGNALS:
    // Both sources listen and have told what already holds, or found themselves missing.
    void settled();

private:
    enum Source { logind, screenSavers };

    SystemActivityEvents::Listener listenerFor(Source source);
    void sourceSettled(Source source);

    LogindSessionEvents m_logind;
    ScreenSaverActiveSignals m_screenSavers;
    Listener m_listener;
    bool m_running = false;
    // Which sources say each condition holds.
    QHash<PauseReason, QSet<Source>> m_holders;
    QSet<Source> m_settled;
};
