#pragma once

#include <QCoroTask>
#include <QDBusConnection>
#include <QHash>
#include <QObject>
#include <QString>
#include <functional>

class QDBusMessage;
class QDBusServiceWatcher;

// The inhibitors GNOME's session manager holds (GetInhibitors, each Inhibitor object's
// application, reason, flags and window), read when watching starts or the service appears,
// and followed through InhibitorAdded / InhibitorRemoved. No service: nothing held. Every
// question is asynchronous; the signals are taken from the service's current owner only.
// Main thread only.
class GnomeSessionInhibitors final : public QObject {
    Q_OBJECT
public:
    struct Inhibitor {
        QString application;
        QString reason;
        quint32 flags = 0;
        quint32 toplevelXid = 0;
    };

    explicit GnomeSessionInhibitors(QDBusConnection bus);
    ~GnomeSessionInhibitors() override;

    void start();
    void stop();
    // By object path; only those whose details have all arrived.
    const QHash<QString, Inhibitor>& held() const { return m_held; }

    // What is held changed.
    std::function<void()> onChange;

private Q_SLOTS:
    void inhibitorAdded(const QDBusMessage& message);
    void inhibitorRemoved(const QDBusMessage& message);

private:
    // Learns who owns the service now, then what it holds.
    QCoro::Task<void> follow();
    QCoro::Task<void> list();
    QCoro::Task<void> fetch(QString path);
    void drop(const QString& path);
    void changed();

    QDBusConnection m_bus;
    QDBusServiceWatcher* m_watcher = nullptr;
    // The session manager's unique name; empty while there is none (or it is being asked).
    QString m_owner;
    bool m_running = false;
    // Bumped on stop and when the service goes: answers to older questions are dropped.
    quint64 m_generation = 0;
    QHash<QString, Inhibitor> m_held;
};
