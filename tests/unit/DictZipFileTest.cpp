#include "dictionary/formats/DictZipFile.h"

#include "harness/DictionaryFiles.h"
#include "harness/QtPrinters.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <zlib.h>

using namespace Qt::StringLiterals;

namespace {

// The dictzip tool cuts its output into chunks of this many bytes.
constexpr quint64 kChunk = 58315;

void writeFile(const QString& path, const QByteArray& bytes) {
    QFile file(path);
    ASSERT_TRUE(file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size());
}

QByteArray readFile(const QString& path) {
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// <dir>/text.dict holding text that never repeats exactly (so a read from the wrong place
// shows), beside it text.dict.dz made by dictzip and text.dict.gz made by gzip.
QByteArray writeForms(const QTemporaryDir& dir, qsizetype size) {
    QByteArray text;
    for (int line = 0; text.size() < size; ++line)
        text += "entry " + QByteArray::number(line) + ": a body of water, " +
                QByteArray::number(line * 7919 % 1000) + " words\n";
    text.truncate(size);
    const QString plain = dir.filePath(u"text.dict"_s);
    writeFile(plain, text);
    QProcess gzip;
    gzip.start(u"gzip"_s, {u"-c"_s, plain});
    EXPECT_TRUE(gzip.waitForFinished(60000) && gzip.exitCode() == 0);
    writeFile(plain + u".gz"_s, gzip.readAllStandardOutput());
    EXPECT_EQ(QProcess::execute(u"dictzip"_s, {u"-k"_s, plain}), 0);
    return text;
}

// `size` zero bytes as one gzip member, the way `gzip` writes a file (no dictzip table).
void writeGzippedZeros(const QString& path, qsizetype size) {
    const gzFile file = gzopen(QFile::encodeName(path).constData(), "wb1");
    const QByteArray zeros(qsizetype(1) << 20, '\0');
    for (qsizetype left = size; left > 0; left -= zeros.size())
        ASSERT_GT(gzwrite(file, zeros.constData(), unsigned(std::min(left, zeros.size()))), 0);
    ASSERT_EQ(gzclose(file), Z_OK);
}

} // namespace

// Reads that start, end and straddle the chunk boundaries give the same bytes from every form.
TEST(DictZipFileTest, EveryFormReadsTheSameBytes) {
    QTemporaryDir dir;
    const QByteArray text = writeForms(dir, qsizetype(3 * kChunk + 1000)); // a short last chunk
    const QByteArray gzipped = readFile(dir.filePath(u"text.dict.gz"_s));
    writeFile(dir.filePath(u"twice.dict.gz"_s), gzipped + gzipped); // two gzip members

    const std::pair<quint64, quint64> ranges[] = {
        {0, 17},
        {kChunk - 1, 2},
        {kChunk, kChunk},
        {kChunk - 5, kChunk + 10},
        {3 * kChunk, 1000},
        {3 * kChunk + 999, 1},
        {100, 3 * kChunk},
        {quint64(text.size()), 0},
    };
    for (const QString& name :
         {u"text.dict"_s, u"text.dict.dz"_s, u"text.dict.gz"_s, u"twice.dict.gz"_s}) {
        SCOPED_TRACE(name.toStdString());
        const auto file = DictionaryFiles::opened(DictZipFile::open(dir.filePath(name)));
        ASSERT_TRUE(file);
        EXPECT_EQ(file->isChunked(), name == u"text.dict.dz"_s);
        const QByteArray expected = name.startsWith(u"twice"_s) ? text + text : text;
        EXPECT_EQ(file->size(), quint64(expected.size()));
        // Forwards and backwards, so chunks come out of the cache in both orders, and
        // partly inflated chunks are asked for more.
        for (int pass = 0; pass < 2; ++pass) {
            for (std::size_t i = 0; i < std::size(ranges); ++i) {
                const auto [offset, length] = ranges[pass ? std::size(ranges) - 1 - i : i];
                EXPECT_EQ(file->read(offset, length),
                          expected.mid(qsizetype(offset), qsizetype(length)))
                    << offset << "+" << length;
            }
        }
        for (const auto& [offset, length] :
             {std::pair<quint64, quint64>{quint64(expected.size()), 1},
              {1000, quint64(expected.size())},
              {~quint64(0), 2}})
            EXPECT_EQ(file->read(offset, length), std::nullopt) << offset << "+" << length;
    }
}

TEST(DictZipFileTest, DamagedOrSpecialFilesFailAtOpenOrAtTheDamagedChunk) {
    QTemporaryDir dir;
    const QByteArray text = writeForms(dir, qsizetype(3 * kChunk));
    const QByteArray good = readFile(dir.filePath(u"text.dict.dz"_s));

    const std::pair<QString, QByteArray> broken[] = {
        {u"cut.dict.dz"_s, good.left(good.size() / 2)},
        {u"no-trailer.dict.dz"_s, good.chopped(8)},
        {u"not-gzip.dict.dz"_s, "plain text where gzip belongs"},
        {u"empty.dict.dz"_s, QByteArray()},
        {u"cut.dict.gz"_s, readFile(dir.filePath(u"text.dict.gz"_s)).chopped(20)},
        {u"garbage.dict.gz"_s, QByteArray::fromHex("1f8b08000000000000ff") + "not deflate"},
    };
    for (const auto& [name, bytes] : broken) {
        writeFile(dir.filePath(name), bytes);
        const auto reason = DictionaryFiles::defectIn(DictZipFile::open(dir.filePath(name)));
        EXPECT_TRUE(reason && reason->contains(name)) << qPrintable(name);
    }
    EXPECT_EQ(DictionaryFiles::defectIn(DictZipFile::open(dir.filePath(u"missing.dict.dz"_s))),
              std::optional(u"missing.dict.dz 无法打开（文件不存在）"_s));
    // A FIFO or a device in a text's place is refused at once, not waited on.
    for (const QString& name : {u"fifo.dict.dz"_s, u"fifo.dict"_s}) {
        ASSERT_EQ(::mkfifo(QFile::encodeName(dir.filePath(name)).constData(), 0600), 0);
        EXPECT_EQ(DictionaryFiles::defectIn(DictZipFile::open(dir.filePath(name))),
                  std::optional(name + u" 不是普通文件"_s));
    }
    EXPECT_EQ(DictionaryFiles::defectIn(DictZipFile::open(u"/dev/zero"_s)),
              std::optional(u"zero 不是普通文件"_s));

    // Damage in a middle chunk: the header still reads, and so do the other chunks. The
    // damaged one fails once inflating reaches the damage (dictzip keeps no checksums).
    QByteArray damaged = good;
    for (qsizetype i = damaged.size() / 2; i < damaged.size() / 2 + 64; ++i)
        damaged[i] = char(~damaged[i]);
    const QString path = dir.filePath(u"damaged.dict.dz"_s);
    writeFile(path, damaged);
    const auto file = DictionaryFiles::opened(DictZipFile::open(path));
    ASSERT_TRUE(file);
    EXPECT_EQ(file->read(0, quint64(text.size())), std::nullopt);
    EXPECT_EQ(file->read(10, 20), text.mid(10, 20));

    // Cut short after it was opened: failed reads, never a crash.
    ASSERT_TRUE(QFile::resize(path, 30));
    EXPECT_EQ(file->read(2 * kChunk + 10, 50), std::nullopt);
}

// A plain gzip text is held in memory whole, so one that inflates past the limit is refused
// with a reason that says what to do: when its trailer gives the size away, before any
// inflating; when the trailer lies (it holds the size modulo 4 GiB), once the limit is hit.
TEST(DictZipFileTest, PlainGzipTextPastTheLimitIsRefused) {
    QTemporaryDir dir;
    constexpr auto limit = qsizetype(DictZipFile::kLargestWhole);
    writeGzippedZeros(dir.filePath(u"over.dict.dz"_s), limit + 1);
    ASSERT_TRUE(QFile::copy(dir.filePath(u"over.dict.dz"_s), dir.filePath(u"lying.idx.gz"_s)));
    DictionaryFiles::rewrite(dir.filePath(u"lying.idx.gz"_s), [](QByteArray& b) {
        b.replace(b.size() - 4, 4, QByteArray::fromHex("00100000")); // 4096 bytes
    });
    for (const QString& name : {u"over.dict.dz"_s, u"lying.idx.gz"_s})
        EXPECT_EQ(DictionaryFiles::defectIn(DictZipFile::open(dir.filePath(name))),
                  std::optional(name + u" 解压后超过 64 MB，请改用 dictzip 压缩"_s));

    // Exactly the limit still reads.
    writeGzippedZeros(dir.filePath(u"full.dict.dz"_s), limit);
    const auto full = DictionaryFiles::opened(DictZipFile::open(dir.filePath(u"full.dict.dz"_s)));
    ASSERT_TRUE(full);
    EXPECT_EQ(full->size(), quint64(limit));
    EXPECT_EQ(full->read(quint64(limit) - 3, 3), QByteArray(3, '\0'));
    EXPECT_EQ(full->read(0, quint64(limit) + 1), std::nullopt);
}
