#include "SingleInstance.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocalSocket>
#include <cerrno>
#include <sys/socket.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

// What the agent answers to each message, so a launch knows its request arrived and was not
// lost in the socket of an agent that is quitting.
constexpr QByteArrayView kTaken = "ok";

// How long a launch waits between looks while the agent is starting or quitting.
constexpr auto kRetryInterval = 20ms;

// The user on the other end of a local socket, or -1 when it cannot be told.
long long peerUser(qintptr descriptor) {
#ifdef SO_PEERCRED
    struct ucred credentials {};
    socklen_t size = sizeof credentials;
    if (::getsockopt(int(descriptor), SOL_SOCKET, SO_PEERCRED, &credentials, &size) != 0)
        return -1;
    return credentials.uid;
#else
    uid_t user = 0;
    gid_t group = 0;
    if (::getpeereid(int(descriptor), &user, &group) != 0)
        return -1;
    return user;
#endif
}

bool isOwnUser(qintptr descriptor) {
    return peerUser(descriptor) == static_cast<long long>(::geteuid());
}

} // namespace

SingleInstance::SingleInstance(QString folder, QObject* parent)
    : QObject(parent), m_folder(std::move(folder)) {
    connect(&m_server, &QLocalServer::newConnection, this, &SingleInstance::accept);
}

SingleInstance::~SingleInstance() = default;

QString SingleInstance::defaultFolder() {
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && QFileInfo(runtime).isDir())
        return runtime + u"/quillet"_s;
    return QDir::tempPath() + u"/quillet-%1"_s.arg(::geteuid());
}

QString SingleInstance::socketPath() const {
    return m_folder + u"/agent"_s;
}

SingleInstance::Role SingleInstance::claim(const QByteArray& message,
                                           std::chrono::milliseconds patience) {
    if (!prepareFolder())
        return Role::failed;
    const QDeadlineTimer deadline(patience);
    for (;;) {
        auto lock = std::make_unique<SafeFiles::FolderLock>(m_folder, 0);
        if (!lock->failure()) {
            m_lock = std::move(lock);
            return becomeAgent() ? Role::agent : Role::failed;
        }
        if (lock->failure()->kind != SafeFiles::Failure::Kind::busy) {
            m_failure = u"Quillet 无法启动：无法锁定「%1」（%2）。"_s.arg(m_folder,
                                                                          lock->failure()->reason);
            return Role::failed;
        }
        lock.reset();
        switch (deliver(message, std::chrono::milliseconds(deadline.remainingTime()))) {
        case Delivery::taken:
            return Role::handedOver;
        case Delivery::foreignPeer:
            m_failure = u"Quillet 无法启动：在「%1」应答的是另一个用户的程序。"_s.arg(socketPath());
            return Role::failed;
        case Delivery::noAnswer:
            break;
        }
        // The agent is between taking the lock and listening, or is on its way out.
        if (deadline.hasExpired()) {
            m_failure = u"Quillet 已在运行，但没有应答。"_s;
            return Role::failed;
        }
        std::this_thread::sleep_for(kRetryInterval);
    }
}

bool SingleInstance::prepareFolder() {
    // Private to the user: another user must neither reach the agent nor stand in for it.
    const QByteArray path = QFile::encodeName(m_folder);
    if (::mkdir(path.constData(), 0700) != 0 && errno != EEXIST) {
        m_failure = u"Quillet 无法启动：无法建立「%1」（%2）。"_s.arg(
            m_folder, SafeFiles::Failure::fromErrno(errno).reason);
        return false;
    }
    struct stat info {};
    if (::lstat(path.constData(), &info) != 0 || !S_ISDIR(info.st_mode)) {
        m_failure = u"Quillet 无法启动：「%1」不是文件夹。"_s.arg(m_folder);
        return false;
    }
    if (info.st_uid != ::geteuid()) {
        m_failure = u"Quillet 无法启动：「%1」属于另一个用户。"_s.arg(m_folder);
        return false;
    }
    if ((info.st_mode & 077) != 0 && ::chmod(path.constData(), 0700) != 0) {
        m_failure = u"Quillet 无法启动：无法让「%1」只归自己使用（%2）。"_s.arg(
            m_folder, SafeFiles::Failure::fromErrno(errno).reason);
        return false;
    }
    return true;
}

bool SingleInstance::becomeAgent() {
    // Whoever holds the lock is the only agent, so a socket already there was left by one
    // that crashed.
    QLocalServer::removeServer(socketPath());
    m_server.setSocketOptions(QLocalServer::UserAccessOption);
    if (m_server.listen(socketPath()))
        return true;
    m_failure = u"Quillet 无法启动：无法在「%1」等候后来的启动。"_s.arg(socketPath());
    m_lock.reset();
    return false;
}

SingleInstance::Delivery SingleInstance::deliver(const QByteArray& message,
                                                 std::chrono::milliseconds patience) {
    const QDeadlineTimer deadline(std::max(patience, 0ms));
    QLocalSocket socket;
    socket.connectToServer(socketPath());
    if (!socket.waitForConnected(int(deadline.remainingTime())))
        return Delivery::noAnswer;
    if (!isOwnUser(socket.socketDescriptor()))
        return Delivery::foreignPeer;
    socket.write(message + '\n');
    if (!socket.waitForBytesWritten(int(deadline.remainingTime())))
        return Delivery::noAnswer;
    while (!socket.canReadLine()) {
        if (socket.state() != QLocalSocket::ConnectedState)
            return Delivery::noAnswer; // closed unread: that agent is quitting
        if (deadline.hasExpired())
            return Delivery::taken; // an agent too busy to answer still reads it in time
        socket.waitForReadyRead(int(deadline.remainingTime()));
    }
    return socket.readLine().trimmed() == kTaken ? Delivery::taken : Delivery::noAnswer;
}

void SingleInstance::accept() {
    while (QLocalSocket* socket = m_server.nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        if (!isOwnUser(socket->socketDescriptor())) {
            socket->abort();
            socket->deleteLater();
            continue;
        }
        connect(socket, &QLocalSocket::readyRead, this, [this, socket] {
            while (socket->canReadLine()) {
                const QByteArray message = socket->readLine().trimmed();
                socket->write(kTaken.toByteArray() + '\n');
                Q_EMIT messageReceived(message);
            }
        });
    }
}
