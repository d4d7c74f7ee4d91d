#include "platform/linux/session/GnomeSessionInhibitors.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

const QString service = u"org.gnome.SessionManager"_s;
const QString managerPath = u"/org/gnome/SessionManager"_s;
const QString managerInterface = u"org.gnome.SessionManager"_s;
const QString inhibitorInterface = u"org.gnome.SessionManager.Inhibitor"_s;
// The session manager answers from memory; a stuck one must not pile up questions.
constexpr int callLimitMs = 2000;

QDBusMessage call(const QString& path, const QString& interface, const QString& method) {
    QDBusMessage message = QDBusMessage::createMethodCall(service, path, interface, method);
    // Asking must not start a session manager the desktop does not run.
    message.setAutoStartService(false);
    return message;
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
    m_bus.connect(service, managerPath, managerInterface, u"InhibitorAdded"_s, this,
                  SLOT(inhibitorAdded(QDBusMessage)));
    m_bus.connect(service, managerPath, managerInterface, u"InhibitorRemoved"_s, this,
                  SLOT(inhibitorRemoved(QDBusMessage)));
    m_watcher =
        new QDBusServiceWatcher(service, m_bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& owner) {
                // Another session manager holds other inhibitors.
                ++m_generation;
                const bool had = !m_held.isEmpty();
                m_held.clear();
                if (!owner.isEmpty())
                    list();
                if (had)
                    changed();
            });
    list();
}

void GnomeSessionInhibitors::stop() {
    if (!m_running)
        return;
    m_running = false;
    ++m_generation;
    m_bus.disconnect(service, managerPath, managerInterface, u"InhibitorAdded"_s, this,
                     SLOT(inhibitorAdded(QDBusMessage)));
    m_bus.disconnect(service, managerPath, managerInterface, u"InhibitorRemoved"_s, this,
                     SLOT(inhibitorRemoved(QDBusMessage)));
    delete std::exchange(m_watcher, nullptr);
    m_held.clear();
}

void GnomeSessionInhibitors::list() {
    auto* watcher = new QDBusPendingCallWatcher(
        m_bus.asyncCall(call(managerPath, managerInterface, u"GetInhibitors"_s), callLimitMs),
        this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this,
            [this, generation = m_generation](QDBusPendingCallWatcher* answer) {
                answer->deleteLater();
                const QDBusMessage reply = answer->reply();
                if (generation != m_generation || reply.type() != QDBusMessage::ReplyMessage)
                    return;
                const QStringList paths = pathsFrom(reply.arguments().value(0));
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
            });
}

void GnomeSessionInhibitors::fetch(const QString& path) {
    // Four questions at once; the inhibitor is taken when all four are answered.
    struct Pending {
        Inhibitor inhibitor;
        int waiting = 4;
        bool failed = false;
    };
    auto pending = std::make_shared<Pending>();
    const auto ask = [&](const QString& method, std::function<void(const QVariant&)> store) {
        auto* watcher = new QDBusPendingCallWatcher(
            m_bus.asyncCall(call(path, inhibitorInterface, method), callLimitMs), this);
        connect(watcher, &QDBusPendingCallWatcher::finished, this,
                [this, path, pending, store = std::move(store),
                 generation = m_generation](QDBusPendingCallWatcher* answer) {
                    answer->deleteLater();
                    const QDBusMessage reply = answer->reply();
                    if (reply.type() == QDBusMessage::ReplyMessage)
                        store(reply.arguments().value(0));
                    else
                        pending->failed = true; // removed meanwhile
                    if (--pending->waiting > 0 || pending->failed || generation != m_generation)
                        return;
                    m_held.insert(path, pending->inhibitor);
                    changed();
                });
    };
    ask(u"GetAppId"_s,
        [pending](const QVariant& v) { pending->inhibitor.application = v.toString(); });
    ask(u"GetReason"_s, [pending](const QVariant& v) { pending->inhibitor.reason = v.toString(); });
    ask(u"GetFlags"_s, [pending](const QVariant& v) { pending->inhibitor.flags = v.toUInt(); });
    ask(u"GetToplevelXid"_s,
        [pending](const QVariant& v) { pending->inhibitor.toplevelXid = v.toUInt(); });
}

void GnomeSessionInhibitors::inhibitorAdded(const QDBusMessage& message) {
    if (m_running)
        fetch(pathFrom(message.arguments().value(0)));
}

void GnomeSessionInhibitors::inhibitorRemoved(const QDBusMessage& message) {
    if (m_running)
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
