#include "platform/SafeFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace SafeFiles {
namespace {

using Kind = Failure::Kind;

Failure failureOf(Kind kind) {
    switch (kind) {
    case Kind::missing:
        return {kind, u"文件不存在"_s};
    case Kind::notRegular:
        return {kind, u"不是普通文件"_s};
    case Kind::tooLarge:
        return {kind, u"文件过大"_s};
    case Kind::noSpace:
        return {kind, u"磁盘空间已满"_s};
    case Kind::readOnly:
        return {kind, u"文件系统是只读的"_s};
    case Kind::denied:
        return {kind, u"没有权限"_s};
    case Kind::ioError:
        return {kind, u"磁盘读写出错"_s};
    case Kind::busy:
        return {kind, u"文件正被另一个进程长时间占用"_s};
    case Kind::other:
        break;
    }
    return {kind, u"系统错误"_s};
}

QByteArray encoded(const QString& path) {
    return QFile::encodeName(path);
}

// Closes a descriptor when it goes out of scope.
struct Descriptor {
    int fd = -1;
    ~Descriptor() {
        if (fd >= 0)
            ::close(fd);
    }
    int release() {
        const int released = fd;
        fd = -1;
        return released;
    }
};

bool writeAll(int fd, const QByteArray& bytes) {
    const char* data = bytes.constData();
    qsizetype left = bytes.size();
    while (left > 0) {
        const ssize_t written = ::write(fd, data, static_cast<size_t>(left));
        if (written < 0) {
            if (errno == EINTR)
                continue;
            return false;
        }
        data += written;
        left -= written;
    }
    return true;
}

// A symbolic link is followed, so a settings file kept elsewhere (a dotfiles folder) stays
// a link and its target gets the new content.
QString resolvedTarget(const QString& path) {
    const QFileInfo info(path);
    if (info.isSymLink()) {
        const QString target = info.canonicalFilePath();
        if (!target.isEmpty())
            return target;
    }
    return path;
}

} // namespace

Failure Failure::fromErrno(int error) {
    switch (error) {
    case ENOENT:
    case ENOTDIR:
        return failureOf(Kind::missing);
    case EISDIR:
        return failureOf(Kind::notRegular);
    case ENOSPC:
    case EDQUOT:
    case EFBIG:
        return failureOf(Kind::noSpace);
    case EROFS:
        return failureOf(Kind::readOnly);
    case EACCES:
    case EPERM:
        return failureOf(Kind::denied);
    case EIO:
        return failureOf(Kind::ioError);
    case EWOULDBLOCK:
        return failureOf(Kind::busy);
    default:
        break;
    }
    Failure other = failureOf(Kind::other);
    other.reason += u"（代码 %1）"_s.arg(error);
    return other;
}

std::optional<Failure> writeAtomically(const QString& requestedPath, const QByteArray& bytes) {
    const QString path = resolvedTarget(requestedPath);
    const QByteArray target = encoded(path);
    mode_t mode = S_IRUSR | S_IWUSR;
    struct stat existing {};
    if (::stat(target.constData(), &existing) == 0) {
        if (!S_ISREG(existing.st_mode))
            return failureOf(Kind::notRegular);
        mode = existing.st_mode & 07777;
    }
    const QString folder = QFileInfo(path).absolutePath();
    if (!QDir().mkpath(folder)) {
        // mkpath says only that it failed; the reason is what creating the last level gives.
        if (::mkdir(encoded(folder).constData(), 0700) != 0 && errno != EEXIST)
            return Failure::fromErrno(errno);
    }
    QByteArray temporary = encoded(folder + u"/."_s + QFileInfo(path).fileName() + u".XXXXXX"_s);
    Descriptor file{::mkostemp(temporary.data(), O_CLOEXEC)};
    if (file.fd < 0)
        return Failure::fromErrno(errno);
    const auto abandon = [&temporary](int error) {
        ::unlink(temporary.constData());
        return Failure::fromErrno(error);
    };
    if (::fchmod(file.fd, mode) != 0 || !writeAll(file.fd, bytes) || ::fsync(file.fd) != 0)
        return abandon(errno);
    if (::close(file.release()) != 0)
        return abandon(errno);
    if (::rename(temporary.constData(), target.constData()) != 0)
        return abandon(errno);
    // The rename itself reaches the device only when the folder is flushed.
    if (Descriptor directory{::open(encoded(folder).constData(), O_RDONLY | O_CLOEXEC)};
        directory.fd >= 0)
        ::fsync(directory.fd);
    return std::nullopt;
}

QString unusedPath(const QString& stem, const QString& suffix) {
    const auto taken = [](const QString& path) {
        struct stat info {};
        return ::lstat(encoded(path).constData(), &info) == 0; // a dangling link counts too
    };
    QString candidate = stem + suffix;
    for (int n = 2; taken(candidate); ++n)
        candidate = stem + u'-' + QString::number(n) + suffix;
    return candidate;
}

void removeLeftovers(const QString& path) {
    const QFileInfo target(resolvedTarget(path));
    QDir folder(target.absolutePath());
    const QString prefix = u"."_s + target.fileName() + u"."_s;
    for (const QString& name :
         folder.entryList({prefix + u"??????"_s}, QDir::Files | QDir::Hidden | QDir::System))
        folder.remove(name);
}

std::variant<int, Failure> openRegularFile(const QString& path) {
    // O_NONBLOCK: opening a FIFO must not wait for a writer.
    Descriptor file{::open(encoded(path).constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC)};
    if (file.fd < 0)
        return Failure::fromErrno(errno);
    struct stat info {};
    if (::fstat(file.fd, &info) != 0)
        return Failure::fromErrno(errno);
    if (!S_ISREG(info.st_mode))
        return failureOf(Kind::notRegular);
    return file.release();
}

std::variant<QByteArray, Failure> readRegularFile(const QString& path, qint64 maxBytes) {
    const std::variant<int, Failure> opened = openRegularFile(path);
    if (const auto* failure = std::get_if<Failure>(&opened))
        return *failure;
    Descriptor file{std::get<int>(opened)};
    struct stat info {};
    if (::fstat(file.fd, &info) != 0)
        return Failure::fromErrno(errno);
    if (info.st_size > maxBytes)
        return failureOf(Kind::tooLarge);
    QByteArray bytes;
    bytes.resize(static_cast<qsizetype>(info.st_size));
    qsizetype filled = 0;
    // The file may grow or shrink while it is read: read until the end, within the limit.
    for (;;) {
        if (filled == bytes.size()) {
            if (bytes.size() >= maxBytes + 1)
                return failureOf(Kind::tooLarge);
            bytes.resize(std::min<qsizetype>(bytes.size() + 4096, maxBytes + 1));
        }
        const ssize_t got =
            ::read(file.fd, bytes.data() + filled, static_cast<size_t>(bytes.size() - filled));
        if (got < 0) {
            if (errno == EINTR)
                continue;
            return Failure::fromErrno(errno);
        }
        if (got == 0)
            break;
        filled += got;
    }
    if (filled > maxBytes)
        return failureOf(Kind::tooLarge);
    bytes.truncate(filled);
    return bytes;
}

std::optional<Identity> identity(const QString& path) {
    struct stat info {};
    if (::stat(encoded(path).constData(), &info) != 0 || !S_ISREG(info.st_mode))
        return std::nullopt;
#ifdef __APPLE__
    const auto& modified = info.st_mtimespec;
#else
    const auto& modified = info.st_mtim;
#endif
    return Identity{.device = static_cast<quint64>(info.st_dev),
                    .inode = static_cast<quint64>(info.st_ino),
                    .size = static_cast<qint64>(info.st_size),
                    .modifiedNs = qint64(modified.tv_sec) * 1'000'000'000 + modified.tv_nsec};
}

FolderLock::FolderLock(const QString& folder, int timeoutMs) {
    if (!QDir().mkpath(folder) && ::mkdir(encoded(folder).constData(), 0700) != 0 &&
        errno != EEXIST) {
        m_failure = Failure::fromErrno(errno);
        return;
    }
    // A lock on the folder itself needs no lock file, so a read-only or full disk still
    // allows readers to agree on who goes first.
    Descriptor directory{::open(encoded(folder).constData(), O_RDONLY | O_CLOEXEC)};
    if (directory.fd < 0) {
        m_failure = Failure::fromErrno(errno);
        return;
    }
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(timeoutMs);
    while (::flock(directory.fd, LOCK_EX | LOCK_NB) != 0) {
        if (errno != EWOULDBLOCK && errno != EINTR) {
            m_failure = Failure::fromErrno(errno);
            return;
        }
        if (std::chrono::steady_clock::now() >= deadline) {
            m_failure = failureOf(Kind::busy);
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    m_fd = directory.release();
}

FolderLock::~FolderLock() {
    if (m_fd >= 0)
        ::close(m_fd); // closing the last descriptor releases the lock
}

} // namespace SafeFiles
