#include "settings/DefaultsStore.h"

#include "harness/QtPrinters.h"

#include <QDir>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <csignal>
#include <gtest/gtest.h>
#include <limits>
#include <memory>
#include <sys/resource.h>
#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace {

const QByteArray kBytes("\x00\x01\xff binary\n", 11);

// Lowers this process's file-size limit for a scope: writes past it fail with EFBIG.
class FileSizeLimit {
public:
    explicit FileSizeLimit(rlim_t bytes) {
        ::signal(SIGXFSZ, SIG_IGN);
        ::getrlimit(RLIMIT_FSIZE, &m_saved);
        const rlimit lowered{bytes, m_saved.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &lowered);
    }
    ~FileSizeLimit() { ::setrlimit(RLIMIT_FSIZE, &m_saved); }

private:
    rlimit m_saved{};
};

class DefaultsStoreTest : public testing::Test {
protected:
    QString folder() const { return m_dir.path() + u"/Quillet"_s; }
    QString path() const { return folder() + u"/defaults.json"_s; }

    std::unique_ptr<DefaultsStore> open(const QString& filePath = {}) {
        return std::make_unique<DefaultsStore>(filePath.isEmpty() ? path() : filePath,
                                               [this](const QString& c) { notices.append(c); });
    }
    static void write(const QString& filePath, const QByteArray& bytes) {
        QDir().mkpath(QFileInfo(filePath).path());
        QFile file(filePath);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(bytes);
    }
    static QByteArray read(const QString& filePath) {
        QFile file(filePath);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }

    QTemporaryDir m_dir;
    QStringList notices;
};

} // namespace

TEST_F(DefaultsStoreTest, EveryTypeSurvivesTheFile) {
    const auto nested = [](const QVariant& one) {
        return QVariantMap{{u"list"_s, QVariantList{one, QVariantMap{{u"bytes"_s, kBytes}}}},
                           {u"empty"_s, QVariantMap()}};
    };
    const QVariantMap written{
        {u"on"_s, true},
        {u"max"_s, std::numeric_limits<qint64>::max()},
        {u"min"_s, std::numeric_limits<qint64>::min()},
        {u"huge"_s, std::numeric_limits<quint64>::max()},
        {u"fraction"_s, 0.3},
        {u"whole"_s, 2.0},
        {u"text"_s, u"取词 \"quoted\"\n\\"_s},
        {u"bytes"_s, kBytes},
        {u"emptyBytes"_s, QByteArray()},
        {u"nested"_s, nested(1)},
    };
    QVariantMap expected = written;
    expected[u"huge"_s] = 18446744073709551615.0;
    expected[u"whole"_s] = qint64(2); // JSON has no integral doubles
    expected[u"nested"_s] = nested(qint64(1));
    open()->setValues(written);

    const QVariantMap reloaded = open()->storedValues();
    EXPECT_EQ(reloaded, expected);
    for (auto it = expected.cbegin(); it != expected.cend(); ++it)
        EXPECT_EQ(reloaded.value(it.key()).typeId(), it->typeId()) << it.key().toStdString();
    EXPECT_EQ(QJsonDocument::fromJson(read(path())).object().value(u"bytes"_s).toObject(),
              QJsonObject({{u"$data"_s, QString::fromLatin1(kBytes.toBase64())}}));
    EXPECT_TRUE(notices.isEmpty());
}

TEST_F(DefaultsStoreTest, ReadsHandWrittenJson) {
    const std::pair<QByteArray, std::optional<QVariant>> cases[] = {
        {R"({"a": 9223372036854775808})", 9223372036854775808.0},
        {R"({"a": -1.5e3})", qint64(-1500)}, // an integer, however it is written
        {R"({"a": {"$data": "AAH/"}})", QByteArray("\x00\x01\xff", 3)},
        // Anything short of exactly one valid "$data" text is an ordinary object.
        {R"({"a": {"$data": "AAH\u00e9"}})", QVariantMap{{u"$data"_s, u"AAH\u00e9"_s}}},
        {R"({"a": null})", std::nullopt},
        {R"({"a": [null, "x"]})", QVariantList{QVariant(), u"x"_s}},
        {R"({"b": {"$data": "AAH/"}, "$data": "AAH/"})", std::nullopt}, // top level: a key
    };
    for (const auto& [json, value] : cases) {
        SCOPED_TRACE(json.toStdString());
        write(path(), json);
        const auto store = open();
        EXPECT_EQ(store->storedValue(u"a"_s), value);
        if (value) {
            EXPECT_EQ(store->storedValue(u"a"_s)->typeId(), value->typeId());
        }
    }
    EXPECT_EQ(open()->stringValue(u"$data"_s), u"AAH/"_s);
    EXPECT_TRUE(notices.isEmpty());
}

TEST_F(DefaultsStoreTest, WritesOnlyStoredValuesAndOnlyOnChange) {
    auto store = open();
    QSignalSpy changed(store.get(), &DefaultsStore::valueChanged);
    store->registerDefaults({{u"historyEnabled"_s, true}, {u"hoverDwellSeconds"_s, 0.3}});
    EXPECT_TRUE(store->boolValue(u"historyEnabled"_s));
    EXPECT_FALSE(store->contains(u"historyEnabled"_s));

    store->setValue(u"hoverDwellSeconds"_s, 0.5);
    store->setValue(u"hoverDwellSeconds"_s, 0.5);
    store->remove(u"missing"_s);
    EXPECT_EQ(changed.size(), 1);
    EXPECT_DOUBLE_EQ(store->doubleValue(u"hoverDwellSeconds"_s), 0.5);
    EXPECT_EQ(QJsonDocument::fromJson(read(path())).object().keys(),
              QStringList{u"hoverDwellSeconds"_s});
    EXPECT_EQ(QDir(folder()).entryList(QDir::Files | QDir::Hidden),
              QStringList{u"defaults.json"_s}); // no temporary file left behind

    store->remove(u"hoverDwellSeconds"_s);
    EXPECT_DOUBLE_EQ(store->doubleValue(u"hoverDwellSeconds"_s), 0.3);
    EXPECT_TRUE(open()->storedKeys().isEmpty());
}

TEST_F(DefaultsStoreTest, TypedReadsRefuseOtherTypes) {
    struct Case {
        QVariant stored; // invalid: absent
        std::optional<bool> boolean;
        std::optional<double> number;
        std::optional<QString> text;
        std::optional<QStringList> texts;
    };
    const Case cases[] = {
        {QVariant(), {}, {}, {}, {}},
        {true, true, {}, {}, {}},
        {u"true"_s, {}, {}, u"true"_s, {}},
        {1, {}, 1.0, {}, {}},
        {QVariantList(), {}, {}, {}, QStringList()},
        {QVariantList{u"a"_s, 1}, {}, {}, {}, {}},
        {kBytes, {}, {}, {}, {}},
    };
    auto store = open();
    for (const Case& c : cases) {
        SCOPED_TRACE(c.stored.toString().toStdString());
        store->setValue(u"k"_s, c.stored);
        EXPECT_EQ(store->boolValue(u"k"_s, true), c.boolean.value_or(true));
        EXPECT_EQ(store->doubleValue(u"k"_s, -7), c.number.value_or(-7));
        EXPECT_EQ(store->stringValue(u"k"_s, u"-"_s), c.text.value_or(u"-"_s));
        EXPECT_EQ(store->stringListIfPresent(u"k"_s), c.texts);
        EXPECT_EQ(store->dataIfPresent(u"k"_s).has_value(), c.stored == kBytes);
    }
}

TEST_F(DefaultsStoreTest, UnreadableFilesAreKeptAsideUntouched) {
    const QRegularExpression asideName(uR"(^defaults\.json\.unreadable-\d{8}-\d{6}(-\d+)?$)"_s);
    const QByteArray cases[] = {
        "{\"a\": tru",
        "[{\"a\": 1}]", // valid JSON, but not an object
        "",
        "{\"a\": \"\xff\"}", // not UTF-8
    };
    QStringList keptAside; // several in the same second must not replace one another
    for (const QByteArray& bytes : cases) {
        SCOPED_TRACE(bytes.toStdString());
        notices.clear();
        write(path(), bytes);
        auto store = open();
        EXPECT_TRUE(store->storedKeys().isEmpty());
        // Reading alone leaves the file where it is; the first write keeps it aside.
        EXPECT_EQ(read(path()), bytes);
        EXPECT_TRUE(notices.isEmpty());
        store->setValue(u"fresh"_s, true);

        QStringList added = QDir(folder()).entryList({u"*.unreadable-*"_s}, QDir::Files);
        for (const QString& name : std::as_const(keptAside))
            added.removeOne(name);
        ASSERT_EQ(added.size(), 1);
        EXPECT_TRUE(asideName.match(added[0]).hasMatch()) << added[0].toStdString();
        EXPECT_EQ(notices, QStringList{u"设置｜设置文件无法读取，已另存为 "_s + added[0] +
                                       u"，已恢复默认设置"_s});
        keptAside.append(added[0]);
        EXPECT_TRUE(open()->boolValue(u"fresh"_s));
    }
    for (qsizetype i = 0; i < keptAside.size(); ++i)
        EXPECT_EQ(read(folder() + u'/' + keptAside[i]), cases[i]);
}

TEST_F(DefaultsStoreTest, AFileThatCannotBeKeptAsideIsNeverOverwritten) {
    // A name so long that no longer name fits beside it: renaming and copying both fail.
    const QString longPath = m_dir.path() + u'/' + QString(240, u'd');
    write(longPath, "broken");
    auto store = open(longPath);
    store->setValue(u"a"_s, true);
    ASSERT_EQ(notices.size(), 1);
    EXPECT_TRUE(notices[0].startsWith(u"设置｜设置文件无法读取"_s));
    EXPECT_TRUE(store->boolValue(u"a"_s));
    EXPECT_TRUE(store->writeFailure().has_value());
    EXPECT_EQ(read(longPath), "broken");
}

// Two stores on one file stand for two processes: the agent and a command, or two commands.
TEST_F(DefaultsStoreTest, ChangesOfOtherProcessesAreMergedNeverOverwritten) {
    auto agent = open();
    auto command = open();
    QSignalSpy announced(agent.get(), &DefaultsStore::valueChanged);
    agent->setValue(u"hoverDwellSeconds"_s, 0.5);
    command->setValue(u"trigger.method"_s, u"hotKey"_s);
    // The agent's next change is made to the file as the command left it.
    agent->setValue(u"speaksOnLookup"_s, true);
    EXPECT_EQ(agent->stringValue(u"trigger.method"_s), u"hotKey"_s);
    EXPECT_TRUE(announced.contains(QVariantList{u"trigger.method"_s}));

    command->remove(u"hoverDwellSeconds"_s);
    agent->refresh();
    EXPECT_FALSE(agent->contains(u"hoverDwellSeconds"_s));
    const QVariantMap expected{{u"trigger.method"_s, u"hotKey"_s}, {u"speaksOnLookup"_s, true}};
    EXPECT_EQ(open()->storedValues(), expected);
    EXPECT_EQ(agent->storedValues(), expected);

    // A read-modify-write sees the other's change, however recent.
    command->setValue(u"count"_s, 1);
    agent->transaction([&] { agent->setValue(u"count"_s, agent->value(u"count"_s).toInt() + 1); });
    EXPECT_EQ(open()->value(u"count"_s), QVariant(qint64(2)));
}

TEST_F(DefaultsStoreTest, HeldWritesLeaveTheDiskAlone) {
    auto store = open();
    store->holdWrites();
    store->setValue(u"a"_s, true);
    EXPECT_TRUE(store->boolValue(u"a"_s));
    EXPECT_FALSE(QFileInfo::exists(folder())); // not even the folder
    write(path(), "{broken");
    store->setValue(u"b"_s, true);
    EXPECT_EQ(read(path()), "{broken");
    EXPECT_TRUE(notices.isEmpty());
}

TEST_F(DefaultsStoreTest, AFailedWriteKeepsTheFileAndTheChangeUntilItCanBeWritten) {
    auto store = open();
    QSignalSpy failed(store.get(), &DefaultsStore::writeFailed);
    QSignalSpy recovered(store.get(), &DefaultsStore::writesRecovered);
    store->setValue(u"kept"_s, u"old"_s);
    const QByteArray before = read(path());
    {
        // Past the file-size limit a write fails with EFBIG, as it would on a full disk.
        const FileSizeLimit limit(before.size() + 16);
        store->setValue(u"big"_s, QString(4096, u'x'));
        store->setValue(u"more"_s, true);
    }
    EXPECT_EQ(read(path()), before);
    ASSERT_TRUE(store->writeFailure().has_value());
    EXPECT_EQ(store->writeFailure()->reason, u"磁盘空间已满"_s);
    EXPECT_EQ(failed.size(), 1); // told once, not for every change
    EXPECT_TRUE(store->hasUnsavedChanges());
    EXPECT_TRUE(store->boolValue(u"more"_s));

    // Someone else writes meanwhile; the retry adds to their file.
    open()->setValue(u"other"_s, 1);
    store->retryUnsavedChanges();
    EXPECT_EQ(recovered.size(), 1);
    EXPECT_FALSE(store->writeFailure().has_value());
    const auto reread = open();
    EXPECT_EQ(reread->stringValue(u"big"_s).size(), 4096);
    EXPECT_TRUE(reread->boolValue(u"more"_s));
    EXPECT_EQ(reread->value(u"other"_s), QVariant(qint64(1)));
    EXPECT_EQ(reread->stringValue(u"kept"_s), u"old"_s);
}

TEST_F(DefaultsStoreTest, SpecialFilesAreKeptAsideWithoutBlocking) {
    QDir().mkpath(folder());
    ASSERT_EQ(::mkfifo(QFile::encodeName(path()).constData(), 0600), 0);
    auto store = open(); // would wait for a writer forever if opened as a file
    EXPECT_TRUE(store->storedKeys().isEmpty());
    store->setValue(u"a"_s, true);
    EXPECT_TRUE(open()->boolValue(u"a"_s));
    ASSERT_EQ(notices.size(), 1);
    const QString aside = notices[0].section(u"另存为 "_s, 1).section(u'，', 0, 0);
    EXPECT_TRUE(QFileInfo(folder() + u'/' + aside).exists());
}

// Written on a thread of its own, as the agent does: the failure is known once the write
// ends, still told once, and the change is written with the next one.
TEST_F(DefaultsStoreTest, InTheBackgroundAFailedWriteIsToldOnceAndWrittenLater) {
    auto store = open();
    store->writeInBackground();
    QSignalSpy failed(store.get(), &DefaultsStore::writeFailed);
    QSignalSpy recovered(store.get(), &DefaultsStore::writesRecovered);
    store->setValue(u"kept"_s, u"old"_s);
    store->waitForWrites();
    const QByteArray before = read(path());
    {
        const FileSizeLimit limit(before.size() + 16);
        store->setValue(u"big"_s, QString(4096, u'x'));
        store->setValue(u"more"_s, true);
        store->waitForWrites();
    }
    EXPECT_EQ(read(path()), before);
    ASSERT_TRUE(store->writeFailure().has_value());
    EXPECT_EQ(store->writeFailure()->reason, u"磁盘空间已满"_s);
    EXPECT_EQ(failed.size(), 1);
    EXPECT_TRUE(store->hasUnsavedChanges());

    open()->setValue(u"other"_s, 1);
    store->setValue(u"last"_s, true);
    store->waitForWrites();
    EXPECT_EQ(recovered.size(), 1);
    EXPECT_FALSE(store->hasUnsavedChanges());
    const auto reread = open();
    EXPECT_EQ(reread->stringValue(u"big"_s).size(), 4096);
    EXPECT_EQ(reread->value(u"other"_s), QVariant(qint64(1)));
}
