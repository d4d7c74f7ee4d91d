#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <optional>

// A small .tar.gz made in memory: POSIX ustar entries (folders and regular files, owned by
// nobody in particular, all with one modification time), compressed as gzip. Names are
// UTF-8 and at most 100 bytes, which is all the diagnostics export needs.
class TarGzArchive {
public:
    explicit TarGzArchive(const QDateTime& modified);

    // False when the name does not fit; nothing is added then.
    bool addFolder(const QString& name);
    bool addFile(const QString& name, const QByteArray& content);

    // The archive with its end blocks, compressed; nothing when compression fails.
    std::optional<QByteArray> compressed() const;

private:
    bool addEntry(const QString& name, char type, int mode, const QByteArray& content);

    qint64 m_modified;
    QByteArray m_tar;
};
