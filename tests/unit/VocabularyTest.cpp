#include "notebook/Vocabulary.h"

#include "harness/QtPrinters.h"
#include "notebook/VocabularyArchive.h"
#include "settings/DefaultsStore.h"

#include <QCoreApplication>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

using Kind = Vocabulary::Kind;

const QDateTime kReference(QDate(2001, 1, 1), QTime(0, 0), Qt::UTC);

class VocabularyTest : public testing::Test {
protected:
    VocabularyTest() { reopen(); }

    // A fresh store and notebook over the same file, as after a restart.
    void reopen() {
        vocabulary.reset();
        store = std::make_unique<DefaultsStore>(m_dir.path() + u"/defaults.json"_s);
        if (inBackground)
            store->writeInBackground();
        vocabulary = std::make_unique<Vocabulary>(Vocabulary::Dependencies{
            .store = *store,
            .recordingEnabled = [this] { return recording; },
            .log = [this](const QString& content) { logs.append(content); },
            .folder = folder(),
            .now = [this] { return now; },
            .gloss = [](const QString&) { return std::optional(u"n. 一\nv. 二"_s); },
        });
    }
    QString folder() const { return m_dir.path() + u"/data"_s; }
    QStringList texts() const {
        QStringList result;
        for (const Vocabulary::Entry& entry : vocabulary->entries())
            result.append(entry.text);
        return result;
    }
    // The texts as another program finds them in the file.
    QStringList storedTexts() const {
        const DefaultsStore reader(m_dir.path() + u"/defaults.json"_s);
        QStringList result;
        for (const Vocabulary::Entry& entry :
             VocabularyArchive::decode(reader.dataIfPresent(u"vocabulary2"_s).value_or("")).entries)
            result.append(entry.text);
        return result;
    }
    // The background write ends and its notice arrives, which starts the next one.
    void endWrite() {
        store->waitForWrites();
        QCoreApplication::processEvents();
    }
    void recordWords(QChar prefix, int count) {
        for (int i = 0; i < count; ++i)
            vocabulary->record(QString(prefix) + QChar(u'a' + i / 26) + QChar(u'a' + i % 26));
    }

    QTemporaryDir m_dir;
    std::unique_ptr<DefaultsStore> store;
    std::unique_ptr<Vocabulary> vocabulary;
    bool recording = true;
    bool inBackground = false;
    QDateTime now = kReference.addSecs(100);
    QStringList logs;
};

} // namespace

TEST_F(VocabularyTest, RecordsPlainEnglishWordsOnlyWhileRecordingIsOn) {
    for (const QString& text : {u"naïve"_s, u"don't stop"_s, u"42"_s, u"日本"_s, u"  "_s})
        vocabulary->record(text);
    for (const QString& text : {u"well-being"_s, u"o'clock"_s, u" Hello\n"_s, u"cat"_s, u"HELLO"_s})
        vocabulary->record(text);
    EXPECT_EQ(texts(), (QStringList{u"hello"_s, u"cat"_s, u"o'clock"_s, u"well-being"_s}));
    EXPECT_EQ(vocabulary->entries().first().count, 2);

    vocabulary->toggleStar(u"Keep This."_s, Kind::sentence);
    vocabulary->purgeIfDisabled(); // recording is on: nothing happens
    EXPECT_EQ(texts().size(), 5);
    recording = false;
    vocabulary->record(u"dog"_s);
    vocabulary->purgeIfDisabled();
    EXPECT_EQ(texts(), QStringList{u"Keep This."_s});
}

TEST_F(VocabularyTest, EvictionAndClearingRemoveOnlyHistory) {
    vocabulary->toggleStar(u"kept"_s, Kind::word); // at the very end, where eviction starts
    vocabulary->record(u"old"_s);
    recordWords(u'w', 448);
    EXPECT_FALSE(vocabulary->isNearlyFull());
    recordWords(u'x', 51);
    EXPECT_TRUE(vocabulary->isNearlyFull());
    EXPECT_TRUE(logs.isEmpty());

    vocabulary->record(u"newest"_s);
    EXPECT_EQ(vocabulary->entries().size(), 501);
    EXPECT_FALSE(vocabulary->entry(u"old"_s, Kind::word));
    EXPECT_EQ(logs, QStringList{u"查询记录已满，移除最旧的 1 条（收藏不受影响）"_s});

    vocabulary->clearRecords();
    EXPECT_EQ(texts(), QStringList{u"kept"_s});
}

TEST_F(VocabularyTest, ToggleStar) {
    EXPECT_FALSE(vocabulary->toggleStar(u" \n"_s, Kind::word));
    EXPECT_TRUE(vocabulary->entries().isEmpty());

    // Never looked up: starred at the top, gone again when unstarred.
    vocabulary->record(u"cat"_s);
    EXPECT_TRUE(vocabulary->toggleStar(u"Dog"_s, Kind::word));
    EXPECT_EQ(texts(), (QStringList{u"dog"_s, u"cat"_s}));
    EXPECT_FALSE(vocabulary->toggleStar(u"dog"_s, Kind::word));
    EXPECT_EQ(texts(), QStringList{u"cat"_s});

    // Looked up: keeps its count, takes the first translation, stays when unstarred.
    EXPECT_TRUE(vocabulary->toggleStar(u"CAT"_s, Kind::word, u"猫"_s));
    EXPECT_FALSE(vocabulary->toggleStar(u"cat"_s, Kind::word, u"另一个"_s));
    EXPECT_EQ(vocabulary->entries(), (QList<Vocabulary::Entry>{{.text = u"cat"_s,
                                                                .translation = u"猫"_s,
                                                                .firstDate = now,
                                                                .lastDate = now,
                                                                .count = 1}}));
}

TEST_F(VocabularyTest, ExportsAndKeepsEveryFieldAcrossARestart) {
    now = QDateTime(QDate(2024, 3, 5), QTime(12, 0));
    vocabulary->record(u"Apple"_s);
    vocabulary->toggleStar(
        u"It's Fine."_s, Kind::sentence, u"没事。"_s,
        Vocabulary::Source{u"Show"_s, u"S1E2"_s, 3723.9, u"https://x.test"_s, u"app"_s});
    using F = Vocabulary::ExportFormat;
    using S = Vocabulary::ExportScope;
    EXPECT_EQ(vocabulary->exportText(F::anki, S::all),
              u"It's Fine.\t没事。<br><small>Show · S1E2 · 1:02:03</small>\n"
              "apple\tn. 一<br>v. 二\n"_s);
    EXPECT_EQ(vocabulary->exportText(F::plain, S::all),
              u"It's Fine.\t没事。\t2024-03-05\t查过 0 次\tShow · S1E2 · 1:02:03\n"
              "apple\tn. 一；v. 二\t2024-03-05\t查过 1 次\n"_s);
    EXPECT_EQ(vocabulary->exportText(F::anki, S::starred).count(u'\n'), 1);

    const QList<Vocabulary::Entry> before = vocabulary->entries();
    reopen();
    EXPECT_EQ(vocabulary->entries(), before);
    EXPECT_TRUE(logs.isEmpty());
}

TEST(VocabularyTextTest, CaptionsAndDayTitles) {
    EXPECT_EQ((Vocabulary::Source{u"T"_s, u""_s, 62.7, {}, {}}.caption()), u"T · 1:02"_s);
    EXPECT_EQ((Vocabulary::Source{u""_s, u"E"_s, 3600, {}, {}}.caption()), u"E · 1:00:00"_s);

    const QDateTime now(QDate(2024, 3, 5), QTime(0, 30));
    const std::pair<QDateTime, QString> cases[] = {
        {QDateTime(QDate(2024, 3, 5), QTime(23, 59)), u"今天"_s},
        {QDateTime(QDate(2024, 3, 4), QTime(0, 0)), u"昨天"_s},
        {QDateTime(QDate(2024, 1, 9), QTime(8, 0)), u"1 月 9 日"_s},
        {QDateTime(QDate(2023, 12, 31), QTime(8, 0)), u"2023 年 12 月 31 日"_s},
    };
    for (const auto& [date, title] : cases)
        EXPECT_EQ(Vocabulary::dayTitle(date, now), title);
}

TEST_F(VocabularyTest, ConvertsOlderListsOnce) {
    vocabulary->record(u"cat"_s);
    store->setValues({
        {u"vocabulary"_s, QByteArray(R"([{"term":"Cat","firstDate":10,"lastDate":20,"count":3},
                       {"term":"dog","firstDate":10,"lastDate":20,"count":4}])")},
        {u"queryHistory"_s, QByteArray(R"([{"term":"Emu","date":50},{"term":"emu","date":60},
                                         {"term":"two words","date":70},{"term":"dog","date":80}])")},
    });
    reopen();
    EXPECT_EQ(texts(), (QStringList{u"cat"_s, u"dog"_s, u"emu"_s}));
    EXPECT_EQ(vocabulary->starredCount(), 3);
    EXPECT_EQ(vocabulary->entry(u"cat"_s, Kind::word)->count, 1); // already there: only starred
    EXPECT_EQ(vocabulary->entry(u"dog"_s, Kind::word)->count, 4);
    EXPECT_EQ(vocabulary->entry(u"dog"_s, Kind::word)->lastDate, kReference.addSecs(20));
    EXPECT_EQ(logs, (QStringList{u"已把 2 个生词转为收藏"_s, u"已把 2 条历史记录转为收藏"_s}));
    EXPECT_FALSE(store->contains(u"vocabulary"_s) || store->contains(u"queryHistory"_s));
}

TEST_F(VocabularyTest, KeepsWhatCanBeReadFromADamagedList) {
    const QByteArray good =
        R"({"kind":"word","text":"a{b}\"","count":1,"starred":true},)"
        R"({"kind":"sentence","text":"Hi.","count":0,"starred":true,"source":{"title":"}"}})";
    const struct {
        const char* name;
        QByteArray data;
        QString logStart;
        qsizetype read;
    } cases[] = {
        {"truncated", "[" + good + R"(,{"kind":"word","te)", u"3 条里只读出 2"_s, 2},
        {"bad element", "[" + good + R"(,{"kind":"noun","text":"x"}])", u"3 条里只读出 2"_s, 2},
        {"garbled", QByteArray("\x00\xff[garbage", 10), u"存档整份读不出来"_s, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        logs.clear();
        store->remove(u"vocabulary2.unreadable"_s);
        store->setValue(u"vocabulary2"_s, c.data);
        reopen();
        EXPECT_EQ(vocabulary->starredCount(), c.read);
        EXPECT_EQ(store->dataIfPresent(u"vocabulary2.unreadable"_s), c.data);
        ASSERT_EQ(logs.size(), 1);
        EXPECT_TRUE(logs[0].startsWith(c.logStart + u"，原数据已另存到 "_s + folder()));
        QFile copy(logs[0].section(u"原数据已另存到 "_s, 1));
        ASSERT_TRUE(copy.open(QIODevice::ReadOnly));
        EXPECT_EQ(copy.readAll(), c.data);

        // The readable entries were saved: the next start finds nothing wrong.
        reopen();
        EXPECT_EQ(vocabulary->entries().size(), c.read);
        EXPECT_EQ(logs.size(), 1);
    }
}

// A second store and notebook on the same file stand for another process: a command.
TEST_F(VocabularyTest, TwoProgramsChangeOneNotebookWithoutLosingAnything) {
    DefaultsStore otherStore(m_dir.path() + u"/defaults.json"_s);
    Vocabulary other(Vocabulary::Dependencies{.store = otherStore,
                                              .recordingEnabled = [] { return true; },
                                              .log = [](const QString&) {},
                                              .now =
                                                  [this] {
                                                      return now;
                                                  }});
    vocabulary->record(u"alpha"_s);
    EXPECT_TRUE(other.setStarred(u"beta"_s, Kind::word, true));
    vocabulary->record(u"gamma"_s);
    EXPECT_FALSE(other.setStarred(u"beta"_s, Kind::word, true)); // already so: nothing to do
    EXPECT_TRUE(other.toggleStar(u"alpha"_s, Kind::word));
    EXPECT_TRUE(vocabulary->remove({.kind = Kind::word, .text = u"gamma"_s}));
    EXPECT_FALSE(other.remove({.kind = Kind::word, .text = u"gamma"_s}));

    store->refresh();
    EXPECT_EQ(texts(), (QStringList{u"beta"_s, u"alpha"_s}));
    EXPECT_EQ(vocabulary->starredCount(), 2);
    reopen();
    EXPECT_EQ(texts(), (QStringList{u"beta"_s, u"alpha"_s}));
    EXPECT_EQ(vocabulary->entry(u"alpha"_s, Kind::word)->count, 1);
}

TEST_F(VocabularyTest, UndecodableDataIsKeptAsideAndEarlierCopiesStay) {
    vocabulary.reset();
    store.reset();
    const auto damage = [this](const QVariant& value) {
        vocabulary.reset();
        DefaultsStore(m_dir.path() + u"/defaults.json"_s).setValue(u"vocabulary2"_s, value);
        reopen();
        vocabulary->toggleStar(u"after"_s, Kind::word);
    };
    // One bad character in the base64 text (it stays an ordinary object), then a value of
    // the wrong type.
    damage(QVariantMap{{u"$data"_s, u"W3sia2luZCI6IndvcmQi!"_s}});
    damage(u"not data"_s);
    EXPECT_EQ(store->storedValue(u"vocabulary2.unreadable"_s),
              QVariant(QVariantMap{{u"$data"_s, u"W3sia2luZCI6IndvcmQi!"_s}}));
    EXPECT_EQ(store->storedValue(u"vocabulary2.unreadable.2"_s), QVariant(u"not data"_s));
    ASSERT_EQ(logs.size(), 2);
    for (const QString& line : std::as_const(logs)) {
        EXPECT_TRUE(line.startsWith(u"存档整份读不出来，原数据已另存到 "_s + folder()));
        EXPECT_TRUE(QFile::exists(line.section(u"原数据已另存到 "_s, 1)));
    }
    EXPECT_EQ(texts(), QStringList{u"after"_s});
}

// A damaged or hand-edited archive can hold any number; each reads as a sane value, and the
// list stays intact (nothing is set aside).
TEST_F(VocabularyTest, ReadsNumbersOutOfRangeAsSaneValues) {
    store->setValues({
        {u"vocabulary2"_s,
         QByteArray(R"([{"kind":"word","text":"huge","count":1e308,"firstDate":1e308,)"
                    R"("lastDate":-1e300,"starred":true},)"
                    R"({"kind":"word","text":"less","count":-3.5,"lastDate":1e11}])")},
        {u"vocabulary"_s, QByteArray(R"([{"term":"old","count":1e300,"firstDate":-4e11}])")},
    });
    reopen();
    const auto huge = vocabulary->entry(u"huge"_s, Kind::word);
    ASSERT_TRUE(huge);
    EXPECT_EQ(huge->count, qint64(1) << 53);
    EXPECT_FALSE(huge->firstDate || huge->lastDate);
    const auto less = vocabulary->entry(u"less"_s, Kind::word);
    ASSERT_TRUE(less);
    EXPECT_EQ(less->count, 0);
    EXPECT_EQ(less->lastDate, kReference.addSecs(100'000'000'000));
    const auto old = vocabulary->entry(u"old"_s, Kind::word);
    ASSERT_TRUE(old);
    EXPECT_EQ(old->count, qint64(1) << 53);
    EXPECT_FALSE(old->firstDate);
    EXPECT_FALSE(store->contains(u"vocabulary2.unreadable"_s));
}

// Each entry's JSON is kept from one save to the next; whatever changed is encoded again.
TEST_F(VocabularyTest, TheSavedListIsTheListAsItIsNow) {
    using Step = std::pair<const char*, std::function<void()>>;
    const Step steps[] = {
        {"looked up",
         [&] {
             recordWords(u'w', 3);
         }},
        {"starred with a translation",
         [&] {
             vocabulary->toggleStar(u"waa"_s, Kind::word, u"一"_s);
         }},
        {"a sentence of the same text",
         [&] {
             vocabulary->toggleStar(u"waa"_s, Kind::sentence);
         }},
        {"looked up again later",
         [&] {
             now = now.addSecs(60);
             vocabulary->record(u"wab"_s);
         }},
        {"removed and looked up anew",
         [&] {
             vocabulary->remove({.kind = Kind::word, .text = u"wac"_s});
             vocabulary->record(u"wac"_s);
         }},
    };
    for (const auto& [name, step] : steps) {
        SCOPED_TRACE(name);
        step();
        EXPECT_EQ(store->dataIfPresent(u"vocabulary2"_s),
                  VocabularyArchive::encode(vocabulary->entries()));
    }
}

// The agent's store writes on a thread of its own. Lookups made while a write is under way
// are shown at once and go together with the next write, which holds the latest list.
TEST_F(VocabularyTest, InTheBackgroundLookupsDuringAWriteShareTheNextOneAndNoneIsLostAtQuit) {
    inBackground = true;
    reopen();
    QSignalSpy writes(store.get(), &DefaultsStore::writeFinished);
    vocabulary->record(u"first"_s);
    recordWords(u'w', 12);
    EXPECT_EQ(texts().size(), 13);
    store->waitForWrites();
    EXPECT_EQ(storedTexts(), QStringList{u"first"_s});
    endWrite();
    endWrite();
    EXPECT_EQ(storedTexts(), texts());
    EXPECT_EQ(writes.size(), 2);

    // As the agent quits, no event loop hands the waiting lookups over any more.
    recordWords(u'x', 3);
    vocabulary->flush();
    const QStringList shown = texts();
    vocabulary.reset();
    store.reset(); // while the last write is still under way
    EXPECT_EQ(storedTexts(), shown);
}

TEST_F(VocabularyTest, InTheBackgroundWaitingLookupsGoOnTopOfAnotherProgramsChange) {
    inBackground = true;
    reopen();
    vocabulary->record(u"alpha"_s);
    vocabulary->record(u"beta"_s); // waits for alpha's write
    // A command, meanwhile: it waits for the folder lock that write holds.
    DefaultsStore commandStore(m_dir.path() + u"/defaults.json"_s);
    Vocabulary command({.store = commandStore, .recordingEnabled = [] { return true; }, .log = {}});
    EXPECT_TRUE(command.setStarred(u"gamma"_s, Kind::word, true));
    endWrite();
    store->waitForWrites();
    EXPECT_EQ(storedTexts(), (QStringList{u"beta"_s, u"gamma"_s, u"alpha"_s}));
    EXPECT_EQ(texts(), storedTexts());

    // Recording switched off before a waiting lookup is written: it is forgotten.
    vocabulary->record(u"delta"_s);
    vocabulary->record(u"epsilon"_s); // waits for delta's write
    recording = false;
    endWrite();
    store->waitForWrites();
    EXPECT_EQ(storedTexts(), (QStringList{u"delta"_s, u"beta"_s, u"gamma"_s, u"alpha"_s}));
    EXPECT_EQ(texts(), storedTexts());
}
