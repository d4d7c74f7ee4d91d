#include "SingleInstance.h"

#include <QFileInfo>
#include <QLocalSocket>
#include <unistd.h>

using namespace Qt::StringLiterals;

SingleInstance::SingleInstance(QString name, QObject* parent)
    : QObject(parent), m_name(std::move(name)) {
    connect(&m_server, &QLocalServer::newConnection, this, [this] {
        while (QLocalSocket* socket = m_server.nextPendingConnection()) {
            connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
            connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
                while (socket->canReadLine())
                    Q_EMIT messageReceived(socket->readLine().trimmed());
            });
        }
    });
}

QString SingleInstance::defaultName() {
    // The session's private runtime folder when there is one; else a per-user name in /tmp.
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && QFileInfo(runtime).isDir())
        return runtime + u"/quillet-agent"_s;
    return u"quillet-agent-%1"_s.arg(getuid());
}

bool SingleInstance::handOver(const QByteArray& message, int timeoutMs) {
    QLocalSocket socket;
    socket.connectToServer(m_name);
    if (!socket.waitForConnected(timeoutMs))
        return false;
    socket.write(message + '\n');
    return socket.waitForBytesWritten(timeoutMs);
}

bool SingleInstance::listen() {
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    if (m_server.listen(m_name))
        return true;
    // A socket left by an agent that crashed: nobody answers on it, so it can go.
    if (m_server.serverError() == QAbstractSocket::AddressInUseError) {
        QLocalServer::removeServer(m_name);
        return m_server.listen(m_name);
    }
    return false;
}
