#include "ScreenSaverActiveSignals.h"

#include "DBusQueries.h"

#include <QDBusMessage>
#include <QDBusServiceWatcher>
#include <QPointer>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

const QString kActiveChanged = u"ActiveChanged"_s;
const QString kNoSessionBus = u"系统状态｜连不上会话总线，锁屏只能从 logind 得知"_s;
const QString kNoScreenSaver = u"系统状态｜会话总线上没有屏幕保护程序，锁屏只能从 logind 得知"_s;

} // namespace

ScreenSaverActiveSignals::ScreenSaverActiveSignals(QDBusConnection sessionBus)
    : m_bus(std::move(sessionBus)),
      m_services{{
          {.name = u"org.freedesktop.ScreenSaver"_s, .path = u"/org/freedesktop/ScreenSaver"_s},
          {.name = u"org.gnome.ScreenSaver"_s, .path = u"/org/gnome/ScreenSaver"_s},
          {.name = u"org.xfce.ScreenSaver"_s, .path = u"/org/xfce/ScreenSaver"_s},
      }} {}

ScreenSaverActiveSignals::~ScreenSaverActiveSignals() {
    stop();
}

void ScreenSaverActiveSignals::start(Listener listener) {
    if (m_running)
        return;
    m_running = true;
    ++m_generation;
    m_listener = std::move(listener);
    if (!m_bus.isConnected()) {
        tell(kNoSessionBus);
        Q_EMIT settled();
        return;
    }
    subscribe();
    m_unanswered = int(m_services.size());
    for (qsizetype index = 0; index < qsizetype(m_services.size()); ++index)
        learn(index, true);
}

void ScreenSaverActiveSignals::stop() {
    if (!m_running)
        return;
    m_running = false;
    ++m_generation;
    unsubscribe();
}

// Without a sender in the rule: naming the service makes Qt ask the bus for its owner and
// wait. One rule for the three interfaces, each a hop to Qt's D-Bus thread; the sender and
// interface are checked as each signal comes.
void ScreenSaverActiveSignals::subscribe() {
    m_bus.connect(QString(), QString(), QString(), kActiveChanged, this,
                  SLOT(activeChanged(QDBusMessage)));
    m_watcher = new QDBusServiceWatcher(this);
    m_watcher->setConnection(m_bus);
    m_watcher->setWatchMode(QDBusServiceWatcher::WatchForOwnerChange);
    for (const Service& service : m_services)
        m_watcher->addWatchedService(service.name);
    connect(m_watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
            [this](const QString& name, const QString&, const QString& owner) {
                ownerChanged(name, owner);
            });
}

void ScreenSaverActiveSignals::unsubscribe() {
    if (!m_bus.isConnected())
        return;
    m_bus.disconnect(QString(), QString(), QString(), kActiveChanged, this,
                     SLOT(activeChanged(QDBusMessage)));
    delete m_watcher;
    m_watcher = nullptr;
}

QCoro::Task<> ScreenSaverActiveSignals::learn(qsizetype index, bool initial) {
    const int generation = m_generation;
    const int asked = ++m_services[index].asked;
    const QPointer<ScreenSaverActiveSignals> self(this);
    const auto running = [&] {
        return self && generation == m_generation;
    };
    const auto latest = [&] {
        return m_services[index].asked == asked;
    };
    const QString name = m_services[index].name;

    QString owner = m_services[index].owner;
    if (initial)
        owner = co_await DBusQueries::ownerOf(m_bus, name);
    bool active = false;
    if (running() && latest() && !owner.isEmpty()) {
        const QDBusMessage ask =
            QDBusMessage::createMethodCall(owner, m_services[index].path, name, u"GetActive"_s);
        const std::optional<QDBusMessage> reply = co_await DBusQueries::call(m_bus, ask);
        // One that offers only part of the interface (no GetActive) is not locked.
        active = reply && reply->arguments().value(0).toBool();
    }
    if (!running())
        co_return;
    if (latest()) {
        m_services[index].owner = owner;
        m_services[index].active = active;
        report();
    }
    if (initial)
        answered();
}

void ScreenSaverActiveSignals::answered() {
    if (--m_unanswered > 0)
        return;
    if (std::all_of(m_services.cbegin(), m_services.cend(),
                    [](const Service& each) { return each.owner.isEmpty(); }))
        tell(kNoScreenSaver);
    Q_EMIT settled();
}

void ScreenSaverActiveSignals::ownerChanged(const QString& name, const QString& owner) {
    for (qsizetype index = 0; index < qsizetype(m_services.size()); ++index) {
        Service& service = m_services[index];
        if (service.name != name)
            continue;
        // One that quits, or makes way for another, no longer holds the screen; whatever was
        // still being asked of it is stale.
        service.owner = owner;
        service.active = false;
        ++service.asked;
        report();
        if (!owner.isEmpty())
            learn(index, false);
    }
}

void ScreenSaverActiveSignals::activeChanged(const QDBusMessage& message) {
    if (!m_running)
        return;
    for (Service& service : m_services) {
        // Only the name's owner speaks for it.
        if (service.name == message.interface() && !service.owner.isEmpty() &&
            service.owner == message.service()) {
            service.active = message.arguments().value(0).toBool();
            report();
        }
    }
}

// Only changes are told; what was told survives a stop, so a restart tells what changed
// while nobody listened.
void ScreenSaverActiveSignals::report() {
    const bool locked = std::any_of(m_services.cbegin(), m_services.cend(),
                                    [](const Service& each) { return each.active; });
    if (locked == m_reported)
        return;
    m_reported = locked;
    if (m_running && m_listener.changed)
        m_listener.changed(PauseReason::screenLock, locked);
}

void ScreenSaverActiveSignals::tell(const QString& line) {
    if (m_told.contains(line))
        return;
    m_told.insert(line);
    if (m_listener.unavailable)
        m_listener.unavailable(line);
}
