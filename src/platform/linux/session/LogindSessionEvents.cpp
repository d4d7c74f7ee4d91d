#include "LogindSessionEvents.h"

#include "DBusQueries.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusServiceWatcher>
#include <QPointer>

using namespace Qt::StringLiterals;

namespace {

const QString kService = u"org.freedesktop.login1"_s;
const QString kManagerPath = u"/org/freedesktop/login1"_s;
const QString kManager = u"org.freedesktop.login1.Manager"_s;
const QString kSession = u"org.freedesktop.login1.Session"_s;
// The caller's own session, or the user's graphical one when the caller is in none (started
// by the user's service manager).
const QString kAutoSession = u"/org/freedesktop/login1/session/auto"_s;
const QString kProperties = u"org.freedesktop.DBus.Properties"_s;

const QString kNoSystemBus = u"系统状态｜连不上系统总线，无法得知睡眠和用户切换"_s;
const QString kNoLogind = u"系统状态｜系统总线上没有 logind，无法得知睡眠和用户切换"_s;
const QString kNoSession = u"系统状态｜logind 里找不到本程序的会话，无法得知用户切换"_s;

QDBusMessage managerCall(const QString& method, const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createMethodCall(kService, kManagerPath, kManager, method);
    message.setArguments(arguments);
    return message;
}

QString objectPath(const std::optional<QDBusMessage>& reply) {
    return reply ? reply->arguments().value(0).value<QDBusObjectPath>().path() : QString();
}

} // namespace

LogindSessionEvents::LogindSessionEvents(QDBusConnection systemBus) : m_bus(std::move(systemBus)) {}

LogindSessionEvents::~LogindSessionEvents() {
    stop();
}

void LogindSessionEvents::start(Listener listener) {
    if (m_running)
        return;
    m_running = true;
    ++m_generation;
    m_listener = std::move(listener);
    if (!m_bus.isConnected()) {
        tell(kNoSystemBus);
        Q_EMIT settled();
        return;
    }
    subscribe();
    learn();
}

void LogindSessionEvents::stop() {
    if (!m_running)
        return;
    m_running = false;
    ++m_generation;
    unsubscribe();
}

// Without a sender in the rule: naming the service makes Qt ask the bus for its owner and
// wait. Senders and paths are checked as the signals come.
void LogindSessionEvents::subscribe() {
    m_bus.connect(QString(), kManagerPath, kManager, u"PrepareForSleep"_s, this,
                  SLOT(prepareForSleep(QDBusMessage)));
    m_bus.connect(QString(), QString(), kProperties, u"PropertiesChanged"_s, {kSession}, QString(),
                  this, SLOT(propertiesChanged(QDBusMessage)));
    m_watcher =
        new QDBusServiceWatcher(kService, m_bus, QDBusServiceWatcher::WatchForOwnerChange, this);
    connect(m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString&, const QString&, const QString& owner) { ownerChanged(owner); });
}

void LogindSessionEvents::unsubscribe() {
    if (!m_bus.isConnected())
        return;
    m_bus.disconnect(QString(), kManagerPath, kManager, u"PrepareForSleep"_s, this,
                     SLOT(prepareForSleep(QDBusMessage)));
    m_bus.disconnect(QString(), QString(), kProperties, u"PropertiesChanged"_s, {kSession},
                     QString(), this, SLOT(propertiesChanged(QDBusMessage)));
    delete m_watcher;
    m_watcher = nullptr;
}

// A restarted login manager keeps its sessions; what changed meanwhile is learned again.
void LogindSessionEvents::ownerChanged(const QString& owner) {
    ++m_generation;
    m_owner.clear();
    m_session.clear();
    if (!owner.isEmpty())
        learn();
}

QCoro::Task<> LogindSessionEvents::learn() {
    const int generation = m_generation;
    const QPointer<LogindSessionEvents> self(this);
    const auto current = [&] {
        return self && generation == m_generation;
    };

    const QString owner = co_await DBusQueries::ownerOf(m_bus, kService);
    if (!current())
        co_return;
    if (owner.isEmpty()) {
        tell(kNoLogind);
        Q_EMIT settled();
        co_return;
    }
    m_owner = owner;
    const QString session = co_await findSession(owner);
    if (!current())
        co_return;
    if (session.isEmpty()) {
        tell(kNoSession);
        Q_EMIT settled();
        co_return;
    }
    m_session = session;
    // Read at its own path: from here on its changes are followed.
    co_await readSession();
    if (current())
        Q_EMIT settled();
}

QCoro::Task<QString> LogindSessionEvents::findSession(QString owner) {
    // The special name answers reads, but changes are announced from the session's own path.
    const std::optional<QVariantMap> automatic =
        co_await DBusQueries::properties(m_bus, owner, kAutoSession, kSession);
    const QString id = automatic ? automatic->value(u"Id"_s).toString() : QString();
    if (!id.isEmpty()) {
        const QDBusMessage byId = managerCall(u"GetSession"_s, {id});
        const std::optional<QDBusMessage> found = co_await DBusQueries::call(m_bus, byId);
        if (const QString path = objectPath(found); !path.isEmpty())
            co_return path;
    }
    const QDBusMessage byProcess =
        managerCall(u"GetSessionByPID"_s, {quint32(QCoreApplication::applicationPid())});
    const std::optional<QDBusMessage> found = co_await DBusQueries::call(m_bus, byProcess);
    co_return objectPath(found);
}

QCoro::Task<> LogindSessionEvents::readSession() {
    const int generation = m_generation;
    const QPointer<LogindSessionEvents> self(this);
    const std::optional<QVariantMap> values =
        co_await DBusQueries::properties(m_bus, m_owner, m_session, kSession);
    if (self && generation == m_generation && values)
        take(*values);
}

void LogindSessionEvents::prepareForSleep(const QDBusMessage& message) {
    if (!m_running || m_owner.isEmpty() || message.service() != m_owner)
        return;
    report(PauseReason::sleep, message.arguments().value(0).toBool());
}

void LogindSessionEvents::propertiesChanged(const QDBusMessage& message) {
    // Every session's changes come here; another user's lock is none of ours.
    if (!m_running || m_session.isEmpty() || message.service() != m_owner ||
        message.path() != m_session)
        return;
    const QVariantList arguments = message.arguments();
    take(DBusQueries::dictionary(arguments.value(1)));
    const QStringList invalidated = arguments.value(2).toStringList();
    if (invalidated.contains(u"LockedHint"_s) || invalidated.contains(u"Active"_s))
        readSession();
}

void LogindSessionEvents::take(const QVariantMap& properties) {
    if (const auto locked = properties.constFind(u"LockedHint"_s); locked != properties.cend())
        report(PauseReason::screenLock, locked->toBool());
    if (const auto active = properties.constFind(u"Active"_s); active != properties.cend())
        report(PauseReason::sessionSwitch, !active->toBool());
}

// Only changes are told; what was told survives a stop, so a restart tells what changed
// while nobody listened.
void LogindSessionEvents::report(PauseReason reason, bool holds) {
    if (m_reported.value(reason, false) == holds)
        return;
    m_reported.insert(reason, holds);
    if (m_running && m_listener.changed)
        m_listener.changed(reason, holds);
}

void LogindSessionEvents::tell(const QString& line) {
    if (m_told.contains(line))
        return;
    m_told.insert(line);
    if (m_listener.unavailable)
        m_listener.unavailable(line);
}
