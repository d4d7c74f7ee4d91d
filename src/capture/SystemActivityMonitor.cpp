#include "capture/SystemActivityMonitor.h"

using namespace Qt::StringLiterals;

SystemActivityMonitor::SystemActivityMonitor(SystemActivityEvents& events) : m_events(events) {}

SystemActivityMonitor::~SystemActivityMonitor() {
    stop();
}

QString SystemActivityMonitor::text(PauseReason reason) {
    switch (reason) {
    case PauseReason::screenLock:
        return u"锁屏"_s;
    case PauseReason::sleep:
        return u"睡眠"_s;
    case PauseReason::sessionSwitch:
        return u"用户切换"_s;
    }
    return {};
}

void SystemActivityMonitor::start() {
    if (m_running)
        return;
    m_running = true;
    m_events.start({
        .changed =
            [this](PauseReason reason, bool begins) {
                if (begins)
                    enterPaused(reason);
                else
                    leavePaused(reason);
            },
        .unavailable =
            [this](const QString& line) {
                if (onUnavailable)
                    onUnavailable(line);
            },
    });
}

void SystemActivityMonitor::stop() {
    if (!m_running)
        return;
    m_running = false;
    m_events.stop();
}

void SystemActivityMonitor::enterPaused(PauseReason reason) {
    const bool wasRunning = m_reasons.isEmpty();
    m_reasons.insert(reason);
    if (wasRunning && onPause)
        onPause();
}

void SystemActivityMonitor::leavePaused(PauseReason reason) {
    // An end without its beginning (a wake seen at start-up) resumes nothing.
    if (!m_reasons.remove(reason))
        return;
    if (m_reasons.isEmpty() && onResume)
        onResume();
}
