#include "dictionary/formats/StarDictDictionary.h"

#include "harness/DictionaryFiles.h"
#include "harness/QtPrinters.h"
#include "harness/StarDictWriter.h"

#include <QFile>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

std::unique_ptr<StarDictDictionary> open(const StarDictWriter& writer, const QTemporaryDir& dir) {
    const auto written = writer.write(dir.path(), u"sample"_s);
    EXPECT_TRUE(written) << qPrintable(written.error);
    return DictionaryFiles::opened(
        StarDictDictionary::open(StarDictDictionary::filesBeside(written.ifoPath)));
}

QStringList definitions(StarDictDictionary& dictionary, const QString& word) {
    const auto result = dictionary.definitions(word);
    if (const auto* defect = std::get_if<DictionaryDefect>(&result)) {
        ADD_FAILURE() << qPrintable(defect->reason);
        return {};
    }
    return std::get<QStringList>(result);
}

// `count` filler entries, then "water" with a synonym.
StarDictWriter sampleWriter(int count, StarDictWriter::Options options = {}) {
    StarDictWriter writer(options);
    for (int i = 0; i < count; ++i)
        writer.add(u"word%1"_s.arg(i, 4, 10, QChar(u'0')), u"filler %1"_s.arg(i));
    writer.add(u"water"_s, u"n. 水"_s).addSynonym(u"H2O"_s, u"water"_s);
    return writer;
}

} // namespace

// Thousands of random mixed-case headwords, many sharing a folded form, walk every edge of
// the binary search, checked against a brute-force scan; named ones check synonyms and
// what folds.
TEST(StarDictDictionaryTest, FindsHeadwordsAndSynonymsIgnoringAsciiCaseInEveryLayout) {
    QRandomGenerator random(20240611);
    const QString letters = u"aAbBcC-' é"_s;
    QList<std::pair<QString, QString>> entries;
    for (int i = 0; i < 3000; ++i) {
        QString word;
        for (int j = 0, length = 1 + int(random.bounded(5)); j < length; ++j)
            word += letters[qsizetype(random.bounded(letters.size()))];
        entries.push_back({word, u"entry %1"_s.arg(i)});
    }
    const auto asciiLower = [](QString text) {
        for (QChar& c : text)
            if (c >= u'A' && c <= u'Z')
                c = QChar(c.unicode() + 32);
        return text;
    };
    const std::pair<QString, QStringList> named[] = {
        {u"WATER"_s, {u"n. (姓) 沃特"_s, u"n. 水"_s}}, // "Water" sorts first
        {u"h2o"_s, {u"n. 水"_s}},
        {u"waterfall"_s, {u"n. 瀑布"_s}},
        {u"wat"_s, {}},
        {u"waterfalls"_s, {}},
        {u"éclair"_s, {u"n. 闪电泡芙"_s}},
        {u"ÉCLAIR"_s, {}}, // only ASCII letters fold
        {u""_s, {}}};
    const std::pair<const char*, StarDictWriter::Options> layouts[] = {
        {"32-bit, plain", {}},
        {"64-bit, plain", {.offsetBits = 64}},
        {"32-bit, dictzip", {.dictzip = true}},
        {"64-bit, dictzip, gzip index", {.offsetBits = 64, .dictzip = true, .gzipIndex = true}},
        {"typed parts", {.sameTypeSequence = QByteArray()}}};
    for (const auto& [label, options] : layouts) {
        SCOPED_TRACE(label);
        StarDictWriter writer(options);
        for (const auto& [word, text] : entries)
            writer.add(word, text);
        writer.add(u"water"_s, u"n. 水"_s)
            .add(u"Water"_s, u"n. (姓) 沃特"_s)
            .add(u"waterfall"_s, u"n. 瀑布"_s)
            .add(u"éclair"_s, u"n. 闪电泡芙"_s)
            .addSynonym(u"H2O"_s, u"water"_s)
            .addSynonym(u"WATER"_s, u"water"_s); // also a headword: given once
        QTemporaryDir dir;
        const auto dictionary = open(writer, dir);
        ASSERT_TRUE(dictionary);
        EXPECT_EQ(dictionary->name(), u"Test Dictionary"_s);
        for (const auto& [word, expected] : named)
            EXPECT_EQ(definitions(*dictionary, word), expected) << qPrintable(word);
        for (int probe = 0; probe < 400; ++probe) {
            const QString& near = entries[probe * 7].first;
            const QString word = probe % 2 ? near : asciiLower(near) + u'b';
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
}

// Every kind of entry part, and the markup of each flavour, as a reader sees it.
TEST(StarDictDictionaryTest, EntryPartsBecomePlainText) {
    const struct {
        QByteArray sequence;
        QByteArray data;
        QString text;
    } cases[] = {
        {"m", "ends in a NUL\0"_ba, u"ends in a NUL"_s},
        {"tm", "wɔːtə\0n. 水"_ba, u"[wɔːtə]\nn. 水"_s},
        {"mW", "text\0RIFF...."_ba, u"text"_s},
        {"Wm",
         "\0\0\0\x03"
         "abctext"_ba,
         u"text"_s},
        {"", "mone\0W\0\0\0\x02xxh<i>two</i>\0"_ba, u"one\ntwo"_s},
        {"", "mone\0\x01junk"_ba, u"one"_s}, // an unknown type letter ends the entry
        {"", "W\0\0"_ba, u""_s},             // a size cut short
        {"", "rimg/water.png\0"_ba, u""_s},  // resource lists are not text
        {"h", "<b>water</b> n.<br/>水\n   again<p>first</p><P class=x>second</P>",
         u"water n.\n水 again\nfirst\nsecond"_s},
        {"h", "<ul><li>one</li><li>two</li></ul><p>\n\n</p><br><br><br><br>y", u"one\ntwo\n\ny"_s},
        {"h", "a &lt; b &amp;&amp; &quot;q&quot; &#39;s &#x4E2D; &foo; & &#xD800; &#0;",
         u"a < b && \"q\" 's 中 &foo; & &#xD800; &#0;"_s},
        {"h", "<script>if (a<b) x='</b>';</script>shown<STYLE>p{}</style><!-- <b> -->!",
         u"shown!"_s},
        {"h", "a <a href=\"x>y\" title='>'>link</a> 1 < 2 <= 4 <![CDATA[<raw> &]]>",
         u"a link 1 < 2 <= 4 <raw> &"_s},
        {"h", "<table><tr><td>n.</td><td>水</td></tr><tr><td>v.</td></tr></table><!-- open",
         u"n.水\nv."_s},
        {"h", "unclosed <b", u"unclosed"_s},
        {"g", "<b>water</b>\n  <i>n.</i> &lt;水&gt;  \n\n\n\nend", u"water\n  n. <水>\n\nend"_s},
        {"x", "<k>water</k>\n<tr>ˈwɔːtə</tr> <abr>n.</abr>\n<blockquote>水</blockquote>",
         u"water\n[ˈwɔːtə] n.\n水"_s},
    };
    for (const auto& [sequence, data, text] : cases)
        EXPECT_EQ(StarDictDictionary::entryText(data, sequence), text) << data.toStdString();
}

// Each kind of damage is found, at open or at the first lookup, and named. A FIFO in place
// of a part is refused without waiting for a writer that never comes (the text's own reader
// refuses one in the text's place).
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
        bool fifo = false; // the part is replaced by a FIFO
    } cases[] = {
        {".ifo", replace("StarDict's", "Other"), u"说明文件（.ifo）格式不对"_s},
        {".ifo", replace("\n", "\nidxoffsetbits=48\n"),
         u"说明文件（.ifo）里的偏移位数不是 32 或 64"_s},
        {".ifo", replace("wordcount=301", "wordcount=302"), u"索引里的词条数与说明不符"_s},
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
        {".ifo", {}, u"说明文件（.ifo）无法读取：不是普通文件"_s, true},
        {".idx", {}, u"索引文件（.idx）不是普通文件"_s, true},
        {".syn", {}, u"同义词文件（.syn）无法读取：不是普通文件"_s, true},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.reason.toStdString());
        QTemporaryDir dir;
        const auto written = sampleWriter(300).write(dir.path(), u"sample"_s);
        ASSERT_TRUE(written) << qPrintable(written.error);
        const QString part = dir.filePath(u"sample"_s + QString::fromLatin1(c.file));
        if (c.change) {
            DictionaryFiles::rewrite(part, c.change);
        } else {
            ASSERT_TRUE(QFile::remove(part));
            if (c.fifo) {
                ASSERT_EQ(::mkfifo(QFile::encodeName(part).constData(), 0600), 0);
            }
        }
        auto opened = StarDictDictionary::open(StarDictDictionary::filesBeside(written.ifoPath));
        auto defect = DictionaryFiles::defectIn(opened);
        if (!defect)
            defect = DictionaryFiles::defectIn(
                std::get<std::unique_ptr<StarDictDictionary>>(opened)->definitions(u"water"_s));
        EXPECT_EQ(defect, std::optional(c.reason));
    }
}

// Files rewritten in place while the dictionary is open (a package upgrade, a sync tool):
// the word lists live in memory, so a lookup neither crashes on a vanished page nor reads
// another version's bytes as this one's; a text cut short gives no answer.
TEST(StarDictDictionaryTest, FilesCutShortWhileOpenGiveNoCrash) {
    for (const bool dictzip : {false, true}) {
        SCOPED_TRACE(dictzip ? "dictzip" : "plain");
        QTemporaryDir dir;
        const auto dictionary = open(sampleWriter(3000, {.dictzip = dictzip}), dir);
        ASSERT_TRUE(dictionary);
        EXPECT_EQ(definitions(*dictionary, u"word0001"_s), QStringList{u"filler 1"_s});

        for (const char* part : {".idx", ".syn"})
            ASSERT_TRUE(QFile::resize(dir.filePath(u"sample"_s + QString::fromLatin1(part)), 0));
        EXPECT_EQ(definitions(*dictionary, u"h2o"_s), QStringList{u"n. 水"_s});

        const QString text = dir.filePath(dictzip ? u"sample.dict.dz"_s : u"sample.dict"_s);
        ASSERT_TRUE(QFile::resize(text, 40));
        const QStringList after = definitions(*dictionary, u"word2999"_s);
        EXPECT_TRUE(after.isEmpty() || after == QStringList{u"filler 2999"_s}) // a cached chunk
            << qPrintable(after.join(u'|'));
    }
}
