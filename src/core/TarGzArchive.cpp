#include "core/TarGzArchive.h"

#include <cstring>
#include <zlib.h>

namespace {

constexpr qsizetype kBlock = 512;

// A number in octal, zero-padded to fill `width` bytes with the terminating NUL.
void putOctal(char* field, int width, qint64 value) {
    const QByteArray digits = QByteArray::number(value, 8).rightJustified(width - 1, '0');
    std::memcpy(field, digits.constData(), width - 1);
    field[width - 1] = '\0';
}

} // namespace

TarGzArchive::TarGzArchive(const QDateTime& modified) : m_modified(modified.toSecsSinceEpoch()) {}

bool TarGzArchive::addFolder(const QString& name) {
    return addEntry(name.endsWith(u'/') ? name : name + u'/', '5', 0755, {});
}

bool TarGzArchive::addFile(const QString& name, const QByteArray& content) {
    return addEntry(name, '0', 0644, content);
}

bool TarGzArchive::addEntry(const QString& name, char type, int mode, const QByteArray& content) {
    const QByteArray encoded = name.toUtf8();
    if (encoded.isEmpty() || encoded.size() > 100)
        return false;
    char header[kBlock] = {};
    std::memcpy(header, encoded.constData(), encoded.size());
    putOctal(header + 100, 8, mode);
    putOctal(header + 108, 8, 0); // uid
    putOctal(header + 116, 8, 0); // gid
    putOctal(header + 124, 12, content.size());
    putOctal(header + 136, 12, m_modified);
    header[156] = type;
    std::memcpy(header + 257, "ustar", 6); // with its NUL
    std::memcpy(header + 263, "00", 2);
    // The checksum counts its own field as eight spaces.
    std::memset(header + 148, ' ', 8);
    unsigned sum = 0;
    for (const char byte : header)
        sum += static_cast<unsigned char>(byte);
    putOctal(header + 148, 7, sum);
    header[155] = ' ';

    m_tar.append(header, kBlock);
    m_tar.append(content);
    m_tar.append(QByteArray((kBlock - content.size() % kBlock) % kBlock, '\0'));
    return true;
}

std::optional<QByteArray> TarGzArchive::compressed() const {
    const QByteArray tar = m_tar + QByteArray(2 * kBlock, '\0');
    z_stream stream{};
    // 16 + window bits: a gzip wrapper rather than zlib's own.
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 16 + MAX_WBITS, 8,
                     Z_DEFAULT_STRATEGY) != Z_OK)
        return std::nullopt;
    QByteArray out(static_cast<qsizetype>(deflateBound(&stream, static_cast<uLong>(tar.size()))),
                   Qt::Uninitialized);
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(tar.constData()));
    stream.avail_in = static_cast<uInt>(tar.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    const int result = deflate(&stream, Z_FINISH);
    const qsizetype written = static_cast<qsizetype>(stream.total_out);
    deflateEnd(&stream);
    if (result != Z_STREAM_END)
        return std::nullopt;
    out.truncate(written);
    return out;
}
