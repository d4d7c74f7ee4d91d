#include "AtspiBus.h"

#include <QCoroDBus>
#include <QDBusMessage>
#include <atomic>

using namespace Qt::StringLiterals;

namespace {

const QString eventInterface = u"org.a11y.atspi.Event.Object"_s;

// Each reader its own connection, so dropping one never closes another's.
QString freshConnectionName() {
    static std::atomic<int> counter = 0;
    return u"quillet-atspi-%1"_s.arg(++counter);
}

} // namespace

AtspiBus::AtspiBus(QDBusConnection sessionBus) : sessionBus(std::move(sessionBus)) {}

AtspiBus::~AtspiBus() {
    drop();
}

void AtspiBus::drop() {
    bus.reset();
    focused_.reset();
    processes.clear();
    if (!connectionName.isEmpty())
        QDBusConnection::disconnectFromBus(connectionName);
    connectionName.clear();
}

QCoro::Task<std::optional<QDBusConnection>> AtspiBus::connection(std::chrono::milliseconds limit) {
    if (bus && bus->isConnected()) {
        // A copy: GCC 12 moves a member named in co_return.
        const QDBusConnection current = *bus;
        co_return current;
    }
    drop();
    if (connecting || !sessionBus.isConnected())
        co_return std::nullopt;
    connecting = true;

    QDBusMessage ask = QDBusMessage::createMethodCall(u"org.a11y.Bus"_s, u"/org/a11y/bus"_s,
                                                      u"org.a11y.Bus"_s, u"GetAddress"_s);
    // Never starts a launcher the desktop did not start itself.
    ask.setAutoStartService(false);
    const QDBusMessage answer = co_await sessionBus.asyncCall(ask, static_cast<int>(limit.count()));
    const QString address = answer.type() == QDBusMessage::ReplyMessage
                                ? answer.arguments().value(0).toString()
                                : QString();
    if (address.isEmpty()) {
        connecting = false;
        co_return std::nullopt;
    }

    // Connecting says hello to the bus daemon and waits for its answer: a local daemon
    // answers at once, and one that is gone refuses the connection at once.
    const QString name = freshConnectionName();
    const QDBusConnection made = QDBusConnection::connectToBus(address, name);
    connecting = false;
    if (!made.isConnected()) {
        QDBusConnection::disconnectFromBus(name);
        co_return std::nullopt;
    }
    connectionName = name;
    bus = made;
    listen(*bus);
    co_return made;
}

void AtspiBus::listen(QDBusConnection& connection) {
    connection.connect(QString(), QString(), eventInterface, u"StateChanged"_s, this,
                       SLOT(stateChanged(QDBusMessage)));
    connection.connect(QString(), QString(), eventInterface, u"TextSelectionChanged"_s, this,
                       SLOT(textSelectionChanged(QDBusMessage)));
    // Applications send only the events someone registered for.
    for (const QString& event :
         {u"object:state-changed:focused"_s, u"object:text-selection-changed"_s}) {
        QDBusMessage registration = QDBusMessage::createMethodCall(
            u"org.a11y.atspi.Registry"_s, u"/org/a11y/atspi/registry"_s,
            u"org.a11y.atspi.Registry"_s, u"RegisterEvent"_s);
        registration.setArguments({event, QStringList(), QString()});
        connection.asyncCall(registration);
    }
}

void AtspiBus::stateChanged(const QDBusMessage& message) {
    const QVariantList arguments = message.arguments();
    if (arguments.value(0).toString() != u"focused"_s)
        return;
    const AtspiObject object{message.service(), message.path()};
    if (arguments.value(1).toInt() == 1)
        focused_ = object;
    else if (focused_ == object)
        focused_.reset();
}

void AtspiBus::textSelectionChanged(const QDBusMessage& message) {
    // Text is selected where focus is, even when the focus event went missing.
    focused_ = AtspiObject{message.service(), message.path()};
}

QCoro::Task<qint64> AtspiBus::processOf(QString service, std::chrono::milliseconds limit) {
    if (const auto known = processes.constFind(service); known != processes.cend())
        co_return *known;
    const std::optional<QDBusConnection> connection = bus;
    if (!connection)
        co_return 0;
    const qint64 process = co_await Atspi::processOf(*connection, service, limit);
    if (process > 0)
        processes.insert(service, process);
    co_return process;
}
