#include "LinuxSystemActivity.h"

LinuxSystemActivity::LinuxSystemActivity()
    : LinuxSystemActivity(QDBusConnection::systemBus(), QDBusConnection::sessionBus()) {}

LinuxSystemActivity::LinuxSystemActivity(QDBusConnection systemBus, QDBusConnection sessionBus)
    : m_logind(std::move(systemBus)), m_screenSavers(std::move(sessionBus)) {
    connect(&m_logind, &LogindSessionEvents::settled, this, [this] { sourceSettled(logind); });
    connect(&m_screenSavers, &ScreenSaverActiveSignals::settled, this,
            [this] { sourceSettled(screenSavers); });
}

LinuxSystemActivity::~LinuxSystemActivity() {
    stop();
}

void LinuxSystemActivity::start(Listener listener) {
    if (m_running)
        return;
    m_running = true;
    m_listener = std::move(listener);
    m_settled.clear();
    m_logind.start(listenerFor(logind));
    m_screenSavers.start(listenerFor(screenSavers));
}

void LinuxSystemActivity::stop() {
    if (!m_running)
        return;
    m_running = false;
    m_logind.stop();
    m_screenSavers.stop();
}

SystemActivityEvents::Listener LinuxSystemActivity::listenerFor(Source source) {
    return {
        .changed =
            [this, source](PauseReason reason, bool holds) {
                QSet<Source>& holders = m_holders[reason];
                const bool held = !holders.isEmpty();
                if (holds)
                    holders.insert(source);
                else
                    holders.remove(source);
                if (held != !holders.isEmpty() && m_running && m_listener.changed)
                    m_listener.changed(reason, holds);
            },
        .unavailable =
            [this](const QString& line) {
                if (m_running && m_listener.unavailable)
                    m_listener.unavailable(line);
            },
    };
}

void LinuxSystemActivity::sourceSettled(Source source) {
    const bool before = m_settled.size() == 2;
    m_settled.insert(source);
    if (!before && m_settled.size() == 2 && m_running)
        Q_EMIT settled();
}
