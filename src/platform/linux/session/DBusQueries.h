#pragma once

#include <QCoroTask>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QString>
#include <QVariantMap>
#include <optional>

// The few questions the session adapters ask over D-Bus, asynchronously. None starts a
// service that is not running: a missing one is an answer.
namespace DBusQueries {

// A service that does not answer within this long is treated as absent, so a hung one
// cannot hold back what the others tell.
inline constexpr int kReplyLimitMs = 5000;

// The reply; nothing when the call failed or timed out.
QCoro::Task<std::optional<QDBusMessage>> call(QDBusConnection bus, QDBusMessage message);
// The unique name that owns `name` now; empty when nobody does.
QCoro::Task<QString> ownerOf(QDBusConnection bus, QString name);
// Every property of `interface` on the object; nothing when it cannot be read.
QCoro::Task<std::optional<QVariantMap>> properties(QDBusConnection bus, QString service,
                                                   QString path, QString interface);
// A dictionary argument (a{sv}) of a received message, its values unwrapped.
QVariantMap dictionary(const QVariant& argument);
// A variant argument (v) unwrapped; any other value as it is.
QVariant unwrapped(const QVariant& argument);

} // namespace DBusQueries
