#pragma once

#include "dictionary/formats/DictionaryDefect.h"

#include <QByteArray>
#include <QString>
#include <memory>
#include <optional>
#include <vector>

// Random access to a dictionary's text: a dictzip file (gzip whose header lists chunks that
// inflate on their own, so one entry costs one chunk), a plain gzip file (inflated whole when
// opened, up to kLargestWhole) or an uncompressed file (read in place). Reads go through the
// file descriptor rather than a mapping, so a file cut short while open gives a failed read,
// not a crash; what is not a regular file (a FIFO, a device) is refused without waiting on
// it. Not thread-safe: the owner serialises calls.
class DictZipFile {
public:
    // A plain gzip file lives in memory for as long as the dictionary is open, so its text
    // is bounded: 64 MiB holds the largest gzipped indexes and ordinary texts in circulation,
    // while a text that inflates past it (a few hundred KB can become gigabytes) is refused
    // before it costs more. Such a text belongs in dictzip form, which reads one chunk at a
    // time.
    static constexpr quint64 kLargestWhole = quint64(64) << 20;

    ~DictZipFile();
    DictZipFile(const DictZipFile&) = delete;
    DictZipFile& operator=(const DictZipFile&) = delete;

    // A path ending in ".dz" or ".gz" must hold gzip data; anything else is read as it is.
    static OrDefect<std::unique_ptr<DictZipFile>> open(const QString& path);
    // The same over a descriptor the reader takes over; `name` names it in defects.
    static OrDefect<std::unique_ptr<DictZipFile>> adopt(int descriptor, const QString& name,
                                                        bool compressed);

    // The uncompressed size in bytes.
    quint64 size() const { return m_size; }
    bool isChunked() const { return !m_chunkStarts.empty(); }
    // The uncompressed bytes [offset, offset + length); nothing when the range runs past the
    // end or the file cannot be read or inflated.
    std::optional<QByteArray> read(quint64 offset, quint64 length);

private:
    struct CachedChunk {
        quint64 index = 0;
        QByteArray bytes; // the chunk's beginning, as far as reads have needed it
    };

    DictZipFile(int descriptor, QString name) : m_fd(descriptor), m_name(std::move(name)) {}
    // Reads the gzip header; sets up the chunk table, or inflates the whole file.
    std::optional<QString> openGzip();
    std::optional<QString> inflateWhole();
    std::optional<QByteArray> readRaw(quint64 offset, quint64 length);
    bool readRaw(quint64 offset, quint64 length, QByteArray& into);
    // The chunk's first `needed` bytes (or more), inflated or from the cache.
    const QByteArray* chunk(quint64 index, quint64 needed);

    int m_fd = -1;
    QString m_name;         // the file's name, for defects
    quint64 m_fileSize = 0; // on disk, when opened
    quint64 m_size = 0;
    QByteArray m_whole;                 // a plain gzip file, inflated
    bool m_isWhole = false;             // m_whole holds the text
    quint32 m_chunkLength = 0;          // uncompressed bytes per chunk (the last may be shorter)
    std::vector<quint64> m_chunkStarts; // file offset of each chunk, then the end of the last
    std::vector<CachedChunk> m_cache;   // most recently used first
    QByteArray m_packed;                // the compressed chunk being inflated
};
