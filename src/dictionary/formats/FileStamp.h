#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

// What tells one version of a file from another: a replaced file gets a new inode, a
// rewritten one a new size or modification time.
struct FileStamp {
    quint64 device = 0;
    quint64 inode = 0;
    qint64 size = 0;
    qint64 seconds = 0;
    qint64 nanoseconds = 0;

    bool operator==(const FileStamp&) const = default;

    // Nothing when there is no such file. `path` is in the file system's encoding.
    static std::optional<FileStamp> of(const QByteArray& path);
    QString text() const;
};
