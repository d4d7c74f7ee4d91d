#include "platform/linux/session/DBusConnectionPids.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>

using namespace Qt::StringLiterals;

namespace {

// The bus itself answers at once; nothing else is involved.
constexpr int callLimitMs = 2000;
constexpr qint32 asked = -1;

} // namespace

DBusConnectionPids::DBusConnectionPids(QDBusConnection bus) : m_bus(std::move(bus)) {}

qint32 DBusConnectionPids::pidOf(const QString& uniqueName) {
    if (uniqueName.isEmpty())
        return 0;
    if (const auto it = m_pids.constFind(uniqueName); it != m_pids.cend())
        return std::max(*it, 0);
    m_pids.insert(uniqueName, asked);
    QDBusMessage ask =
        QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                       u"org.freedesktop.DBus"_s, u"GetConnectionUnixProcessID"_s);
    ask.setArguments({uniqueName});
    auto* watcher = new QDBusPendingCallWatcher(m_bus.asyncCall(ask, callLimitMs), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, uniqueName, generation = m_generation](QDBusPendingCallWatcher* call) {
                call->deleteLater();
                // Forgotten meanwhile: the connection left, or watching stopped.
                if (generation != m_generation || m_pids.value(uniqueName) != asked)
                    return;
                const QDBusMessage answer = call->reply();
                const qint32 pid = answer.type() == QDBusMessage::ReplyMessage
                                       ? qint32(answer.arguments().value(0).toUInt())
                                       : 0;
                m_pids.insert(uniqueName, pid);
                if (onKnown)
                    onKnown();
            });
    return 0;
}

void DBusConnectionPids::forget(const QString& uniqueName) {
    m_pids.remove(uniqueName);
}

void DBusConnectionPids::clear() {
    m_pids.clear();
    ++m_generation;
}
