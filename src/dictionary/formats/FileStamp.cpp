#include "dictionary/formats/FileStamp.h"

#include <sys/stat.h>

using namespace Qt::StringLiterals;

std::optional<FileStamp> FileStamp::of(const QByteArray& path) {
    struct stat status {};
    if (path.isEmpty() || ::stat(path.constData(), &status) != 0)
        return std::nullopt;
    return FileStamp{quint64(status.st_dev), quint64(status.st_ino), qint64(status.st_size),
                     qint64(status.st_mtim.tv_sec), qint64(status.st_mtim.tv_nsec)};
}

QString FileStamp::text() const {
    return QString::number(device) + u':' + QString::number(inode) + u':' + QString::number(size) +
           u':' + QString::number(seconds) + u'.' + QString::number(nanoseconds);
}
