#include "DBusQueries.h"

#include <QCoroDBus>
#include <QDBusArgument>
#include <QDBusPendingCall>
#include <QDBusVariant>

using namespace Qt::StringLiterals;

namespace DBusQueries {

QCoro::Task<std::optional<QDBusMessage>> call(QDBusConnection bus, QDBusMessage message) {
    message.setAutoStartService(false);
    // Named: the awaiter keeps a reference to it.
    const QDBusPendingCall pending = bus.asyncCall(message, kReplyLimitMs);
    QDBusMessage reply = co_await pending;
    if (reply.type() != QDBusMessage::ReplyMessage)
        co_return std::nullopt;
    co_return reply;
}

QCoro::Task<QString> ownerOf(QDBusConnection bus, QString name) {
    QDBusMessage ask =
        QDBusMessage::createMethodCall(u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s,
                                       u"org.freedesktop.DBus"_s, u"GetNameOwner"_s);
    ask.setArguments({name});
    const std::optional<QDBusMessage> reply = co_await call(bus, ask);
    co_return reply ? reply->arguments().value(0).toString() : QString();
}

QCoro::Task<std::optional<QVariantMap>> properties(QDBusConnection bus, QString service,
                                                   QString path, QString interface) {
    QDBusMessage ask = QDBusMessage::createMethodCall(
        service, path, u"org.freedesktop.DBus.Properties"_s, u"GetAll"_s);
    ask.setArguments({interface});
    const std::optional<QDBusMessage> reply = co_await call(bus, ask);
    if (!reply || reply->arguments().isEmpty())
        co_return std::nullopt;
    co_return dictionary(reply->arguments().constFirst());
}

QVariantMap dictionary(const QVariant& argument) {
    QVariantMap map = argument.userType() == qMetaTypeId<QDBusArgument>()
                          ? qdbus_cast<QVariantMap>(argument.value<QDBusArgument>())
                          : argument.toMap();
    for (QVariant& value : map)
        value = unwrapped(value);
    return map;
}

QVariant unwrapped(const QVariant& argument) {
    return argument.userType() == qMetaTypeId<QDBusVariant>()
               ? argument.value<QDBusVariant>().variant()
               : argument;
}

} // namespace DBusQueries
