#include "dictionary/formats/DictZipFile.h"

#include "platform/SafeFiles.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <cerrno>
#include <sys/stat.h>
#include <unistd.h>
#include <zlib.h>

using namespace Qt::StringLiterals;

namespace {

constexpr std::size_t kCachedChunks = 4;
// Header bytes read up front: fixed part, the largest extra field and room for a file name.
constexpr qint64 kHeaderWindow = 10 + 2 + 65535 + 4096;
// Compressed bytes fed to a whole-file inflation at a time.
constexpr quint64 kInputPiece = quint64(256) << 10;

constexpr unsigned char kFlagHeaderCrc = 0x02;
constexpr unsigned char kFlagExtra = 0x04;
constexpr unsigned char kFlagName = 0x08;
constexpr unsigned char kFlagComment = 0x10;

quint32 littleEndian16(const QByteArray& bytes, qsizetype at) {
    return quint32(quint8(bytes[at])) | quint32(quint8(bytes[at + 1])) << 8;
}

quint32 littleEndian32(const QByteArray& bytes, qsizetype at) {
    return littleEndian16(bytes, at) | littleEndian16(bytes, at + 2) << 16;
}

QString corrupt(const QString& name) {
    return name + u" 的压缩数据已损坏"_s;
}

} // namespace

DictZipFile::~DictZipFile() {
    if (m_fd >= 0)
        ::close(m_fd);
}

OrDefect<std::unique_ptr<DictZipFile>> DictZipFile::open(const QString& path) {
    const QString name = QFileInfo(path).fileName();
    // A FIFO put in a dictionary's place is refused, never waited on.
    const std::variant<int, SafeFiles::Failure> opened = SafeFiles::openRegularFile(path);
    if (const auto* failure = std::get_if<SafeFiles::Failure>(&opened)) {
        if (failure->kind == SafeFiles::Failure::Kind::notRegular)
            return DictionaryDefect{name + u" 不是普通文件"_s};
        return DictionaryDefect{name + u" 无法打开（"_s + failure->reason + u"）"_s};
    }
    return adopt(std::get<int>(opened), name, path.endsWith(u".dz"_s) || path.endsWith(u".gz"_s));
}

OrDefect<std::unique_ptr<DictZipFile>> DictZipFile::adopt(int descriptor, const QString& name,
                                                          bool compressed) {
    std::unique_ptr<DictZipFile> file(new DictZipFile(descriptor, name));
    struct stat status {};
    if (::fstat(descriptor, &status) != 0)
        return DictionaryDefect{name + u" 无法读取"_s};
    if (!S_ISREG(status.st_mode))
        return DictionaryDefect{name + u" 不是普通文件"_s};
    file->m_fileSize = quint64(status.st_size);
    if (compressed) {
        if (const auto failure = file->openGzip())
            return DictionaryDefect{*failure};
    } else {
        file->m_size = file->m_fileSize;
    }
    return file;
}

std::optional<QString> DictZipFile::openGzip() {
    const quint64 fileSize = m_fileSize;
    const std::optional<QByteArray> header = readRaw(0, std::min<quint64>(fileSize, kHeaderWindow));
    if (!header || header->size() < 18 || quint8((*header)[0]) != 0x1f ||
        quint8((*header)[1]) != 0x8b || (*header)[2] != 8)
        return corrupt(m_name);

    const auto flags = quint8((*header)[3]);
    qsizetype at = 10;
    bool hasChunks = false;
    if (flags & kFlagExtra) {
        const qsizetype extraLength = littleEndian16(*header, at);
        at += 2;
        const qsizetype extraEnd = at + extraLength;
        if (extraEnd > header->size())
            return corrupt(m_name);
        // Subfields: two id bytes, a 16-bit length, the data. dictzip's is "RA".
        while (at + 4 <= extraEnd) {
            const qsizetype length = littleEndian16(*header, at + 2);
            const qsizetype data = at + 4;
            if (data + length > extraEnd)
                return corrupt(m_name);
            if ((*header)[at] == 'R' && (*header)[at + 1] == 'A') {
                if (length < 6 || littleEndian16(*header, data) != 1)
                    return corrupt(m_name);
                m_chunkLength = littleEndian16(*header, data + 2);
                const qsizetype count = littleEndian16(*header, data + 4);
                if (m_chunkLength == 0 || length < 6 + 2 * count)
                    return corrupt(m_name);
                m_chunkStarts.assign(std::size_t(count) + 1, 0);
                for (qsizetype i = 0; i < count; ++i)
                    m_chunkStarts[std::size_t(i) + 1] = littleEndian16(*header, data + 6 + 2 * i);
                hasChunks = true;
            }
            at = data + length;
        }
        at = extraEnd;
    }
    for (const unsigned char flag : {kFlagName, kFlagComment}) {
        if (!(flags & flag))
            continue;
        const qsizetype end = header->indexOf('\0', at);
        if (end < 0)
            return corrupt(m_name);
        at = end + 1;
    }
    if (flags & kFlagHeaderCrc)
        at += 2;

    if (!hasChunks)
        return inflateWhole();

    // Chunk sizes become file offsets. The file ends with the CRC and the uncompressed size;
    // the tool puts an empty final block between them and the last chunk.
    m_chunkStarts[0] = quint64(at);
    for (std::size_t i = 1; i < m_chunkStarts.size(); ++i)
        m_chunkStarts[i] += m_chunkStarts[i - 1];
    const std::optional<QByteArray> trailer =
        fileSize >= 8 ? readRaw(fileSize - 8, 8) : std::nullopt;
    if (!trailer || m_chunkStarts.back() > fileSize - 8)
        return corrupt(m_name);
    m_size = littleEndian32(*trailer, 4);
    const quint64 count = m_chunkStarts.size() - 1;
    const bool sizeFits =
        count == 0 ? m_size == 0
                   : m_size > (count - 1) * m_chunkLength && m_size <= count * m_chunkLength;
    if (!sizeFits)
        return corrupt(m_name);
    return std::nullopt;
}

std::optional<QString> DictZipFile::inflateWhole() {
    const QString tooLarge =
        m_name + u" 解压后超过 %1 MB，请改用 dictzip 压缩"_s.arg(kLargestWhole >> 20);
    // The trailer holds the size modulo 4 GiB: most oversized files are refused here, before
    // any inflating; the limit on the output below catches the rest.
    const std::optional<QByteArray> trailer = readRaw(m_fileSize - 4, 4);
    if (!trailer)
        return corrupt(m_name);
    if (littleEndian32(*trailer, 0) > kLargestWhole)
        return tooLarge;

    z_stream stream{};
    if (inflateInit2(&stream, 16 + MAX_WBITS) != Z_OK)
        return corrupt(m_name);
    QByteArray input;
    quint64 inputAt = 0;
    const auto refill = [&] {
        if (stream.avail_in != 0 || inputAt >= m_fileSize)
            return true;
        const quint64 piece = std::min(kInputPiece, m_fileSize - inputAt);
        if (!readRaw(inputAt, piece, input))
            return false;
        inputAt += piece;
        stream.next_in = reinterpret_cast<Bytef*>(input.data());
        stream.avail_in = uInt(piece);
        return true;
    };
    // One byte past the limit tells a text of exactly the limit from a longer one.
    const auto room = qsizetype(kLargestWhole + 1);
    QByteArray output(std::clamp<qsizetype>(qsizetype(m_fileSize) * 4, qsizetype(1) << 16, room),
                      Qt::Uninitialized);
    qsizetype produced = 0;
    bool complete = false;
    bool overflow = false;
    while (refill()) {
        if (produced == output.size()) {
            if (output.size() >= room) {
                overflow = true;
                break;
            }
            output.resize(std::min(output.size() * 2, room));
        }
        stream.next_out = reinterpret_cast<Bytef*>(output.data() + produced);
        stream.avail_out = uInt(output.size() - produced);
        const uInt space = stream.avail_out;
        const int status = inflate(&stream, Z_NO_FLUSH);
        produced += qsizetype(space - stream.avail_out);
        if (status == Z_STREAM_END) {
            // Another gzip member may follow; anything else after the end is ignored.
            if (!refill())
                break;
            if (stream.avail_in >= 2 && stream.next_in[0] == 0x1f && stream.next_in[1] == 0x8b) {
                inflateReset(&stream);
                continue;
            }
            complete = true;
            break;
        }
        // Out of input before the end means the file was cut short.
        const bool starved = stream.avail_in == 0 && inputAt >= m_fileSize;
        if ((status != Z_OK && status != Z_BUF_ERROR) || (starved && stream.avail_out != 0))
            break;
    }
    inflateEnd(&stream);
    if (overflow || produced > qsizetype(kLargestWhole))
        return tooLarge;
    if (!complete)
        return corrupt(m_name);
    output.truncate(produced);
    output.squeeze();
    m_whole = std::move(output);
    m_isWhole = true;
    m_size = quint64(m_whole.size());
    return std::nullopt;
}

std::optional<QByteArray> DictZipFile::readRaw(quint64 offset, quint64 length) {
    QByteArray bytes;
    if (!readRaw(offset, length, bytes))
        return std::nullopt;
    return bytes;
}

bool DictZipFile::readRaw(quint64 offset, quint64 length, QByteArray& into) {
    into.resize(qsizetype(length));
    quint64 filled = 0;
    while (filled < length) {
        const ssize_t got = ::pread(m_fd, into.data() + filled, std::size_t(length - filled),
                                    off_t(offset + filled));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0) // an error, or the file is shorter than it was
            return false;
        filled += quint64(got);
    }
    return true;
}

const QByteArray* DictZipFile::chunk(quint64 index, quint64 needed) {
    const auto cached = std::find_if(m_cache.begin(), m_cache.end(),
                                     [index](const CachedChunk& c) { return c.index == index; });
    if (cached != m_cache.end() && quint64(cached->bytes.size()) >= needed) {
        std::rotate(m_cache.begin(), cached, cached + 1);
        return &m_cache.front().bytes;
    }
    // A chunk is first inflated only as far as the read needs, on average half the work;
    // asked again for more, it is inflated whole, as reads in order would keep asking.
    const quint64 whole = std::min<quint64>(m_chunkLength, m_size - index * m_chunkLength);
    if (cached != m_cache.end()) {
        m_cache.erase(cached);
        needed = whole;
    }

    const quint64 start = m_chunkStarts[index];
    if (!readRaw(start, m_chunkStarts[index + 1] - start, m_packed))
        return nullptr;
    // The buffer of the chunk about to leave the cache is reused, sparing the allocator.
    QByteArray bytes;
    if (m_cache.size() == kCachedChunks) {
        bytes = std::move(m_cache.back().bytes);
        m_cache.pop_back();
    }
    bytes.resize(qsizetype(needed));
    z_stream stream{};
    if (inflateInit2(&stream, -MAX_WBITS) != Z_OK)
        return nullptr;
    stream.next_in = reinterpret_cast<Bytef*>(m_packed.data());
    stream.avail_in = uInt(m_packed.size());
    stream.next_out = reinterpret_cast<Bytef*>(bytes.data());
    stream.avail_out = uInt(bytes.size());
    // Each chunk ends on a full flush, so it inflates alone.
    const int status = inflate(&stream, Z_SYNC_FLUSH);
    const bool complete = (status == Z_OK || status == Z_STREAM_END) && stream.avail_out == 0;
    inflateEnd(&stream);
    if (!complete)
        return nullptr;

    m_cache.insert(m_cache.begin(), CachedChunk{index, std::move(bytes)});
    return &m_cache.front().bytes;
}

std::optional<QByteArray> DictZipFile::read(quint64 offset, quint64 length) {
    // No entry is near as long as the limit: a longer read comes from a damaged index.
    if (offset > m_size || length > m_size - offset || length > kLargestWhole)
        return std::nullopt;
    if (m_isWhole)
        return m_whole.mid(qsizetype(offset), qsizetype(length));
    if (!isChunked())
        return readRaw(offset, length);

    QByteArray text;
    text.reserve(qsizetype(length));
    quint64 at = offset;
    const quint64 end = offset + length;
    while (at < end) {
        const quint64 index = at / m_chunkLength;
        const quint64 within = at - index * m_chunkLength;
        const quint64 chunkSize = std::min<quint64>(m_chunkLength, m_size - index * m_chunkLength);
        const quint64 take = std::min<quint64>(end - at, chunkSize - within);
        const QByteArray* bytes = chunk(index, within + take);
        if (!bytes)
            return std::nullopt;
        text.append(bytes->constData() + within, qsizetype(take));
        at += take;
    }
    return text;
}
