#include "capture/AccessibilityAuthorization.h"

#include "logs/EventLog.h"
#include "platform/SystemPermissions.h"

using namespace Qt::StringLiterals;

AccessibilityAuthorization::AccessibilityAuthorization(SystemPermissions& permissions,
                                                       EventLog& log, TimerSource& timers,
                                                       QObject* parent)
    : QObject(parent), m_permissions(permissions), m_log(log), m_timers(timers),
      m_trusted(permissions.isGranted(SystemPermissions::Kind::accessibility)) {}

AccessibilityAuthorization::~AccessibilityAuthorization() = default;

bool AccessibilityAuthorization::isSandboxed() const {
    return m_permissions.isSandboxed();
}

void AccessibilityAuthorization::refresh() {
    m_permissions.refresh();
    publish();
}

void AccessibilityAuthorization::systemChanged() {
    publish();
}

void AccessibilityAuthorization::startPolling() {
    if (m_poll)
        return;
    m_poll = m_timers.start(pollInterval, [this] { tick(); });
}

void AccessibilityAuthorization::tick() {
    m_poll = m_timers.start(pollInterval, [this] { tick(); });
    refresh();
}

void AccessibilityAuthorization::publish() {
    const bool trusted = m_permissions.isGranted(SystemPermissions::Kind::accessibility);
    if (trusted && m_poll) {
        m_poll.reset();
        m_log.append(EventLog::Kind::result, u"已获得辅助功能授权，划词取词可用"_s);
    }
    if (trusted == m_trusted)
        return;
    m_trusted = trusted;
    Q_EMIT trustChanged(trusted);
}
