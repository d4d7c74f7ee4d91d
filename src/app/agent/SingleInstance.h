#pragma once

#include "platform/SafeFiles.h"

#include <QByteArray>
#include <QLocalServer>
#include <QObject>
#include <QString>
#include <chrono>
#include <memory>

// One agent per user. The agent holds a lock on a private folder of the user's for as long as
// it runs (the system drops the lock when the process ends, crashed or not) and listens on a
// socket inside that folder. A later launch finds the lock taken and hands its request
// ("reopen") to the agent over the socket instead of starting. Who holds the lock is the
// agent, so launches at the same moment never both become one, and a socket left by a crashed
// agent is replaced without asking whether someone still answers on it.
class SingleInstance : public QObject {
    Q_OBJECT
public:
    enum class Role {
        agent,      // this process is the agent; later launches reach it through messageReceived
        handedOver, // the running agent has the request; this process should exit
        failed,     // neither; failure() says why
    };

    explicit SingleInstance(QString folder = defaultFolder(), QObject* parent = nullptr);
    ~SingleInstance() override;

    // Becomes the agent, or hands `message` to the one that runs, waiting up to `patience`
    // for an agent that is still starting (or still quitting) to answer.
    Role claim(const QByteArray& message,
               std::chrono::milliseconds patience = std::chrono::seconds(5));
    // Why claim() failed, for the user.
    const QString& failure() const { return m_failure; }

    // The session's runtime folder when it has one, else a folder of this user's in the
    // temporary folder; either way one per user.
    static QString defaultFolder();

Q_SIGNALS:
    void messageReceived(const QByteArray& message);

private:
    enum class Delivery { taken, noAnswer, foreignPeer };

    QString socketPath() const;
    bool prepareFolder();
    bool becomeAgent();
    Delivery deliver(const QByteArray& message, std::chrono::milliseconds patience);
    void accept();

    QString m_folder;
    QString m_failure;
    // Declared before the server, which therefore closes (and removes its socket) before the
    // lock goes: a successor's socket is never removed by the agent it replaces.
    std::unique_ptr<SafeFiles::FolderLock> m_lock;
    QLocalServer m_server;
};
