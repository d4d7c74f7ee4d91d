#include "platform/linux/dictionaries/StarDictDictionary.h"

#include "harness/DictionaryFiles.h"
#include "harness/QtPrinters.h"
#include "harness/StarDictWriter.h"

#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <functional>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

std::unique_ptr<StarDictDictionary> open(const QString& ifoPath) {
    return DictionaryFiles::opened(
        StarDictDictionary::open(StarDictDictionary::filesBeside(ifoPath)));
}

QStringList definitions(StarDictDictionary& dictionary, const QString& word) {
    const auto result = dictionary.definitions(word);
    if (const auto* defect = std::get_if<DictionaryDefect>(&result)) {
        ADD_FAILURE() << qPrintable(defect->reason);
        return {};
    }
    return std::get<QStringList>(result);
}

// The defect found at open or at the first lookup, if any.
std::optional<QString> defectOf(const QString& ifoPath) {
    auto opened = StarDictDictionary::open(StarDictDictionary::filesBeside(ifoPath));
    if (const auto reason = DictionaryFiles::defectIn(opened))
        return reason;
    return DictionaryFiles::defectIn(
        std::get<std::unique_ptr<StarDictDictionary>>(opened)->definitions(u"water"_s));
}

StarDictWriter sampleWriter(StarDictWriter::Options options) {
    StarDictWriter writer(std::move(options));
    writer.add(u"water"_s, u"n. 水"_s)
        .add(u"Water"_s, u"n. (姓) 沃特"_s)
        .add(u"waterfall"_s, u"n. 瀑布"_s)
        .add(u"éclair"_s, u"n. 闪电泡芙"_s)
        .add(u"a"_s, u"art. 一"_s)
        .addSynonym(u"H2O"_s, u"water"_s)
        .addSynonym(u"waters"_s, u"water"_s)
        .addSynonym(u"WATER"_s, u"water"_s); // also a headword: given once
    for (int i = 0; i < 300; ++i)
        writer.add(u"word%1"_s.arg(i, 4, 10, QChar(u'0')), u"filler %1"_s.arg(i));
    return writer;
}

} // namespace

TEST(StarDictDictionaryTest, FindsHeadwordsAndSynonymsIgnoringAsciiCaseInEveryLayout) {
    struct Layout {
        const char* label;
        StarDictWriter::Options options;
    };
    const Layout layouts[] = {
        {"32-bit, plain", {}},
        {"64-bit, plain", {.offsetBits = 64}},
        {"32-bit, dictzip", {.dictzip = true}},
        {"64-bit, dictzip, gzip index", {.offsetBits = 64, .dictzip = true, .gzipIndex = true}},
        {"typed parts", {.sameTypeSequence = QByteArray()}},
    };
    const std::pair<QString, QStringList> lookups[] = {
        {u"water"_s, {u"n. (姓) 沃特"_s, u"n. 水"_s}}, // "Water" sorts first
        {u"WATER"_s, {u"n. (姓) 沃特"_s, u"n. 水"_s}},
        {u"h2o"_s, {u"n. 水"_s}},
        {u"Waters"_s, {u"n. 水"_s}},
        {u"waterfall"_s, {u"n. 瀑布"_s}},
        {u"wat"_s, {}},
        {u"waterfalls"_s, {}},
        {u"éclair"_s, {u"n. 闪电泡芙"_s}},
        {u"ÉCLAIR"_s, {}}, // only ASCII letters fold
        {u"A"_s, {u"art. 一"_s}},
        {u"word0000"_s, {u"filler 0"_s}},
        {u"word0299"_s, {u"filler 299"_s}},
        {u"word0300"_s, {}},
        {u""_s, {}},
    };
    for (const Layout& layout : layouts) {
        SCOPED_TRACE(layout.label);
        QTemporaryDir dir;
        const auto written = sampleWriter(layout.options).write(dir.path(), u"sample"_s);
        ASSERT_TRUE(written) << qPrintable(written.error);
        const auto dictionary = open(written.ifoPath);
        ASSERT_TRUE(dictionary);
        EXPECT_EQ(dictionary->name(), u"Test Dictionary"_s);
        for (const auto& [word, expected] : lookups)
            EXPECT_EQ(definitions(*dictionary, word), expected) << qPrintable(word);
    }
}

// Against a brute-force answer over thousands of mixed-case headwords, many sharing a
// folded form, so every edge of the binary search is walked.
TEST(StarDictDictionaryTest, AgreesWithABruteForceSearch) {
    QRandomGenerator random(20240611);
    const QString letters = u"aAbBcC-' é"_s;
    QList<std::pair<QString, QString>> entries;
    for (int i = 0; i < 3000; ++i) {
        QString word;
        const int length = 1 + int(random.bounded(5));
        for (int j = 0; j < length; ++j)
            word += letters[qsizetype(random.bounded(letters.size()))];
        entries.push_back({word, u"entry %1"_s.arg(i)});
    }
    StarDictWriter writer({.dictzip = true});
    for (const auto& [word, text] : entries)
        writer.add(word, text);
    QTemporaryDir dir;
    const auto written = writer.write(dir.path(), u"random"_s);
    ASSERT_TRUE(written) << qPrintable(written.error);
    const auto dictionary = open(written.ifoPath);
    ASSERT_TRUE(dictionary);

    const auto asciiLower = [](QString text) {
        for (QChar& c : text)
            if (c >= u'A' && c <= u'Z')
                c = QChar(c.unicode() + 32);
        return text;
    };
    for (int probe = 0; probe < 400; ++probe) {
        const QString word =
            probe % 2 ? entries[probe * 7].first : asciiLower(entries[probe * 7].first) + u'b';
        QStringList expected;
        for (const auto& [headword, text] : entries)
            if (asciiLower(headword) == asciiLower(word))
                expected.push_back(text);
        QStringList found = definitions(*dictionary, word);
        expected.sort();
        found.sort();
        EXPECT_EQ(found, expected) << qPrintable(word);
    }
}

TEST(StarDictDictionaryTest, EntryPartsBecomePlainText) {
    const auto size = [](quint32 n) {
        QByteArray bytes;
        for (int shift = 24; shift >= 0; shift -= 8)
            bytes += char((n >> shift) & 0xff);
        return bytes;
    };
    const struct {
        QByteArray sequence;
        QByteArray data;
        QString text;
    } cases[] = {
        {"m", "plain text", u"plain text"_s},
        {"m", "ends in a NUL\0"_ba, u"ends in a NUL"_s},
        {"tm", "wɔːtə\0n. 水"_ba, u"[wɔːtə]\nn. 水"_s},
        {"h", "<b>water</b><br>n. 水 &amp; 冰<p>second</p>  third",
         u"water\nn. 水 & 冰\nsecond\nthird"_s},
        {"g", "<span foreground=\"blue\">n.</span> 水\n<i>例</i>", u"n. 水\n例"_s},
        {"x", "<k>water</k>\n<tr>ˈwɔːtə</tr>\n<dtrn>水</dtrn>", u"water\n[ˈwɔːtə]\n水"_s},
        {"mW", "text\0RIFF...."_ba, u"text"_s},
        {"Wm", size(3) + "abctext", u"text"_s},
        {"", "mone\0W"_ba + size(2) + "xxh<i>two</i>\0"_ba, u"one\ntwo"_s},
        {"", "mone\0\x01junk"_ba, u"one"_s}, // an unknown type letter ends the entry
        {"", "W\0\0"_ba, u""_s},             // a size cut short
        {"", "rimg/water.png\0"_ba, u""_s},  // resource lists are not text
    };
    for (const auto& [sequence, data, text] : cases)
        EXPECT_EQ(StarDictDictionary::entryText(data, sequence), text) << data.toStdString();
}

// Each kind of damage is found, at open or at the first lookup, and named.
TEST(StarDictDictionaryTest, DamagedDictionariesAreRefusedWithAReason) {
    using Change = std::function<void(QByteArray&)>;
    const auto replace = [](const char* from, const char* to) -> Change {
        return [from, to](QByteArray& bytes) {
            bytes.replace(from, to);
        };
    };
    const struct {
        const char* file; // the part damaged
        Change change;    // none: the part is removed
        QString reason;
        bool dictzip = false;
    } cases[] = {
        {".ifo", replace("StarDict's", "Other"), u"说明文件（.ifo）格式不对"_s},
        {".ifo", replace("wordcount=", "words="), u"说明文件（.ifo）缺少词条数或索引大小"_s},
        {".ifo", replace("\n", "\nidxoffsetbits=48\n"),
         u"说明文件（.ifo）里的偏移位数不是 32 或 64"_s},
        {".ifo", replace("version=2.4.2", "version=9"), u"说明文件（.ifo）的版本不受支持"_s},
        {".ifo", replace("wordcount=305", "wordcount=306"), u"索引里的词条数与说明不符"_s},
        {".idx", [](QByteArray& b) { b += "xyz"; }, u"索引文件大小与说明不符"_s},
        // The last word loses its end, the size stays.
        {".idx", [](QByteArray& b) { b.replace(b.size() - 9, 9, "xxxxxxxxx"); },
         u"索引文件被截断或已损坏"_s},
        {".idx", {}, u"缺少索引文件（.idx）"_s},
        {".dict", [](QByteArray& b) { b.truncate(100); }, u"索引指向正文之外，正文可能不完整"_s},
        {".dict", {}, u"缺少正文文件（.dict）"_s},
        {".syn", [](QByteArray& b) { b[b.size() - 2] = char(0xff); },
         u"同义词文件（.syn）指向不存在的词条"_s},
        {".syn", [](QByteArray& b) { b.chop(2); }, u"同义词文件（.syn）已损坏"_s},
        {".dict.dz", [](QByteArray& b) { b.truncate(200); }, u"sample.dict.dz 的压缩数据已损坏"_s,
         true},
    };
    for (const auto& [file, change, reason, dictzip] : cases) {
        SCOPED_TRACE(reason.toStdString());
        QTemporaryDir dir;
        const auto written = sampleWriter({.dictzip = dictzip}).write(dir.path(), u"sample"_s);
        ASSERT_TRUE(written) << qPrintable(written.error);
        const QString part = dir.filePath(u"sample"_s + QString::fromLatin1(file));
        if (change)
            DictionaryFiles::rewrite(part, change);
        else
            ASSERT_TRUE(QFile::remove(part));
        EXPECT_EQ(defectOf(written.ifoPath), std::optional(reason));
    }
}
