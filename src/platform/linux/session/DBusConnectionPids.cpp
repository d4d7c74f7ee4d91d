#include "platform/linux/session/DBusConnectionPids.h"

#include "platform/linux/session/DBusQueries.h"

#include <QDBusMessage>
#include <QPointer>

using namespace Qt::StringLiterals;

namespace {

constexpr qint32 asked = -1;

} // namespace

DBusConnectionPids::DBusConnectionPids(QDBusConnection bus) : m_bus(std::move(bus)) {}

qint32 DBusConnectionPids::pidOf(const QString& uniqueName) {
    if (uniqueName.isEmpty())
        return 0;
    if (const auto it = m_pids.constFind(uniqueName); it != m_pids.cend())
        return std::max(*it, 0);
    m_pids.insert(uniqueName, asked);
    ask(uniqueName);
    return 0;
}

QCoro::Task<void> DBusConnectionPids::ask(QString uniqueName) {
    const QPointer<DBusConnectionPids> self(this);
    const quint64 generation = m_generation;
    QDBusMessage question =
        QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                       u"org.freedesktop.DBus"_s, u"GetConnectionUnixProcessID"_s);
    question.setArguments({uniqueName});
    const std::optional<QDBusMessage> reply = co_await DBusQueries::call(m_bus, question);
    // Forgotten meanwhile: the connection left, or watching stopped.
    if (!self || generation != m_generation || m_pids.value(uniqueName) != asked)
        co_return;
    m_pids.insert(uniqueName, reply ? qint32(reply->arguments().value(0).toUInt()) : 0);
    if (onKnown)
        onKnown();
}

void DBusConnectionPids::forget(const QString& uniqueName) {
    m_pids.remove(uniqueName);
}

void DBusConnectionPids::clear() {
    m_pids.clear();
    ++m_generation;
}
