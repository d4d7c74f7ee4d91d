#include "platform/linux/dictionaries/DictdDatabase.h"

#include "harness/DictdWriter.h"
#include "harness/DictionaryFiles.h"
#include "harness/QtPrinters.h"

#include <QFile>
#include <QTemporaryDir>
#include <algorithm>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

using Entry = DictdWriter::Entry;
using Order = DictdWriter::Order;

void writeDatabase(const QString& folder, const QString& name, const QList<Entry>& entries,
                   Order order, bool dictzip = false) {
    const QString error = DictdWriter::write(folder, name, entries, order, dictzip);
    ASSERT_TRUE(error.isEmpty()) << qPrintable(error);
}

QList<Entry> foldedEntries() {
    QList<Entry> entries{
        {"00-database-short", "00-database-short\n     Test Database\n"},
        {"00-database-url", "00-database-url\n     https://example.org\n"},
        {"Water", "Water \\Wa\"ter\\, n.\n   The fluid.\n"},
        {"water-bath", "water-bath\n   A bath.\n"},
        {"Water", "Water \\Wa\"ter\\, v. t.\n   To wet.\n"},
        {"co-op", "co-op\n   A cooperative.\n"},
        {"coop", "coop\n   A cage for fowls.\n"},
        {"well-being", "well-being\n   Welfare.\n"},
        {"3-D", "3-D\n   Three dimensions.\n"},
        {"ice cream", "Ice Cream\n   A frozen dessert.\n", "Ice Cream"},
        {"broken", "never reached\n"},
    };
    for (int i = 0; i < 200; ++i)
        entries.push_back({"word" + QByteArray::number(1000 + i),
                           "word" + QByteArray::number(1000 + i) + "\n   Filler.\n"});
    return entries;
}

std::unique_ptr<DictdDatabase> open(const QString& indexPath) {
    return DictionaryFiles::opened(DictdDatabase::open(DictdDatabase::filesBeside(indexPath)));
}

std::optional<QString> defectOf(const QString& indexPath) {
    return DictionaryFiles::defectIn(DictdDatabase::open(DictdDatabase::filesBeside(indexPath)));
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
        QList<Entry> entries = foldedEntries();
        writeDatabase(dir.path(), u"sample"_s, entries, Order::folded, dictzip);
        // One damaged line: its word is lost, the rest still answer.
        DictionaryFiles::rewrite(dir.filePath(u"sample.index"_s), [](QByteArray& index) {
            index.replace("broken\t", "broken\t!!");
        });
        const auto database = open(dir.filePath(u"sample.index"_s));
        ASSERT_TRUE(database);
        EXPECT_EQ(database->name(), u"Test Database"_s);
        EXPECT_EQ(database->shortName(), u"sample"_s);

        const std::pair<QString, QString> lookups[] = {
            {u"water"_s, u"Water \\Wa\"ter\\, n.|Water \\Wa\"ter\\, v. t."_s},
            {u"WATER"_s, u"Water \\Wa\"ter\\, n.|Water \\Wa\"ter\\, v. t."_s},
            {u"coop"_s, u"coop"_s},
            {u"co-op"_s, u"co-op"_s},
            {u"wellbeing"_s, u"well-being"_s}, // as dictd would match it
            {u"well being"_s, u""_s},          // spaces take part in the order
            {u"3d"_s, u"3-D"_s},
            {u"ice cream"_s, u"Ice Cream"_s},
            {u"icecream"_s, u""_s},
            {u"water-bath"_s, u"water-bath"_s},
            {u"wat"_s, u""_s},
            {u"word1000"_s, u"word1000"_s},
            {u"broken"_s, u""_s},
            {u"-'-"_s, u""_s},
            {u""_s, u""_s},
        };
        for (const auto& [word, expected] : lookups)
            EXPECT_EQ(headlines(*database, word), expected) << qPrintable(word);
    }
}

// "00-database-allchars" (WordNet's index): every byte counts and sorts as it is.
TEST(DictdDatabaseTest, FindsHeadwordsInByteOrderWhenAllCharactersCount) {
    QTemporaryDir dir;
    writeDatabase(dir.path(), u"wordnet"_s,
                  {{"00-database-allchars", "\n"},
                   {"00-database-short", "00-database-short\n     All Characters\n"},
                   {"'hood", "'hood\n   neighbourhood\n"},
                   {".22-caliber", ".22-caliber\n   of a small bore\n"},
                   {".22 caliber", ".22 caliber\n   of a small bore\n"},
                   {"0", "0\n   zero\n"},
                   {"1 chronicles", "1 chronicles\n   a book\n"},
                   {"water", "water\n   n 1: binary compound\n"},
                   {"water-bath", "water-bath\n   a bath\n"},
                   {"waterbath", "waterbath\n   also a bath\n"}},
                  Order::bytes);
    const auto database = open(dir.filePath(u"wordnet.index"_s));
    ASSERT_TRUE(database);
    EXPECT_EQ(database->name(), u"All Characters"_s);
    const std::pair<QString, QString> lookups[] = {
        {u"water"_s, u"water"_s},
        {u"Water"_s, u"water"_s},
        {u"water-bath"_s, u"water-bath"_s},
        {u"waterbath"_s, u"waterbath"_s},
        {u".22-caliber"_s, u".22-caliber"_s},
        {u"22 caliber"_s, u""_s},
        {u"'hood"_s, u"'hood"_s},
        {u"hood"_s, u""_s},
        {u"1 chronicles"_s, u"1 chronicles"_s},
        {u"0"_s, u"0"_s},
    };
    for (const auto& [word, expected] : lookups)
        EXPECT_EQ(headlines(*database, word), expected) << qPrintable(word);
}

// "00-database-utf8": the first column holds the folded key, the fourth the headword.
TEST(DictdDatabaseTest, FoldsUnicodeCaseInUtf8Databases) {
    QTemporaryDir dir;
    writeDatabase(dir.path(), u"french"_s,
                  {{"00-database-utf8", "\n"},
                   {"café", "Café\n   coffee\n", "Café"},
                   {"cafetière", "Cafetière\n   coffee pot\n", "Cafetière"}},
                  Order::bytes);
    const auto database = open(dir.filePath(u"french.index"_s));
    ASSERT_TRUE(database);
    EXPECT_EQ(database->name(), u"french"_s); // no short name: the database's own
    EXPECT_EQ(headlines(*database, u"CAFÉ"_s), u"Café"_s);
    EXPECT_EQ(headlines(*database, u"cafetière"_s), u"Cafetière"_s);
    EXPECT_EQ(headlines(*database, u"cafe"_s), u""_s);
}

TEST(DictdDatabaseTest, DamagedDatabasesAreRefusedWithAReason) {
    const struct {
        const char* label;
        bool dictzip;
        std::function<void(const QString& base)> damage;
        QString reason;
    } cases[] = {
        {"text missing", false, [](const QString& base) { QFile::remove(base + u".dict"_s); },
         u"缺少正文文件（.dict）"_s},
        {"empty index", false, [](const QString& base) { QFile::resize(base + u".index"_s, 0); },
         u"索引文件是空的"_s},
        {"index cut mid-line", false,
         [](const QString& base) {
             DictionaryFiles::rewrite(base + u".index"_s,
                                      [](QByteArray& b) { b.truncate(b.lastIndexOf('\t')); });
         },
         u"索引文件被截断或已损坏"_s},
        {"text cut short", false,
         [](const QString& base) { QFile::resize(base + u".dict"_s, 2000); },
         u"索引指向正文之外，正文可能不完整"_s},
        {"dictzip damaged", true,
         [](const QString& base) {
             DictionaryFiles::rewrite(base + u".dict.dz"_s, [](QByteArray& b) {
                 for (qsizetype i = b.size() / 3; i < b.size() / 3 + 64; ++i)
                     b[i] = char(~b[i]);
             });
         },
         u"正文无法读取或已损坏"_s},
        {"dictzip not gzip", true,
         [](const QString& base) {
             DictionaryFiles::rewrite(base + u".dict.dz"_s, [](QByteArray& b) { b[0] = 'x'; });
         },
         u"sample.dict.dz 的压缩数据已损坏"_s},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.label);
        QTemporaryDir dir;
        // Short name last, so reading it touches the middle of the text.
        QList<Entry> entries = foldedEntries();
        std::rotate(entries.begin(), entries.begin() + 1, entries.end());
        writeDatabase(dir.path(), u"sample"_s, entries, Order::folded, c.dictzip);
        c.damage(dir.filePath(u"sample"_s));
        EXPECT_EQ(defectOf(dir.filePath(u"sample.index"_s)), std::optional(c.reason));
    }
}
