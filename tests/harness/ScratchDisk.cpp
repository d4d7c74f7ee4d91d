#include "harness/ScratchDisk.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <cerrno>
#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

QByteArray options(qint64 bytes) {
    return "size=" + QByteArray::number(bytes) + ",mode=0755";
}

} // namespace

ScratchDisk::ScratchDisk(const QString& folder, qint64 bytes) : m_folder(folder), m_bytes(bytes) {
    QDir().mkpath(folder);
    m_mounted = ::mount("tmpfs", QFile::encodeName(folder).constData(), "tmpfs", 0,
                        options(bytes).constData()) == 0;
}

ScratchDisk::~ScratchDisk() {
    if (m_mounted)
        ::umount2(QFile::encodeName(m_folder).constData(), MNT_DETACH);
}

bool ScratchDisk::fill() {
    const QByteArray path = QFile::encodeName(m_folder + u"/filler"_s);
    const int fd = ::open(path.constData(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600);
    if (fd < 0)
        return false;
    const QByteArray block(4096, 'x');
    bool full = false;
    for (qint64 written = 0; written <= m_bytes + block.size();) {
        // Byte by byte at the end, so not even a small write fits any more.
        const qsizetype size = written + block.size() <= m_bytes ? block.size() : 1;
        const ssize_t n = ::write(fd, block.constData(), static_cast<size_t>(size));
        if (n < 0) {
            full = errno == ENOSPC;
            break;
        }
        written += n;
    }
    ::close(fd);
    return full;
}

void ScratchDisk::makeRoom() {
    QFile::remove(m_folder + u"/filler"_s);
}

bool ScratchDisk::setReadOnly(bool readOnly) {
    return ::mount("tmpfs", QFile::encodeName(m_folder).constData(), "tmpfs",
                   MS_REMOUNT | (readOnly ? MS_RDONLY : 0), options(m_bytes).constData()) == 0;
}
