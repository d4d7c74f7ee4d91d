#pragma once

#include <QCoroTask>
#include <QDBusConnection>
#include <QHash>
#include <QList>
#include <QObject>
#include <QString>
#include <optional>

class DBusConnectionPids;
class QDBusMessage;

// The media players on the session bus (org.mpris.MediaPlayer2.*: ListNames when watching
// starts, then NameOwnerChanged) and what each says of its playback (PlaybackStatus, then
// PropertiesChanged), with the process each runs in. Main thread only.
class MprisPlayers final : public QObject {
    Q_OBJECT
public:
    MprisPlayers(QDBusConnection bus, DBusConnectionPids& pids);
    ~MprisPlayers() override;

    void start();
    void stop();
    // The players of the application's process and of the processes it started: true when
    // one is playing, false when all are paused or stopped, nothing when it has none.
    std::optional<bool> playing(qint32 appPid);

private Q_SLOTS:
    void nameOwnerChanged(const QString& name, const QString& oldOwner, const QString& newOwner);
    void propertiesChanged(const QDBusMessage& message);

private:
    struct Player {
        QString owner; // unique name
        QString status;
        QList<qint32> lineage; // its process and that one's ancestors, once known
    };

    QCoro::Task<void> listPlayers();
    void add(const QString& name, const QString& owner);
    QCoro::Task<void> learnOwner(QString name);
    QCoro::Task<void> askStatus(QString name);

    QDBusConnection m_bus;
    DBusConnectionPids& m_pids;
    bool m_running = false;
    quint64 m_generation = 0;
    // By well-known name.
    QHash<QString, Player> m_players;
};
