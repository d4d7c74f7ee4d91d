#pragma once

#include <QHash>
#include <QObject>
#include <QStringList>
#include <QVariantList>
#include <functional>
#include <memory>

struct DBusConnection;
struct DBusMessage;
struct DBusTimeout;
struct DBusWatch;
class QSocketNotifier;
class QTimer;

// One message seen on the bus, with the argument types the watchers read: strings and object
// paths as QString, integers, booleans; anything else is an invalid QVariant in its place.
struct MonitoredMessage {
    enum class Type { call, reply, error, signal, other };
    Type type = Type::other;
    QString sender;
    QString destination;
    QString interface;
    QString member;
    quint32 serial = 0;
    quint32 replySerial = 0;
    QVariantList arguments;
};

// A connection of its own to the session bus, turned into a monitor (BecomeMonitor): it gets
// a copy of every message that matches its rules, whoever it was meant for, and may send
// nothing more. Qt's D-Bus module would answer calls it sees and lose the connection, so this
// speaks libdbus directly, driven by the Qt main loop: no call waits for the bus. Main thread
// only.
class LibdbusMonitorConnection final : public QObject {
    Q_OBJECT
public:
    using Handler = std::function<void(const MonitoredMessage&)>;

    LibdbusMonitorConnection(QStringList rules, Handler handler);
    ~LibdbusMonitorConnection() override;

    // Connects and asks to monitor; false when there is no session bus to connect to. The
    // bus's answer comes later: see isMonitoring().
    bool open();
    void close();
    // The bus agreed: messages are coming.
    bool isMonitoring() const { return m_state == State::monitoring; }

private:
    enum class State { closed, asking, monitoring };
    struct Watch;
    // libdbus's callbacks, which reach the members below.
    struct Callbacks;
    friend struct Callbacks;

    void watchReady(DBusWatch* watch, unsigned flag);
    void dispatchSoon();
    void dispatch();
    void take(DBusMessage* message);

    const QStringList m_rules;
    const Handler m_handler;
    DBusConnection* m_connection = nullptr;
    State m_state = State::closed;
    quint32 m_becomeSerial = 0;
    bool m_dispatchQueued = false;
    QHash<DBusWatch*, Watch*> m_watches;
    QHash<DBusTimeout*, QTimer*> m_timeouts;
};
