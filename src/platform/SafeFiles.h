#pragma once

#include <QByteArray>
#include <QString>
#include <optional>
#include <variant>

// File operations that never lose the user's data and never hang on what is not a file.
// One POSIX implementation serves Linux and macOS.
namespace SafeFiles {

// Why a file operation failed, in words for the user ("磁盘已满", "没有写入权限"…).
struct Failure {
    enum class Kind {
        missing,    // nothing at that path
        notRegular, // a folder, a FIFO, a device…
        tooLarge,   // larger than the caller allows
        noSpace,    // the disk (or the quota) is full
        readOnly,   // the file system is mounted read-only
        denied,     // no permission
        ioError,    // the device reported an error
        busy,       // another process holds the lock for too long
        other,
    };
    Kind kind = Kind::other;
    QString reason; // Chinese, no system English

    static Failure fromErrno(int error);
};

// Writes `bytes` to `path` so that at every moment `path` holds either its old content or
// all of the new content: a temporary file beside it, written, flushed to the device,
// renamed over `path`, and the folder flushed. Creates the folder when missing. The file
// keeps the permissions of the one it replaces (new files: read-write for the owner only).
// An existing `path` that is not a regular file is refused and left as it is.
std::optional<Failure> writeAtomically(const QString& path, const QByteArray& bytes);

// `stem` + `suffix` when nothing is at that path yet, else `stem` + "-2" + `suffix`, "-3"…:
// a name for keeping something aside that never replaces an earlier copy.
QString unusedPath(const QString& stem, const QString& suffix = {});

// Removes the temporary files writeAtomically left beside `path` when its writer died. Only
// for a caller that holds the lock every writer of `path` holds while it writes.
void removeLeftovers(const QString& path);

// A read-only descriptor of a regular file, for the caller to close. FIFOs, devices and
// folders are refused without blocking.
std::variant<int, Failure> openRegularFile(const QString& path);

// The whole content of a regular file of at most `maxBytes`. FIFOs, devices and folders are
// refused without blocking.
std::variant<QByteArray, Failure> readRegularFile(const QString& path, qint64 maxBytes);

// What a regular file is, to notice that someone else replaced or changed it: device,
// inode, size and modification time in nanoseconds. Nothing when there is no regular file.
struct Identity {
    quint64 device = 0;
    quint64 inode = 0;
    qint64 size = 0;
    qint64 modifiedNs = 0;
    bool operator==(const Identity&) const = default;
};
std::optional<Identity> identity(const QString& path);

// An exclusive lock on a folder shared by every process of the user (flock: released by the
// system when the holder dies, so a killed process never leaves it stale). Creates the
// folder when missing. Waits up to `timeoutMs` for another holder.
class FolderLock {
public:
    explicit FolderLock(const QString& folder, int timeoutMs = 10000);
    ~FolderLock();
    FolderLock(const FolderLock&) = delete;
    FolderLock& operator=(const FolderLock&) = delete;

    // Nothing when the lock is held.
    const std::optional<Failure>& failure() const { return m_failure; }

private:
    int m_fd = -1;
    std::optional<Failure> m_failure;
};

} // namespace SafeFiles
