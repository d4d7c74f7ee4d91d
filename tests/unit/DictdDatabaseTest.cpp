#include "dictionary/formats/DictdDatabase.h"

#include "harness/DictdWriter.h"
#include "harness/DictionaryFiles.h"
#include "harness/QtPrinters.h"

#include <QFile>
#include <QTemporaryDir>
#include <algorithm>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

using Entry = DictdWriter::Entry;
using Order = DictdWriter::Order;

QString writeDatabase(const QTemporaryDir& dir, const QList<Entry>& entries, Order order,
                      bool dictzip = false) {
    const QString error = DictdWriter::write(dir.path(), u"sample"_s, entries, order, dictzip);
    EXPECT_TRUE(error.isEmpty()) << qPrintable(error);
    return dir.filePath(u"sample.index"_s);
}

std::unique_ptr<DictdDatabase> open(const QString& indexPath) {
    return DictionaryFiles::opened(DictdDatabase::open(DictdDatabase::filesBeside(indexPath)));
}

QList<Entry> foldedEntries() {
    QList<Entry> entries{
        {"00-database-short", "00-database-short\n     Test Database\n"},
        {"Water", "Water \\Wa\"ter\\, n.\n   The fluid.\n"},
        {"water-bath", "water-bath\n   A bath.\n"},
        {"Water", "Water \\Wa\"ter\\, v. t.\n   To wet.\n"},
        {"co-op", "co-op\n   A cooperative.\n"},
        {"coop", "coop\n   A cage for fowls.\n"},
        {"well-being", "well-being\n   Welfare.\n"},
        {"ice cream", "Ice Cream\n   A frozen dessert.\n", "Ice Cream"},
        {"broken", "never reached\n"},
    };
    for (int i = 1000; i < 1200; ++i)
        entries.push_back({"word" + QByteArray::number(i), "word" + QByteArray::number(i) + "\n"});
    return entries;
}

// The first line of each entry found, joined by "|".
QString headlines(DictdDatabase& database, const QString& word) {
    const auto result = database.definitions(word);
    if (std::holds_alternative<DictionaryDefect>(result))
        return u"defect"_s;
    QStringList lines;
    for (const QString& text : std::get<QStringList>(result))
        lines.push_back(text.section(u'\n', 0, 0));
    return lines.join(u'|');
}

} // namespace

// The default order ignores case and punctuation; a headword that matches apart from case
// wins over one that only matches apart from punctuation.
TEST(DictdDatabaseTest, FindsHeadwordsInTheFoldedOrder) {
    for (const bool dictzip : {false, true}) {
        SCOPED_TRACE(dictzip ? "dictzip" : "plain");
        QTemporaryDir dir;
        const QString index = writeDatabase(dir, foldedEntries(), Order::folded, dictzip);
        // One damaged line: its word is lost, the rest still answer.
        DictionaryFiles::rewrite(index, [](QByteArray& b) { b.replace("broken\t", "broken\t!!"); });
        const auto database = open(index);
        ASSERT_TRUE(database);
        EXPECT_EQ(database->name(), u"Test Database"_s);
        EXPECT_EQ(database->shortName(), u"sample"_s);

        const std::pair<QString, QString> lookups[] = {
            {u"WATER"_s, u"Water \\Wa\"ter\\, n.|Water \\Wa\"ter\\, v. t."_s},
            {u"coop"_s, u"coop"_s},
            {u"co-op"_s, u"co-op"_s},
            {u"wellbeing"_s, u"well-being"_s}, // as dictd would match it
            {u"well being"_s, u""_s},          // spaces take part in the order
            {u"ice cream"_s, u"Ice Cream"_s},
            {u"wat"_s, u""_s},
            {u"word1199"_s, u"word1199"_s},
            {u"broken"_s, u""_s},
            {u"-'-"_s, u""_s},
            {u""_s, u""_s},
        };
        for (const auto& [word, expected] : lookups)
            EXPECT_EQ(headlines(*database, word), expected) << qPrintable(word);
    }
}

// "00-database-allchars" (WordNet's index): every byte counts and sorts as it is.
// "00-database-utf8": the first column holds the folded key, the fourth the headword.
TEST(DictdDatabaseTest, FindsHeadwordsInByteOrderWhenMarkedSo) {
    QList<Entry> allChars{{"00-database-allchars", "\n"},
                          {"00-database-short", "00-database-short\n     All Characters\n"}};
    for (const QByteArray word : {"'hood", ".22-caliber", ".22 caliber", "1 chronicles", "water",
                                  "water-bath", "waterbath"})
        allChars.push_back({word, word + '\n'});
    const struct {
        QList<Entry> entries;
        QString name;
        std::vector<std::pair<QString, QString>> lookups;
    } databases[] = {
        {allChars,
         u"All Characters"_s,
         {{u"Water"_s, u"water"_s},
          {u"water-bath"_s, u"water-bath"_s},
          {u"waterbath"_s, u"waterbath"_s},
          {u".22-caliber"_s, u".22-caliber"_s},
          {u"22 caliber"_s, u""_s},
          {u"hood"_s, u""_s},
          {u"1 chronicles"_s, u"1 chronicles"_s}}},
        {{{"00-database-utf8", "\n"},
          {"café", "Café\n", "Café"},
          {"cafetière", "Cafetière\n", "Cafetière"}},
         u"sample"_s, // no short name: the database's own
         {{u"CAFÉ"_s, u"Café"_s}, {u"cafetière"_s, u"Cafetière"_s}, {u"cafe"_s, u""_s}}},
    };
    for (const auto& [entries, name, lookups] : databases) {
        SCOPED_TRACE(name.toStdString());
        QTemporaryDir dir;
        const auto database = open(writeDatabase(dir, entries, Order::bytes));
        ASSERT_TRUE(database);
        EXPECT_EQ(database->name(), name);
        for (const auto& [word, expected] : lookups)
            EXPECT_EQ(headlines(*database, word), expected) << qPrintable(word);
    }
}

// Damage, a missing part, or a FIFO in the index's place (refused, not waited on) is named;
// the text's own reader refuses one in the text's place.
TEST(DictdDatabaseTest, DamagedDatabasesAreRefusedWithAReason) {
    const auto flip = [](QByteArray& b) {
        for (qsizetype i = b.size() / 3; i < b.size() / 3 + 64; ++i)
            b[i] = char(~b[i]);
    };
    const struct {
        const char* file;                        // the part damaged
        std::function<void(QByteArray&)> change; // none: the part is removed
        QString reason;
        bool dictzip = false;
        bool fifo = false; // in place of the removed part
    } cases[] = {
        {".dict", {}, u"缺少正文文件（.dict）"_s},
        {".index", [](QByteArray& b) { b.clear(); }, u"索引文件是空的"_s},
        {".index", [](QByteArray& b) { b.truncate(b.lastIndexOf('\t')); },
         u"索引文件被截断或已损坏"_s},
        {".dict", [](QByteArray& b) { b.truncate(b.size() / 2); },
         u"索引指向正文之外，正文可能不完整"_s},
        {".dict.dz", flip, u"正文无法读取或已损坏"_s, true},
        {".dict.dz", [](QByteArray& b) { b[0] = 'x'; }, u"sample.dict.dz 的压缩数据已损坏"_s, true},
        {".index", {}, u"索引文件无法读取：不是普通文件"_s, false, true},
    };
    for (const auto& [file, change, reason, dictzip, fifo] : cases) {
        SCOPED_TRACE(reason.toStdString());
        QTemporaryDir dir;
        // Short name last, so reading it touches the middle of the text.
        QList<Entry> entries = foldedEntries();
        std::rotate(entries.begin(), entries.begin() + 1, entries.end());
        const QString index = writeDatabase(dir, entries, Order::folded, dictzip);
        const QString part = dir.filePath(u"sample"_s + QString::fromLatin1(file));
        if (change) {
            DictionaryFiles::rewrite(part, change);
        } else {
            ASSERT_TRUE(QFile::remove(part));
            if (fifo) {
                ASSERT_EQ(::mkfifo(QFile::encodeName(part).constData(), 0600), 0);
            }
        }
        EXPECT_EQ(DictionaryFiles::defectIn(DictdDatabase::open(DictdDatabase::filesBeside(index))),
                  std::optional(reason));
    }
}

// The index is searched in memory: cut short on disk while open, it still answers; the text
// cut short gives no answer rather than a crash.
TEST(DictdDatabaseTest, FilesCutShortWhileOpenGiveNoCrash) {
    QTemporaryDir dir;
    const QString index = writeDatabase(dir, foldedEntries(), Order::folded);
    const auto database = open(index);
    ASSERT_TRUE(database);
    ASSERT_TRUE(QFile::resize(index, 0));
    EXPECT_EQ(headlines(*database, u"coop"_s), u"coop"_s);
    ASSERT_TRUE(QFile::resize(dir.filePath(u"sample.dict"_s), 10));
    EXPECT_EQ(headlines(*database, u"word1150"_s), QString());
}
