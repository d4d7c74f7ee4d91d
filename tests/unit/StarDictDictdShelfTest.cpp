#include "platform/linux/dictionaries/StarDictDictdShelf.h"

#include "harness/DictdWriter.h"
#include "harness/QtPrinters.h"
#include "harness/StarDictWriter.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <atomic>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;
using Handle = SystemDictionaryBridge::Handle;

namespace {

// A shelf over folders inside one temporary folder, with its reports collected.
struct ShelfFixture {
    QTemporaryDir root;
    QStringList reports;
    StarDictDictdShelf shelf{[this] { return folders(); },
                             [this](const QString& line) {
                                 reports.push_back(line);
                             }};

    QString path(const QString& relative) const { return root.filePath(relative); }
    StarDictDictdShelf::Folders folders() const {
        return {{path(u"user"_s), path(u"dot-stardict"_s), path(u"system"_s)}, {path(u"dictd"_s)}};
    }
    QStringList listed() {
        QStringList lines;
        for (const Handle& handle : shelf.dictionaries())
            lines.push_back(handle.identifier + u" | "_s + handle.name + u" | "_s +
                            handle.shortName);
        return lines;
    }
};

void writeStarDict(const QString& folder, const QString& stem, const QString& bookname,
                   const QList<std::pair<QString, QString>>& entries = {{u"water"_s, u"n. 水"_s}}) {
    StarDictWriter writer({.bookname = bookname});
    for (const auto& [headword, text] : entries)
        writer.add(headword, text);
    const auto written = writer.write(folder, stem);
    ASSERT_TRUE(written) << qPrintable(written.error);
}

void writeDictd(const QString& folder, const QString& name, const QByteArray& shortName) {
    ASSERT_TRUE(QDir().mkpath(folder));
    const QString error =
        DictdWriter::write(folder, name,
                           {{"00-database-short", "00-database-short\n     " + shortName + "\n"},
                            {"water", "water\n   n 1: binary compound\n"}},
                           DictdWriter::Order::folded);
    ASSERT_TRUE(error.isEmpty()) << qPrintable(error);
}

} // namespace

TEST(StarDictDictdShelfTest, ListsUserFoldersFirstThenByPathThenDictd) {
    ShelfFixture f;
    writeStarDict(f.path(u"user/zeta"_s), u"zeta"_s, u"Zeta"_s);
    writeStarDict(f.path(u"user"_s), u"Alpha"_s, u"Alpha Book"_s);
    writeStarDict(f.path(u"user/collection/beta"_s), u"beta"_s, u"Beta"_s);
    writeStarDict(f.path(u"system/gamma"_s), u"gamma"_s, u"Gamma"_s);
    writeStarDict(f.path(u"system/zeta"_s), u"zeta"_s, u"System Zeta"_s); // hidden by the user's
    writeStarDict(f.path(u"dot-stardict"_s), u"delta"_s, u""_s);          // no bookname
    writeDictd(f.path(u"dictd"_s), u"sample"_s, "Sample Database");
    writeDictd(f.path(u"dictd"_s), u"another"_s, "");

    const QStringList expected{u"stardict:Alpha | Alpha Book | "_s,
                               u"stardict:beta | Beta | "_s,
                               u"stardict:zeta | Zeta | "_s,
                               u"stardict:delta | delta | "_s,
                               u"stardict:gamma | Gamma | "_s,
                               u"dictd:another | another | another"_s,
                               u"dictd:sample | Sample Database | sample"_s};
    EXPECT_EQ(f.listed(), expected);
    EXPECT_EQ(f.listed(), expected) << "the same on every call";
    EXPECT_EQ(f.shelf.definition(u"water"_s, u"dictd:sample"_s),
              std::optional(u"water\n   n 1: binary compound"_s));
    EXPECT_TRUE(f.reports.isEmpty()) << qPrintable(f.reports.join(u'\n'));
}

TEST(StarDictDictdShelfTest, DictionariesAddedChangedOrRemovedShowOnTheNextCall) {
    ShelfFixture f;
    EXPECT_TRUE(f.shelf.dictionaries().isEmpty());
    EXPECT_EQ(f.shelf.definition(u"water"_s, u"stardict:late"_s), std::nullopt);

    // Asked before any listing: the shelf looks for it. Entries are trimmed and joined.
    writeStarDict(
        f.path(u"system/late"_s), u"late"_s, u"Late"_s,
        {{u"water"_s, u"n. 水"_s}, {u"Water"_s, u"  n. (姓) 沃特\n"_s}, {u"blank"_s, u" \n"_s}});
    EXPECT_EQ(f.shelf.definition(u"WATER"_s, u"stardict:late"_s),
              std::optional(u"n. (姓) 沃特\n\nn. 水"_s));
    EXPECT_EQ(f.shelf.definition(u"blank"_s, u"stardict:late"_s), std::nullopt);
    EXPECT_EQ(f.listed(), QStringList{u"stardict:late | Late | "_s});

    writeStarDict(f.path(u"system/late"_s), u"late"_s, u"Later"_s, {{u"water"_s, u"brand new"_s}});
    EXPECT_EQ(f.shelf.definition(u"water"_s, u"stardict:late"_s), std::optional(u"brand new"_s));
    EXPECT_EQ(f.listed(), QStringList{u"stardict:late | Later | "_s});

    ASSERT_TRUE(QDir(f.path(u"system/late"_s)).removeRecursively());
    EXPECT_EQ(f.shelf.definition(u"water"_s, u"stardict:late"_s), std::nullopt);
    EXPECT_TRUE(f.shelf.dictionaries().isEmpty());
    EXPECT_TRUE(f.reports.isEmpty()) << "a removed dictionary is not a damaged one";
}

// One report per version of a damaged dictionary's files, however often it is listed or
// asked; mended, it comes back; damaged again, it is reported again.
TEST(StarDictDictdShelfTest, DamagedDictionariesAreSkippedAndReportedOncePerVersion) {
    ShelfFixture f;
    writeStarDict(f.path(u"user"_s), u"good"_s, u"Good"_s);
    writeStarDict(f.path(u"user"_s), u"sample"_s, u"Sample"_s);
    const QString index = f.path(u"user/sample.idx"_s);
    QFile::resize(index, QFileInfo(index).size() + 3);
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(f.listed(), QStringList{u"stardict:good | Good | "_s});
        EXPECT_EQ(f.shelf.definition(u"water"_s, u"stardict:sample"_s), std::nullopt);
    }
    EXPECT_EQ(f.reports,
              QStringList{u"系统词典无法读取，已跳过：sample（索引文件大小与说明不符）"_s});

    writeStarDict(f.path(u"user"_s), u"sample"_s, u"Sample"_s);
    EXPECT_EQ(f.shelf.definition(u"water"_s, u"stardict:sample"_s), std::optional(u"n. 水"_s));
    EXPECT_EQ(f.shelf.dictionaries().size(), 2);
    EXPECT_EQ(f.reports.size(), 1);

    // Damage that only a lookup can find: the text no longer holds what the index points to.
    writeStarDict(f.path(u"user"_s), u"sample"_s, u"Sample"_s,
                  {{u"water"_s, u"n. 水"_s}, {u"ice"_s, u"n. 冰"_s}});
    QFile::resize(f.path(u"user/sample.dict"_s), 3);
    EXPECT_EQ(f.shelf.dictionaries().size(), 2) << "not found out before a lookup";
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(f.shelf.definition(u"ice"_s, u"stardict:sample"_s), std::nullopt);
    EXPECT_EQ(f.listed(), QStringList{u"stardict:good | Good | "_s});
    EXPECT_EQ(f.reports.value(1),
              u"系统词典无法读取，已跳过：sample（索引指向正文之外，正文可能不完整）"_s);

    // A dictd database with a part missing, listed twice.
    writeDictd(f.path(u"dictd"_s), u"lonely"_s, "Lonely");
    QFile::remove(f.path(u"dictd/lonely.dict"_s));
    f.shelf.dictionaries();
    f.shelf.dictionaries();
    EXPECT_EQ(f.reports.size(), 3);
    EXPECT_EQ(f.reports.value(2), u"系统词典无法读取，已跳过：lonely（缺少正文文件（.dict））"_s);
}

// A FIFO under a dictionary's name is neither waited on nor passed over in silence.
TEST(StarDictDictdShelfTest, SpecialFilesUnderADictionarysNameAreReported) {
    ShelfFixture f;
    ASSERT_TRUE(QDir().mkpath(f.path(u"user"_s)) && QDir().mkpath(f.path(u"dictd"_s)));
    for (const QString& name : {u"user/pipe.ifo"_s, u"dictd/pipe.index"_s})
        ASSERT_EQ(::mkfifo(QFile::encodeName(f.path(name)).constData(), 0600), 0);
    writeDictd(f.path(u"dictd"_s), u"good"_s, "Good");
    EXPECT_EQ(f.listed(), QStringList{u"dictd:good | Good | good"_s});
    EXPECT_EQ(
        f.reports,
        (QStringList{u"系统词典无法读取，已跳过：pipe（说明文件（.ifo）无法读取：不是普通文件）"_s,
                     u"系统词典无法读取，已跳过：pipe（索引文件无法读取：不是普通文件）"_s}));

    // Rewritten in place after it was opened: the shelf sees the new version, and the
    // lookup that notices answers from it or not at all, never from torn bytes.
    writeStarDict(f.path(u"user"_s), u"sample"_s, u"Sample"_s, {{u"water"_s, u"n. 水"_s}});
    EXPECT_EQ(f.shelf.definition(u"water"_s, u"stardict:sample"_s), std::optional(u"n. 水"_s));
    ASSERT_TRUE(QFile::resize(f.path(u"user/sample.idx"_s), 5));
    EXPECT_EQ(f.shelf.definition(u"water"_s, u"stardict:sample"_s), std::nullopt);
    EXPECT_EQ(f.reports.value(2), u"系统词典无法读取，已跳过：sample（索引文件大小与说明不符）"_s);
}

TEST(StarDictDictdShelfTest, ServesManyThreadsAtOnce) {
    ShelfFixture f;
    writeStarDict(f.path(u"user"_s), u"one"_s, u"One"_s, {{u"water"_s, u"one"_s}});
    writeDictd(f.path(u"dictd"_s), u"two"_s, "Two");
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&f, &wrong, t] {
            for (int i = 0; i < 200; ++i)
                wrong += ((i + t) % 10 == 0 && f.shelf.dictionaries().size() != 2) +
                         (f.shelf.definition(u"water"_s, u"stardict:one"_s) != u"one"_s) +
                         !f.shelf.definition(u"WATER"_s, u"dictd:two"_s);
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(wrong.load(), 0);
}
