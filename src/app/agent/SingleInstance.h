#pragma once

#include <QLocalServer>
#include <QObject>
#include <QString>

// One agent per user: the first launch listens on a local socket; a later launch hands its
// request ("reopen") to the first one and exits.
class SingleInstance : public QObject {
    Q_OBJECT
public:
    explicit SingleInstance(QString name = defaultName(), QObject* parent = nullptr);

    // True when another agent took the message (this process should exit).
    bool handOver(const QByteArray& message, int timeoutMs = 500);
    // Starts listening; false when the name cannot be taken.
    bool listen();

    // Per user (and per session), so two users on one machine each have their agent.
    static QString defaultName();

Q_SIGNALS:
    void messageReceived(const QByteArray& message);

private:
    QString m_name;
    QLocalServer m_server;
};
