#include "platform/linux/dictionaries/DictZipFile.h"

#include <QFileInfo>
#include <algorithm>
#include <zlib.h>

using namespace Qt::StringLiterals;

namespace {

constexpr std::size_t kCachedChunks = 4;
// A plain gzip file is inflated into memory; past this it is refused rather than read.
constexpr qint64 kLargestWhole = qint64(1) << 30;
// Header bytes read up front: fixed part, the largest extra field and room for a file name.
constexpr qint64 kHeaderWindow = 10 + 2 + 65535 + 4096;

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

QString corrupt(const QString& path) {
    return QFileInfo(path).fileName() + u" 的压缩数据已损坏"_s;
}

} // namespace

OrDefect<std::unique_ptr<DictZipFile>> DictZipFile::open(const QString& path) {
    std::unique_ptr<DictZipFile> file(new DictZipFile(path));
    // Unbuffered: reads are a chunk or an entry at a time, straight into our own buffers.
    if (!file->m_file.open(QIODevice::ReadOnly | QIODevice::Unbuffered))
        return DictionaryDefect{QFileInfo(path).fileName() + u" 无法打开"_s};
    if (path.endsWith(u".dz"_s) || path.endsWith(u".gz"_s)) {
        if (const auto failure = file->openGzip())
            return DictionaryDefect{*failure};
    } else {
        file->m_size = quint64(file->m_file.size());
    }
    return file;
}

std::optional<QString> DictZipFile::openGzip() {
    const QString path = m_file.fileName();
    const quint64 fileSize = quint64(m_file.size());
    const std::optional<QByteArray> header = readRaw(0, std::min<quint64>(fileSize, kHeaderWindow));
    if (!header || header->size() < 18 || quint8((*header)[0]) != 0x1f ||
        quint8((*header)[1]) != 0x8b || (*header)[2] != 8)
        return corrupt(path);

    const auto flags = quint8((*header)[3]);
    qsizetype at = 10;
    bool hasChunks = false;
    if (flags & kFlagExtra) {
        const qsizetype extraLength = littleEndian16(*header, at);
        at += 2;
        const qsizetype extraEnd = at + extraLength;
        if (extraEnd > header->size())
            return corrupt(path);
        // Subfields: two id bytes, a 16-bit length, the data. dictzip's is "RA".
        while (at + 4 <= extraEnd) {
            const qsizetype length = littleEndian16(*header, at + 2);
            const qsizetype data = at + 4;
            if (data + length > extraEnd)
                return corrupt(path);
            if ((*header)[at] == 'R' && (*header)[at + 1] == 'A') {
                if (length < 6 || littleEndian16(*header, data) != 1)
                    return corrupt(path);
                m_chunkLength = littleEndian16(*header, data + 2);
                const qsizetype count = littleEndian16(*header, data + 4);
                if (m_chunkLength == 0 || length < 6 + 2 * count)
                    return corrupt(path);
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
            return corrupt(path);
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
        return corrupt(path);
    m_size = littleEndian32(*trailer, 4);
    const quint64 count = m_chunkStarts.size() - 1;
    const bool sizeFits =
        count == 0 ? m_size == 0
                   : m_size > (count - 1) * m_chunkLength && m_size <= count * m_chunkLength;
    if (!sizeFits)
        return corrupt(path);
    return std::nullopt;
}

std::optional<QString> DictZipFile::inflateWhole() {
    const QString path = m_file.fileName();
    if (m_file.size() > kLargestWhole || !m_file.seek(0))
        return corrupt(path);
    QByteArray packed = m_file.readAll();
    z_stream stream{};
    if (inflateInit2(&stream, 16 + MAX_WBITS) != Z_OK)
        return corrupt(path);
    stream.next_in = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_in = uInt(packed.size());
    QByteArray output(std::clamp<qsizetype>(packed.size() * 4, qsizetype(1) << 16, kLargestWhole),
                      Qt::Uninitialized);
    qsizetype produced = 0;
    bool complete = false;
    while (true) {
        if (produced == output.size()) {
            if (output.size() >= kLargestWhole)
                break;
            output.resize(output.size() * 2);
        }
        stream.next_out = reinterpret_cast<Bytef*>(output.data() + produced);
        stream.avail_out = uInt(output.size() - produced);
        const uInt room = stream.avail_out;
        const int status = inflate(&stream, Z_NO_FLUSH);
        produced += qsizetype(room - stream.avail_out);
        if (status == Z_STREAM_END) {
            // Another gzip member may follow; anything else after the end is ignored.
            if (stream.avail_in >= 2 && stream.next_in[0] == 0x1f && stream.next_in[1] == 0x8b) {
                inflateReset(&stream);
                continue;
            }
            complete = true;
            break;
        }
        // Out of input before the end means the file was cut short.
        if (status != Z_OK || (stream.avail_in == 0 && stream.avail_out != 0))
            break;
    }
    inflateEnd(&stream);
    if (!complete)
        return corrupt(path);
    output.truncate(produced);
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
    return m_file.seek(qint64(offset)) &&
           m_file.read(into.data(), qint64(length)) == qint64(length);
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
    if (offset > m_size || length > m_size - offset)
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
