// libFuzzer target: the reader of dictionary texts (dictzip, plain gzip, uncompressed) over
// arbitrary bytes held in an anonymous in-memory file. The first byte picks the form and the
// next eight where to read; whatever opens must read exactly what is asked or nothing.
#include "dictionary/formats/DictZipFile.h"

#include <cstdint>
#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>

namespace {

void require(bool condition) {
    if (!condition)
        std::abort();
}

quint64 number(const std::uint8_t* bytes) {
    return quint64(bytes[0]) << 24 | quint64(bytes[1]) << 16 | quint64(bytes[2]) << 8 | bytes[3];
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size < 9)
        return 0;
    const bool compressed = data[0] % 4 != 0;
    const quint64 offset = number(data + 1);
    const quint64 length = number(data + 5) % (1 << 20);
    const int descriptor = ::memfd_create("fuzz", MFD_CLOEXEC);
    require(descriptor >= 0);
    const std::size_t bodySize = size - 9;
    require(::write(descriptor, data + 9, bodySize) == ssize_t(bodySize));

    auto opened = DictZipFile::adopt(descriptor, QStringLiteral("fuzz.dict.dz"), compressed);
    auto* file = std::get_if<std::unique_ptr<DictZipFile>>(&opened);
    if (!file)
        return 0;
    DictZipFile& reader = **file;
    require(reader.size() <= DictZipFile::kLargestWhole || reader.isChunked());
    if (!compressed)
        require(reader.size() == bodySize);
    const quint64 at = reader.size() == 0 ? 0 : offset % (reader.size() + 2);
    for (const auto& [from, count] : {std::pair{at, length}, {0ull, reader.size()}, {at, 1ull}}) {
        const std::optional<QByteArray> bytes = reader.read(from, count);
        const bool inside = from <= reader.size() && count <= reader.size() - from;
        require(!bytes || (inside && quint64(bytes->size()) == count));
        if (!compressed && inside && count <= DictZipFile::kLargestWhole)
            require(bytes && *bytes == QByteArrayView(data + 9 + from, qsizetype(count)));
    }
    return 0;
}
