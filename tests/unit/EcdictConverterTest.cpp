#include "EcdictConverter.h"

#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <sqlite3.h>

using namespace Qt::StringLiterals;

namespace {

class EcdictConverterTest : public ::testing::Test {
protected:
    QString source() const { return m_dir.filePath(u"ecdict.sqlite"_s); }
    QString output() const { return m_dir.filePath(u"dictionary.sqlite"_s); }

    // A stand-in for ECDICT's file: its `stardict` table with the columns the tool reads.
    void makeSource(const char* rows) const {
        exec(source(), "CREATE TABLE stardict(id INTEGER PRIMARY KEY, word TEXT, phonetic TEXT,"
                       " translation TEXT, pos TEXT, exchange TEXT, frq INTEGER, bnc INTEGER);");
        exec(source(), rows);
    }
    static void exec(const QString& path, const char* sql) {
        sqlite3* db = nullptr;
        ASSERT_EQ(sqlite3_open(path.toUtf8().constData(), &db), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(db, sql, nullptr, nullptr, nullptr), SQLITE_OK)
            << sqlite3_errmsg(db);
        sqlite3_close(db);
    }
    // Every row of `query` as "a|b|…" (NULL as "∅"), one per line, in key order.
    QString dump(const char* query) const {
        QStringList lines;
        sqlite3* db = nullptr;
        sqlite3_stmt* statement = nullptr;
        sqlite3_open_v2(output().toUtf8().constData(), &db, SQLITE_OPEN_READONLY, nullptr);
        EXPECT_EQ(sqlite3_prepare_v2(db, query, -1, &statement, nullptr), SQLITE_OK);
        while (sqlite3_step(statement) == SQLITE_ROW) {
            QStringList values;
            for (int i = 0; i < sqlite3_column_count(statement); ++i)
                values.append(sqlite3_column_type(statement, i) == SQLITE_NULL
                                  ? u"∅"_s
                                  : QString::fromUtf8(reinterpret_cast<const char*>(
                                        sqlite3_column_text(statement, i))));
            lines.append(values.join(u'|'));
        }
        sqlite3_finalize(statement);
        sqlite3_close(db);
        return lines.join(u'\n');
    }
    EcdictConverter::Summary convert() const {
        const auto result = EcdictConverter::convert(source(), output());
        if (const auto* failure = std::get_if<EcdictConverter::Failure>(&result))
            ADD_FAILURE() << qPrintable(failure->message);
        const auto* summary = std::get_if<EcdictConverter::Summary>(&result);
        return summary ? *summary : EcdictConverter::Summary{};
    }

    QTemporaryDir m_dir;
};

} // namespace

TEST_F(EcdictConverterTest, KeepsReachableHeadwordsOncePerLowerCaseKey) {
    makeSource(R"sql(INSERT INTO stardict(word, phonetic, translation, pos, frq, bnc) VALUES
        ('Water', NULL, '大写', NULL, 5, 5), ('water', '''wɔ:tә', 'n. 水', 'n:100', 0, 0),
        ('Polish', NULL, 'frq 低', NULL, 500, 1), ('POLISH', NULL, 'frq 高', NULL, 10, 900),
        ('Xy', NULL, 'bnc 低', NULL, 0, 50), ('XY', NULL, 'bnc 高', NULL, NULL, 5),
        ('Qa', NULL, '无排名', NULL, 0, 0), ('QA', NULL, '有排名', NULL, 9000, 0),
        ('Abc', NULL, '先', NULL, 0, 0), ('ABC', NULL, '后', NULL, 0, 0),
        ('Émigré', NULL, '流亡者', NULL, 0, 0), ('  o''clock  ', NULL, '点钟', NULL, 0, 0),
        ('well-known', NULL, '著名的', NULL, 0, 0), ('ice cream', NULL, '冰淇淋', NULL, 0, 0),
        ('mp3', NULL, '格式', NULL, 0, 0), ('a.m.', NULL, '上午', NULL, 0, 0),
        ('', NULL, '空', NULL, 0, 0), ('absconce', NULL, ' ', NULL, 0, 0),
        ('nulled', NULL, NULL, NULL, 0, 0);)sql");
    const EcdictConverter::Summary summary = convert();
    EXPECT_EQ(
        dump("SELECT * FROM words"),
        u"abc|∅|先|∅\no'clock|∅|点钟|∅\npolish|∅|frq 高|∅\nqa|∅|有排名|∅\n"
        u"water|'wɔ:tә|n. 水|n:100\nwell-known|∅|著名的|∅\nxy|∅|bnc 高|∅\némigré|∅|流亡者|∅"_s);
    EXPECT_EQ(summary.sourceRows, 19);
    EXPECT_EQ(summary.words, 8);
    EXPECT_EQ(summary.fileBytes, QFileInfo(output()).size());
}

TEST_F(EcdictConverterTest, DerivesFormsFromExchange) {
    makeSource(R"sql(INSERT INTO stardict(word, translation, exchange, frq) VALUES
        ('run', 'v. 跑', 'p:Ran/d:run/i:running/3:runs/s:runs/f:runner/1:d', 200),
        ('ran', 'run的过去式', '0:run/1:p', 0),
        ('good', 'a. 好的', 'r:better/t:best/b:more good', 100), ('best', 'a. 最好的', '0:good', 300),
        ('show', 'v. 展示', 'i:showing off/p:showed', 400),
        ('watersports', '', '0:watersport/1:s', 0), ('watersport', 'n. 水上运动', '', 0),
        ('ghostly', '', '0:ghost/1:s', 0),
        ('leaf', 'n. 叶子', 's:leaves', 2000), ('leave', 'v. 离开', '3:leaves', 300),
        ('axe', 'n. 斧', 's:axes', 100), ('axis', 'n. 轴', 's:axes', 5000),
        ('axes', NULL, '0:axis/1:s', 0),
        ('ice cream', 'n. 冰淇淋', 's:ice creams', 0), ('Mouse', 'n. 老鼠', 's:MICE', 50);)sql");
    EXPECT_EQ(convert().forms, 10);
    // leaves: the more common lemma; axes and watersports: the form's own row decides; best
    // keeps its own row for lookups and still leads phrases to good.
    EXPECT_EQ(dump("SELECT * FROM forms"),
              u"axes|axis\nbest|good\nbetter|good\nleaves|leave\nmice|mouse\n"
              "ran|run\nrunning|run\nruns|run\nshowed|show\n"
              "watersports|watersport"_s);
    EXPECT_EQ(dump("SELECT name FROM sqlite_master ORDER BY name"), u"forms\nphrases\nwords"_s);
}

TEST_F(EcdictConverterTest, KeepsPhrasesThatRunningTextCanMatch) {
    makeSource(R"sql(INSERT INTO stardict(word, translation) VALUES
        ('give up', '放弃, 停止'), ('Give Up', '大写的'), ('New  York', '纽约'),
        ('look forward to', ' 期望, 盼望'), ('be available to...', '可供…使用'),
        ('don’t mind', '不介意'), ('call sb. to order', '宣布开会'), ('e.g.', '例如'),
        ('24 hours', '一昼夜'), ('ice cream', ''), ('water', 'n. 水');)sql");
    EXPECT_EQ(convert().phrases, 5);
    EXPECT_EQ(dump("SELECT * FROM phrases"),
              u"be available to|可供…使用\ndon't mind|不介意\ngive up|放弃, 停止\n"
              u"look forward to| 期望, 盼望\nnew york|纽约"_s);
    EXPECT_EQ(dump("SELECT word FROM words"), u"water"_s);
}

TEST_F(EcdictConverterTest, ReplacesTheOutputOnlyWhenComplete) {
    exec(output(), "CREATE TABLE old(x);");
    exec(source(), "CREATE TABLE other(word TEXT);");
    const QString missing = m_dir.filePath(u"missing.sqlite"_s);
    const std::pair<QString, QString> failures[] = {{missing, missing}, {source(), u"stardict"_s}};
    for (const auto& [path, mentioned] : failures) {
        const auto result = EcdictConverter::convert(path, output());
        ASSERT_TRUE(std::holds_alternative<EcdictConverter::Failure>(result));
        EXPECT_TRUE(std::get<EcdictConverter::Failure>(result).message.contains(mentioned));
        EXPECT_EQ(dump("SELECT name FROM sqlite_master"), u"old"_s);
    }

    makeSource("INSERT INTO stardict(word, translation) VALUES ('new', 'a. 新的');");
    QFile(output() + u".tmp"_s).open(QIODevice::WriteOnly); // left over from a crashed run
    convert();
    EXPECT_EQ(dump("SELECT word FROM words"), u"new"_s);
    EXPECT_FALSE(QFileInfo::exists(output() + u".tmp"_s));
}

TEST_F(EcdictConverterTest, AcronymRowsGiveWayToTheInflectionTheyHide) {
    makeSource(R"sql(INSERT INTO stardict(word, translation, exchange) VALUES
        ('idea', 'n. 主意', 's:ideas'), ('ideas', 'abbr. 工业设计优秀奖', '0:idea/1:s'),
        ('age', 'n. 年龄', 's:ages'), ('AGES', 'n. 某系统', ''),
        ('use', 'v. 使用', 'p:used'), ('used', 'a. 用过的', '0:use'),
        ('Oscar', 'n. 奥斯卡', 's:oscars'), ('oscars', 'abbr. 某缩写', '');)sql");
    EXPECT_EQ(convert().acronymRowsReplaced, 2);
    // A real word of its own (used) and a lemma that is itself capitalised (Oscar) keep theirs.
    EXPECT_EQ(dump("SELECT word FROM words"), u"age\nidea\noscar\noscars\nuse\nused"_s);
    EXPECT_EQ(dump("SELECT * FROM forms"), u"ages|age\nideas|idea\noscars|oscar\nused|use"_s);
}

TEST_F(EcdictConverterTest, SendsBareInflectionNotesToTheirLemma) {
    makeSource(R"sql(INSERT INTO stardict(word, translation, exchange) VALUES
        ('be', 'v. 是', ''), ('teach', 'vt. 教', ''),
        ('was', 'be的过去式', ''),
        ('taught', 'teach的过去式和过去分词' || char(10) || 'teach的过去分词', '0:teach'),
        ('carven', 'carve的过去分词', ''),
        ('mixed', 'be的过去式' || char(10) || 'teach的过去式', ''),
        ('bit', 'n. 少量' || char(10) || 'bite的过去式', '');)sql");
    convert();
    // A note whose lemma has no entry, notes naming two lemmas, and notes beside real
    // senses stay words of their own.
    EXPECT_EQ(dump("SELECT * FROM forms"), u"taught|teach\nwas|be"_s);
    EXPECT_EQ(dump("SELECT word FROM words"), u"be\nbit\ncarven\nmixed\nteach"_s);
}
