#include "platform/linux/session/GnomeSessionInhibitors.h"

#include "platform/linux/session/DBusQueries.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusServiceWatcher>
#include <QPointer>

using namespace Qt::StringLiterals;

namespace {

const QString service = u"org.gnome.SessionManager"_s;
const QString managerPath = u"/org/gnome/SessionManager"_s;
const QString managerInterface = u"org.gnome.SessionManager"_s;
const QString inhibitorInterface = u"org.gnome.SessionManager.Inhibitor"_s;
QDBusMessage call(const QString& path, const QString& interface, const QString& method) {
    return QDBusMessage::createMethodCall(service, path, interface, method);
}

QStringList pathsFrom(const QVariant& value) {
    QStringList paths;
    if (value.canConvert<QDBusArgument>()) {
        const QDBusArgument argument = value.value<QDBusArgument>();
        argument.beginArray();
        while (!argument.atEnd()) {
            QDBusObjectPath path;
            argument >> path;
            paths.append(path.path());
        }
        argument.endArray();
    } else {
        for (const QDBusObjectPath& path : value.value<QList<QDBusObjectPath>>())
            paths.append(path.path());
    }
    return paths;
}

QString pathFrom(const QVariant& value) {
    return value.canConvert<QDBusObjectPath>() ? value.value<QDBusObjectPath>().path()
                                               : value.toString();
}

} // namespace

GnomeSessionInhibitors::GnomeSessionInhibitors(QDBusConnection bus) : m_bus(std::move(bus)) {}

GnomeSessionInhibitors::~GnomeSessionInhibitors() {
    stop();
}

void GnomeSessionInhibitors::start() {
    if (m_running)
        return;
    m_running = true;
    // Without a sender name: Qt would ask the bus who owns the service and wait for the answer.
    m_bus.connect(QString(), managerPath, managerInterface, u"InhibitorAdded"_s, this,
                  SLOT(inhibitorAdded(QDBusMessage)));
    m_bus.connect(QString(), managerPath, managerInterface, u"InhibitorRemoved"_s, this,
                  SLOT(inhibitorRemoved(QDBusMessage)));
    m_watcher =
        new QDBusServiceWatcher(service, m_bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& owner) {
                // Another session manager holds other inhibitors.
                ++m_generation;
                m_owner = owner;
                const bool had = !m_held.isEmpty();
                m_held.clear();
                if (!owner.isEmpty())
                    list();
                if (had)
                    changed();
            });
    follow();
}

void GnomeSessionInhibitors::stop() {
    if (!m_running)
        return;
    m_running = false;
    ++m_generation;
    m_bus.disconnect(QString(), managerPath, managerInterface, u"InhibitorAdded"_s, this,
                     SLOT(inhibitorAdded(QDBusMessage)));
    m_bus.disconnect(QString(), managerPath, managerInterface, u"InhibitorRemoved"_s, this,
                     SLOT(inhibitorRemoved(QDBusMessage)));
    delete std::exchange(m_watcher, nullptr);
    m_owner.clear();
    m_held.clear();
}

QCoro::Task<void> GnomeSessionInhibitors::follow() {
    const QPointer<GnomeSessionInhibitors> self(this);
    const quint64 generation = m_generation;
    const QString owner = co_await DBusQueries::ownerOf(m_bus, service);
    // The watcher may have told a newer owner meanwhile.
    if (!self || generation != m_generation || owner.isEmpty())
        co_return;
    m_owner = owner;
    co_await list();
}

QCoro::Task<void> GnomeSessionInhibitors::list() {
    const QPointer<GnomeSessionInhibitors> self(this);
    const quint64 generation = m_generation;
    // Named: GCC 12 destroys a temporary in a co_await's operand twice.
    const QDBusMessage ask = call(managerPath, managerInterface, u"GetInhibitors"_s);
    const std::optional<QDBusMessage> reply = co_await DBusQueries::call(m_bus, ask);
    if (!self || generation != m_generation || !reply)
        co_return;
    const QStringList paths = pathsFrom(reply->arguments().value(0));
    bool dropped = false;
    for (const QString& path : m_held.keys())
        if (!paths.contains(path)) {
            m_held.remove(path);
            dropped = true;
        }
    for (const QString& path : paths)
        if (!m_held.contains(path))
            fetch(path);
    if (dropped)
        changed();
}

QCoro::Task<void> GnomeSessionInhibitors::fetch(QString path) {
    const QPointer<GnomeSessionInhibitors> self(this);
    const quint64 generation = m_generation;
    // Each answer is needed; one missing means the inhibitor went meanwhile.
    QVariantList answers;
    for (const QString& method :
         {u"GetAppId"_s, u"GetReason"_s, u"GetFlags"_s, u"GetToplevelXid"_s}) {
        const QDBusMessage ask = call(path, inhibitorInterface, method);
        const std::optional<QDBusMessage> reply = co_await DBusQueries::call(m_bus, ask);
        if (!self || generation != m_generation || !reply)
            co_return;
        answers.append(reply->arguments().value(0));
    }
    m_held.insert(path, Inhibitor{.application = answers[0].toString(),
                                  .reason = answers[1].toString(),
                                  .flags = answers[2].toUInt(),
                                  .toplevelXid = answers[3].toUInt()});
    changed();
}

void GnomeSessionInhibitors::inhibitorAdded(const QDBusMessage& message) {
    if (m_running && message.service() == m_owner)
        fetch(pathFrom(message.arguments().value(0)));
}

void GnomeSessionInhibitors::inhibitorRemoved(const QDBusMessage& message) {
    if (m_running && message.service() == m_owner)
        drop(pathFrom(message.arguments().value(0)));
}

void GnomeSessionInhibitors::drop(const QString& path) {
    if (m_held.remove(path))
        changed();
}

void GnomeSessionInhibitors::changed() {
    if (onChange)
        onChange();
}
