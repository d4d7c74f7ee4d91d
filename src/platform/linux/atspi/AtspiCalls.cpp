#include "AtspiCalls.h"

#include <QCoroDBus>
#include <QDBusArgument>
#include <QDBusObjectPath>
#include <QDBusVariant>

using namespace Qt::StringLiterals;

namespace Atspi {

namespace {

// A property's value arrives wrapped in a variant, a method's answer not.
QVariant unwrapped(const QVariant& value) {
    if (value.canConvert<QDBusVariant>() && value.metaType() == QMetaType::fromType<QDBusVariant>())
        return value.value<QDBusVariant>().variant();
    return value;
}

// The bus daemon itself, which knows each connection's process.
const AtspiObject& busDaemon() {
    static const AtspiObject daemon{u"org.freedesktop.DBus"_s, u"/org/freedesktop/DBus"_s};
    return daemon;
}

std::optional<AtspiObject> readObject(const QDBusArgument& argument) {
    if (argument.currentType() != QDBusArgument::StructureType)
        return std::nullopt;
    QString service;
    QDBusObjectPath path;
    argument.beginStructure();
    argument >> service >> path;
    argument.endStructure();
    return AtspiObject{service, path.path()};
}

} // namespace

QCoro::Task<Reply> call(QDBusConnection bus, AtspiObject object, QString interface, QString method,
                        QVariantList arguments, std::chrono::milliseconds limit) {
    if (!bus.isConnected())
        co_return Reply{Reply::Kind::gone, {}};
    if (object.service.isEmpty() || object.path.isEmpty())
        co_return Reply{Reply::Kind::refused, {}};
    QDBusMessage message =
        QDBusMessage::createMethodCall(object.service, object.path, interface, method);
    message.setArguments(arguments);
    message.setAutoStartService(false);
    const QDBusMessage answer = co_await bus.asyncCall(message, static_cast<int>(limit.count()));
    if (answer.type() == QDBusMessage::ReplyMessage)
        co_return Reply{Reply::Kind::answered, answer};
    if (answer.type() != QDBusMessage::ErrorMessage)
        co_return Reply{Reply::Kind::silent, answer};
    static const QStringList gone = {
        u"org.freedesktop.DBus.Error.Disconnected"_s,
        u"org.freedesktop.DBus.Error.ServiceUnknown"_s,
        u"org.freedesktop.DBus.Error.NameHasNoOwner"_s,
        u"org.freedesktop.DBus.Error.UnknownObject"_s,
    };
    if (gone.contains(answer.errorName()))
        co_return Reply{Reply::Kind::gone, answer};
    static const QStringList silent = {
        u"org.freedesktop.DBus.Error.NoReply"_s,
        u"org.freedesktop.DBus.Error.Timeout"_s,
        u"org.freedesktop.DBus.Error.TimedOut"_s,
    };
    if (silent.contains(answer.errorName()))
        co_return Reply{Reply::Kind::silent, answer};
    co_return Reply{Reply::Kind::refused, answer};
}

QCoro::Task<Reply> property(QDBusConnection bus, AtspiObject object, QString name,
                            std::chrono::milliseconds limit) {
    return call(bus, object, u"org.freedesktop.DBus.Properties"_s, u"Get"_s, {accessible, name},
                limit);
}

std::optional<AtspiObject> objectFrom(const QVariant& value) {
    const QVariant inner = unwrapped(value);
    if (!inner.canConvert<QDBusArgument>())
        return std::nullopt;
    return readObject(inner.value<QDBusArgument>());
}

QList<AtspiObject> objectsFrom(const QVariant& value) {
    const QVariant inner = unwrapped(value);
    if (!inner.canConvert<QDBusArgument>())
        return {};
    const auto argument = inner.value<QDBusArgument>();
    if (argument.currentType() != QDBusArgument::ArrayType)
        return {};
    QList<AtspiObject> objects;
    argument.beginArray();
    while (!argument.atEnd()) {
        const auto object = readObject(argument);
        if (!object)
            break;
        objects.append(*object);
    }
    argument.endArray();
    return objects;
}

std::optional<quint64> statesFrom(const QVariant& value) {
    const QVariant inner = unwrapped(value);
    QList<uint> words;
    if (inner.canConvert<QDBusArgument>()) {
        const auto argument = inner.value<QDBusArgument>();
        if (argument.currentType() != QDBusArgument::ArrayType)
            return std::nullopt;
        argument >> words;
    } else if (inner.canConvert<QList<uint>>()) {
        words = inner.value<QList<uint>>();
    } else {
        return std::nullopt;
    }
    if (words.isEmpty())
        return std::nullopt;
    return quint64(words.value(0)) | (quint64(words.value(1)) << 32);
}

QCoro::Task<qint64> processOf(QDBusConnection bus, QString service,
                              std::chrono::milliseconds limit) {
    // A named list: GCC 12 cannot keep a braced list's array across a suspension.
    const QVariantList arguments{service};
    const Reply reply = co_await call(bus, busDaemon(), busDaemon().service,
                                      u"GetConnectionUnixProcessID"_s, arguments, limit);
    co_return reply.answered() ? reply.first().toLongLong() : 0;
}

} // namespace Atspi
