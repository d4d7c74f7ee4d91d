#include "platform/linux/session/LibdbusMonitorConnection.h"

#include <QFileInfo>
#include <QSocketNotifier>
#include <QTimer>
#include <dbus/dbus.h>

using namespace Qt::StringLiterals;

namespace {

constexpr const char* busName = "org.freedesktop.DBus";
constexpr const char* busPath = "/org/freedesktop/DBus";

QByteArray sessionBusAddress() {
    const QByteArray address = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    if (!address.isEmpty())
        return address;
    // Where systemd's user bus listens when the variable is not passed on.
    const QString socket = qEnvironmentVariable("XDG_RUNTIME_DIR") + u"/bus"_s;
    return QFileInfo(socket).exists() ? "unix:path=" + socket.toUtf8() : QByteArray();
}

QString text(const char* value) {
    return value ? QString::fromUtf8(value) : QString();
}

QVariantList argumentsOf(DBusMessage* message) {
    QVariantList arguments;
    DBusMessageIter it;
    if (!dbus_message_iter_init(message, &it))
        return arguments;
    do {
        const int type = dbus_message_iter_get_arg_type(&it);
        switch (type) {
        case DBUS_TYPE_STRING:
        case DBUS_TYPE_OBJECT_PATH: {
            const char* value = nullptr;
            dbus_message_iter_get_basic(&it, &value);
            arguments.append(text(value));
            break;
        }
        case DBUS_TYPE_UINT32: {
            dbus_uint32_t value = 0;
            dbus_message_iter_get_basic(&it, &value);
            arguments.append(quint32(value));
            break;
        }
        case DBUS_TYPE_INT32: {
            dbus_int32_t value = 0;
            dbus_message_iter_get_basic(&it, &value);
            arguments.append(qint32(value));
            break;
        }
        case DBUS_TYPE_BOOLEAN: {
            dbus_bool_t value = 0;
            dbus_message_iter_get_basic(&it, &value);
            arguments.append(value != 0);
            break;
        }
        default:
            arguments.append(QVariant());
        }
    } while (dbus_message_iter_next(&it));
    return arguments;
}

MonitoredMessage::Type typeOf(DBusMessage* message) {
    switch (dbus_message_get_type(message)) {
    case DBUS_MESSAGE_TYPE_METHOD_CALL:
        return MonitoredMessage::Type::call;
    case DBUS_MESSAGE_TYPE_METHOD_RETURN:
        return MonitoredMessage::Type::reply;
    case DBUS_MESSAGE_TYPE_ERROR:
        return MonitoredMessage::Type::error;
    case DBUS_MESSAGE_TYPE_SIGNAL:
        return MonitoredMessage::Type::signal;
    default:
        return MonitoredMessage::Type::other;
    }
}

} // namespace

// A file descriptor libdbus wants to hear about, as one notifier per direction.
struct LibdbusMonitorConnection::Watch {
    QSocketNotifier* read = nullptr;
    QSocketNotifier* write = nullptr;

    void setEnabled(bool enabled) {
        for (QSocketNotifier* notifier : {read, write})
            if (notifier)
                notifier->setEnabled(enabled);
    }
    // Later: libdbus may drop a watch while one of its notifiers is delivering.
    void release() {
        for (QSocketNotifier* notifier : {read, write})
            if (notifier) {
                notifier->setEnabled(false);
                notifier->deleteLater();
            }
    }
};

struct LibdbusMonitorConnection::Callbacks {
    static LibdbusMonitorConnection* of(void* self) {
        return static_cast<LibdbusMonitorConnection*>(self);
    }

    static dbus_bool_t addWatch(DBusWatch* watch, void* self) {
        LibdbusMonitorConnection* connection = of(self);
        auto* entry = new Watch;
        const int fd = dbus_watch_get_unix_fd(watch);
        const unsigned flags = dbus_watch_get_flags(watch);
        if (flags & DBUS_WATCH_READABLE) {
            entry->read = new QSocketNotifier(fd, QSocketNotifier::Read, connection);
            QObject::connect(
                entry->read, &QSocketNotifier::activated, connection,
                [connection, watch] { connection->watchReady(watch, DBUS_WATCH_READABLE); });
        }
        if (flags & DBUS_WATCH_WRITABLE) {
            entry->write = new QSocketNotifier(fd, QSocketNotifier::Write, connection);
            QObject::connect(
                entry->write, &QSocketNotifier::activated, connection,
                [connection, watch] { connection->watchReady(watch, DBUS_WATCH_WRITABLE); });
        }
        entry->setEnabled(dbus_watch_get_enabled(watch));
        connection->m_watches.insert(watch, entry);
        return TRUE;
    }

    static void removeWatch(DBusWatch* watch, void* self) {
        if (Watch* entry = of(self)->m_watches.take(watch)) {
            entry->release();
            delete entry;
        }
    }

    static void toggleWatch(DBusWatch* watch, void* self) {
        if (Watch* entry = of(self)->m_watches.value(watch))
            entry->setEnabled(dbus_watch_get_enabled(watch));
    }

    static dbus_bool_t addTimeout(DBusTimeout* timeout, void* self) {
        LibdbusMonitorConnection* connection = of(self);
        auto* timer = new QTimer(connection);
        timer->setInterval(dbus_timeout_get_interval(timeout));
        QObject::connect(timer, &QTimer::timeout, connection, [connection, timeout] {
            dbus_timeout_handle(timeout);
            connection->dispatchSoon();
        });
        if (dbus_timeout_get_enabled(timeout))
            timer->start();
        connection->m_timeouts.insert(timeout, timer);
        return TRUE;
    }

    static void removeTimeout(DBusTimeout* timeout, void* self) {
        if (QTimer* timer = of(self)->m_timeouts.take(timeout)) {
            timer->stop();
            timer->deleteLater();
        }
    }

    static void toggleTimeout(DBusTimeout* timeout, void* self) {
        if (QTimer* timer = of(self)->m_timeouts.value(timeout)) {
            timer->setInterval(dbus_timeout_get_interval(timeout));
            if (dbus_timeout_get_enabled(timeout))
                timer->start();
            else
                timer->stop();
        }
    }

    static void dispatchStatusChanged(DBusConnection*, DBusDispatchStatus status, void* self) {
        if (status == DBUS_DISPATCH_DATA_REMAINS)
            of(self)->dispatchSoon();
    }

    static DBusHandlerResult filter(DBusConnection*, DBusMessage* message, void* self) {
        of(self)->take(message);
        // Always handled: libdbus would otherwise answer a call it saw with an error, and a
        // monitor that sends anything is cut off.
        return DBUS_HANDLER_RESULT_HANDLED;
    }
};

LibdbusMonitorConnection::LibdbusMonitorConnection(QStringList rules, Handler handler)
    : m_rules(std::move(rules)), m_handler(std::move(handler)) {}

LibdbusMonitorConnection::~LibdbusMonitorConnection() {
    close();
}

bool LibdbusMonitorConnection::open() {
    if (m_connection)
        return true;
    const QByteArray address = sessionBusAddress();
    if (address.isEmpty())
        return false;
    DBusError error;
    dbus_error_init(&error);
    m_connection = dbus_connection_open_private(address.constData(), &error);
    dbus_error_free(&error);
    if (!m_connection)
        return false;
    dbus_connection_set_exit_on_disconnect(m_connection, FALSE);
    dbus_connection_add_filter(m_connection, &Callbacks::filter, this, nullptr);
    dbus_connection_set_watch_functions(m_connection, &Callbacks::addWatch, &Callbacks::removeWatch,
                                        &Callbacks::toggleWatch, this, nullptr);
    dbus_connection_set_timeout_functions(m_connection, &Callbacks::addTimeout,
                                          &Callbacks::removeTimeout, &Callbacks::toggleTimeout,
                                          this, nullptr);
    dbus_connection_set_dispatch_status_function(m_connection, &Callbacks::dispatchStatusChanged,
                                                 this, nullptr);

    // Both queued at once, answers read as they come: the bus takes them in order, and the
    // monitoring request needs no answer to the greeting first.
    DBusMessage* hello = dbus_message_new_method_call(busName, busPath, busName, "Hello");
    DBusMessage* become = dbus_message_new_method_call(
        busName, busPath, "org.freedesktop.DBus.Monitoring", "BecomeMonitor");
    DBusMessageIter it;
    DBusMessageIter list;
    dbus_message_iter_init_append(become, &it);
    dbus_message_iter_open_container(&it, DBUS_TYPE_ARRAY, DBUS_TYPE_STRING_AS_STRING, &list);
    QList<QByteArray> rules;
    for (const QString& rule : m_rules)
        rules.append(rule.toUtf8());
    for (const QByteArray& rule : rules) {
        const char* value = rule.constData();
        dbus_message_iter_append_basic(&list, DBUS_TYPE_STRING, &value);
    }
    dbus_message_iter_close_container(&it, &list);
    const dbus_uint32_t flags = 0;
    dbus_message_iter_append_basic(&it, DBUS_TYPE_UINT32, &flags);
    dbus_uint32_t serial = 0;
    const bool sent = dbus_connection_send(m_connection, hello, nullptr) &&
                      dbus_connection_send(m_connection, become, &serial);
    dbus_message_unref(hello);
    dbus_message_unref(become);
    if (!sent) {
        close();
        return false;
    }
    m_becomeSerial = serial;
    m_state = State::asking;
    return true;
}

void LibdbusMonitorConnection::close() {
    if (!m_connection)
        return;
    DBusConnection* connection = std::exchange(m_connection, nullptr);
    m_state = State::closed;
    // Closing hands back every watch and timeout through the callbacks above.
    dbus_connection_close(connection);
    dbus_connection_remove_filter(connection, &Callbacks::filter, this);
    dbus_connection_set_watch_functions(connection, nullptr, nullptr, nullptr, nullptr, nullptr);
    dbus_connection_set_timeout_functions(connection, nullptr, nullptr, nullptr, nullptr, nullptr);
    dbus_connection_set_dispatch_status_function(connection, nullptr, nullptr, nullptr);
    dbus_connection_unref(connection);
    for (Watch* entry : std::as_const(m_watches)) {
        entry->release();
        delete entry;
    }
    m_watches.clear();
    for (QTimer* timer : std::as_const(m_timeouts))
        timer->deleteLater();
    m_timeouts.clear();
}

void LibdbusMonitorConnection::watchReady(DBusWatch* watch, unsigned flag) {
    if (!m_connection || !m_watches.contains(watch))
        return;
    dbus_watch_handle(watch, flag);
    dispatchSoon();
}

void LibdbusMonitorConnection::dispatchSoon() {
    if (m_dispatchQueued || !m_connection)
        return;
    m_dispatchQueued = true;
    QMetaObject::invokeMethod(this, &LibdbusMonitorConnection::dispatch, Qt::QueuedConnection);
}

void LibdbusMonitorConnection::dispatch() {
    m_dispatchQueued = false;
    // The filter may close the connection.
    while (m_connection && dbus_connection_dispatch(m_connection) == DBUS_DISPATCH_DATA_REMAINS) {
    }
}

void LibdbusMonitorConnection::take(DBusMessage* message) {
    if (dbus_message_is_signal(message, DBUS_INTERFACE_LOCAL, "Disconnected")) {
        // Later: this runs inside libdbus's dispatch of the connection it would close.
        QMetaObject::invokeMethod(this, &LibdbusMonitorConnection::close, Qt::QueuedConnection);
        m_state = State::closed;
        return;
    }
    if (m_state == State::asking) {
        if (dbus_message_get_reply_serial(message) != m_becomeSerial)
            return; // the greeting's answer, the name the bus gave us
        if (dbus_message_get_type(message) == DBUS_MESSAGE_TYPE_METHOD_RETURN)
            m_state = State::monitoring;
        else // not allowed here: watch nothing rather than a connection that sees nothing
            QMetaObject::invokeMethod(this, &LibdbusMonitorConnection::close, Qt::QueuedConnection);
        return;
    }
    if (m_state != State::monitoring)
        return;
    MonitoredMessage seen;
    seen.type = typeOf(message);
    seen.sender = text(dbus_message_get_sender(message));
    seen.destination = text(dbus_message_get_destination(message));
    seen.interface = text(dbus_message_get_interface(message));
    seen.member = text(dbus_message_get_member(message));
    seen.serial = dbus_message_get_serial(message);
    seen.replySerial = dbus_message_get_reply_serial(message);
    seen.arguments = argumentsOf(message);
    m_handler(seen);
}
