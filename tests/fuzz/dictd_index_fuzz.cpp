// libFuzzer target: a dictd index over arbitrary bytes, which also serve as the text its
// lines point into. Opens it, then looks up the headword of every line it holds, a few
// fixed words and the numbers of each column.
#include "dictionary/formats/DictZipFile.h"
#include "dictionary/formats/DictdDatabase.h"

#include <QList>
#include <cstdint>
#include <cstdlib>
#include <sys/mman.h>
#include <unistd.h>

namespace {

void require(bool condition) {
    if (!condition)
        std::abort();
}

QByteArray encodeNumber(quint64 value) {
    static constexpr char digits[] =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    QByteArray text;
    do {
        text.prepend(digits[value % 64]);
        value /= 64;
    } while (value != 0);
    return text;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    const int descriptor = ::memfd_create("fuzz", MFD_CLOEXEC);
    require(descriptor >= 0);
    require(::write(descriptor, data, size) == ssize_t(size));
    auto text = DictZipFile::adopt(descriptor, QStringLiteral("fuzz.dict"), false);
    require(std::holds_alternative<std::unique_ptr<DictZipFile>>(text));

    auto opened = DictdDatabase::fromParts(QStringLiteral("fuzz"), bytes,
                                           std::get<std::unique_ptr<DictZipFile>>(std::move(text)));
    QList<QByteArray> lines = bytes.split('\n');
    for (const QByteArray& line : lines) {
        const QList<QByteArray> columns = line.split('\t');
        for (const QByteArray& column : columns) {
            // Whatever decodes re-encodes to itself, leading zeros ('A') aside.
            if (const std::optional<quint64> value = DictdDatabase::decodeNumber(column)) {
                QByteArray trimmed = column;
                while (trimmed.size() > 1 && trimmed.startsWith('A'))
                    trimmed.remove(0, 1);
                require(encodeNumber(*value) == trimmed);
            }
        }
    }
    auto* database = std::get_if<std::unique_ptr<DictdDatabase>>(&opened);
    if (!database)
        return 0;
    require(!(*database)->name().isEmpty() || (*database)->shortName() == QStringLiteral("fuzz"));
    QStringList words{QStringLiteral("water"), QStringLiteral("00-database-short"),
                      QStringLiteral("a"), QStringLiteral("Ünïcode")};
    for (qsizetype i = 0; i < lines.size() && i < 64; ++i)
        words.push_back(QString::fromUtf8(lines[i].left(lines[i].indexOf('\t'))));
    for (const QString& word : words) {
        const OrDefect<QStringList> found = (*database)->definitions(word);
        require(std::holds_alternative<QStringList>(found));
    }
    return 0;
}
