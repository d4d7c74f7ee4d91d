#include "platform/linux/session/MprisPlayers.h"

#include "platform/linux/session/DBusConnectionPids.h"
#include "platform/linux/session/DBusQueries.h"
#include "platform/linux/session/ProcFsProcesses.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QPointer>
#include <QVariantMap>

using namespace Qt::StringLiterals;

namespace {

const QString prefix = u"org.mpris.MediaPlayer2."_s;
const QString playerPath = u"/org/mpris/MediaPlayer2"_s;
const QString playerInterface = u"org.mpris.MediaPlayer2.Player"_s;
const QString properties = u"org.freedesktop.DBus.Properties"_s;
const QString busService = u"org.freedesktop.DBus"_s;
const QString busPath = u"/org/freedesktop/DBus"_s;
const QString statusProperty = u"PlaybackStatus"_s;

} // namespace

MprisPlayers::MprisPlayers(QDBusConnection bus, DBusConnectionPids& pids)
    : m_bus(std::move(bus)), m_pids(pids) {}

MprisPlayers::~MprisPlayers() {
    stop();
}

void MprisPlayers::start() {
    if (m_running)
        return;
    m_running = true;
    m_bus.connect(busService, busPath, busService, u"NameOwnerChanged"_s, this,
                  SLOT(nameOwnerChanged(QString, QString, QString)));
    // Any sender: a player's signals come from its unique name.
    m_bus.connect(QString(), playerPath, properties, u"PropertiesChanged"_s, this,
                  SLOT(propertiesChanged(QDBusMessage)));
    listPlayers();
}

QCoro::Task<void> MprisPlayers::listPlayers() {
    const QPointer<MprisPlayers> self(this);
    const quint64 generation = m_generation;
    // Named: GCC 12 destroys a temporary in a co_await's operand twice.
    const QDBusMessage ask =
        QDBusMessage::createMethodCall(busService, busPath, busService, u"ListNames"_s);
    const std::optional<QDBusMessage> reply = co_await DBusQueries::call(m_bus, ask);
    if (!self || generation != m_generation || !reply)
        co_return;
    for (const QString& name : reply->arguments().value(0).toStringList())
        if (name.startsWith(prefix) && !m_players.contains(name))
            add(name, QString());
}

void MprisPlayers::stop() {
    if (!m_running)
        return;
    m_running = false;
    ++m_generation;
    m_bus.disconnect(busService, busPath, busService, u"NameOwnerChanged"_s, this,
                     SLOT(nameOwnerChanged(QString, QString, QString)));
    m_bus.disconnect(QString(), playerPath, properties, u"PropertiesChanged"_s, this,
                     SLOT(propertiesChanged(QDBusMessage)));
    m_players.clear();
}

std::optional<bool> MprisPlayers::playing(qint32 appPid) {
    std::optional<bool> answer;
    for (auto it = m_players.begin(); it != m_players.end(); ++it) {
        Player& player = it.value();
        if (player.lineage.isEmpty()) {
            if (const qint32 pid = m_pids.pidOf(player.owner); pid > 0)
                player.lineage = ProcFsProcesses::lineage(pid);
        }
        if (!player.lineage.contains(appPid) || player.status.isEmpty())
            continue;
        if (player.status == u"Playing")
            return true;
        answer = false;
    }
    return answer;
}

void MprisPlayers::add(const QString& name, const QString& owner) {
    m_players.insert(name, Player{.owner = owner, .status = {}, .lineage = {}});
    if (owner.isEmpty())
        learnOwner(name); // listed by name only
    else
        m_pids.pidOf(owner);
    askStatus(name);
}

QCoro::Task<void> MprisPlayers::learnOwner(QString name) {
    const QPointer<MprisPlayers> self(this);
    const quint64 generation = m_generation;
    // Its connection's name tells which signals are its own.
    const QString owner = co_await DBusQueries::ownerOf(m_bus, name);
    if (!self || generation != m_generation || owner.isEmpty())
        co_return;
    if (auto it = m_players.find(name); it != m_players.end()) {
        it->owner = owner;
        m_pids.pidOf(owner);
    }
}

QCoro::Task<void> MprisPlayers::askStatus(QString name) {
    const QPointer<MprisPlayers> self(this);
    const quint64 generation = m_generation;
    QDBusMessage ask = QDBusMessage::createMethodCall(name, playerPath, properties, u"Get"_s);
    ask.setArguments({playerInterface, statusProperty});
    const std::optional<QDBusMessage> reply = co_await DBusQueries::call(m_bus, ask);
    if (!self || generation != m_generation || !reply)
        co_return;
    if (auto it = m_players.find(name); it != m_players.end())
        it->status = DBusQueries::unwrapped(reply->arguments().value(0)).toString();
}

void MprisPlayers::nameOwnerChanged(const QString& name, const QString& oldOwner,
                                    const QString& newOwner) {
    if (!m_running)
        return;
    if (name.startsWith(u':') && newOwner.isEmpty()) {
        m_pids.forget(name);
        return;
    }
    if (!name.startsWith(prefix))
        return;
    Q_UNUSED(oldOwner);
    m_players.remove(name);
    if (!newOwner.isEmpty())
        add(name, newOwner);
}

void MprisPlayers::propertiesChanged(const QDBusMessage& message) {
    const QVariantList arguments = message.arguments();
    if (!m_running || arguments.value(0).toString() != playerInterface)
        return;
    const QVariantMap changed = DBusQueries::dictionary(arguments.value(1));
    const QStringList invalidated = arguments.value(2).toStringList();
    for (auto it = m_players.begin(); it != m_players.end(); ++it) {
        if (it->owner != message.service())
            continue;
        if (changed.contains(statusProperty))
            it->status = changed.value(statusProperty).toString();
        else if (invalidated.contains(statusProperty))
            askStatus(it.key());
    }
}
