#pragma once

#include <QCoroTask>
#include <QDBusConnection>
#include <QHash>
#include <QObject>
#include <functional>

// The process behind each connection to the bus (GetConnectionUnixProcessID), asked once per
// connection, asynchronously, and kept until the connection is forgotten. Main thread only.
class DBusConnectionPids final : public QObject {
    Q_OBJECT
public:
    explicit DBusConnectionPids(QDBusConnection bus);

    // The process, once the bus has said; 0 until then (the question is on its way) and for
    // a connection that is gone.
    qint32 pidOf(const QString& uniqueName);
    void forget(const QString& uniqueName);
    void clear();

    // An answer arrived.
    std::function<void()> onKnown;

private:
    QCoro::Task<void> ask(QString uniqueName);

    QDBusConnection m_bus;
    // -1 while asked, 0 gone.
    QHash<QString, qint32> m_pids;
    quint64 m_generation = 0;
};
