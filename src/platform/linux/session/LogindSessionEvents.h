#pragma once

#include "platform/SystemActivityEvents.h"

#include <QCoroTask>
#include <QDBusConnection>
#include <QHash>
#include <QObject>
#include <QSet>

class QDBusMessage;
class QDBusServiceWatcher;

// Sleep, screen lock and user switch as the login manager (logind, on the system bus) tells
// them: the manager's PrepareForSleep(b), and this process's session's LockedHint and Active
// (false: another session has the seat). The session is the one logind calls "auto", else
// the one it finds by our process id. A login manager that starts later, or again, is asked
// afresh.
class LogindSessionEvents final : public QObject, public SystemActivityEvents {
    Q_OBJECT

public:
    explicit LogindSessionEvents(QDBusConnection systemBus);
    ~LogindSessionEvents() override;

    void start(Listener listener) override;
    void stop() override;

    // The session's object path, once found.
    QString sessionPath() const { return m_session; }

Q_SIGNALS:
    // Listening, and what already holds has been told (or the service found missing).
    void settled();

private Q_SLOTS:
    void prepareForSleep(const QDBusMessage& message);
    void propertiesChanged(const QDBusMessage& message);

private:
    void subscribe();
    void unsubscribe();
    void ownerChanged(const QString& owner);
    QCoro::Task<> learn();
    QCoro::Task<QString> findSession(QString owner);
    QCoro::Task<> readSession();
    void take(const QVariantMap& properties);
    void report(PauseReason reason, bool holds);
    void tell(const QString& line);

    QDBusConnection m_bus;
    Listener m_listener;
    bool m_running = false;
    // Bumped by every start, stop and new owner: an answer to an older question is dropped.
    int m_generation = 0;
    QString m_owner;
    QString m_session;
    QHash<PauseReason, bool> m_reported;
    QSet<QString> m_told;
    QDBusServiceWatcher* m_watcher = nullptr;
};
