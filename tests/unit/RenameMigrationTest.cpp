#include "settings/RenameMigration.h"

#include "harness/QtPrinters.h"
#include "settings/DefaultsStore.h"

#include <QDir>
#include <QTemporaryDir>
#include <gtest/gtest.h>
#include <memory>

using namespace Qt::StringLiterals;

namespace {

class RenameMigrationTest : public testing::Test {
protected:
    QString in(const QString& relative) const { return m_root.path() + u'/' + relative; }
    QString former(const QString& name) const { return in(u"data/Lumenfold/"_s + name); }
    QString current(const QString& name) const { return in(u"data/Quillet/"_s + name); }
    QString formerSettings() const { return in(u"config/Lumenfold/defaults.json"_s); }

    std::unique_ptr<DefaultsStore> openStore() const {
        return std::make_unique<DefaultsStore>(in(u"config/Quillet/defaults.json"_s));
    }
    std::optional<RenameMigration::Carried> run() {
        return RenameMigration::runIfNeeded(
            *store, {formerSettings(), in(u"data/Lumenfold"_s), in(u"data/Quillet"_s)},
            [this](const QString& c) { log.append(c); });
    }

    static void write(const QString& path, const QByteArray& bytes) {
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        ASSERT_TRUE(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(bytes);
    }
    static QByteArray read(const QString& path) {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<missing>");
    }

    QTemporaryDir m_root;
    std::unique_ptr<DefaultsStore> store = openStore();
    QStringList log;
};

} // namespace

TEST_F(RenameMigrationTest, CarriesSettingsOnceWhileExistingValuesWin) {
    const QByteArray formerJson = R"({"a": 2, "b": "x", "c": {"$data": "AAE="}, "d": [true]})";
    write(formerSettings(), formerJson);
    store->setValue(u"a"_s, 1);

    ASSERT_EQ(run().value().settings, 3);
    EXPECT_EQ(log, QStringList{u"已从 Lumenfold 搬来偏好 3 项设置、0 个文件"_s});
    EXPECT_EQ(openStore()->storedValues(), (QVariantMap{
                                               {u"a"_s, qint64(1)},
                                               {u"b"_s, u"x"_s},
                                               {u"c"_s, QByteArray("\x00\x01", 2)},
                                               {u"d"_s, QVariantList{true}},
                                               {u"migration.fromLumenfold"_s, true},
                                           }));
    EXPECT_EQ(read(formerSettings()), formerJson); // left for the user

    // The stored marker counts, not this process's memory.
    write(formerSettings(), R"({"e": 2})");
    write(former(u"late"_s), "2");
    store = openStore();
    EXPECT_EQ(run(), std::nullopt);
    EXPECT_FALSE(store->contains(u"e"_s));
    EXPECT_TRUE(QFileInfo::exists(former(u"late"_s)));
    EXPECT_EQ(log.size(), 1);
}

TEST_F(RenameMigrationTest, MovesFilesButNeverDotFilesOrOverExistingOnes) {
    struct Case {
        QString path;
        bool alreadyAtTarget; // holds "current" there before the run
        bool moves;
    };
    const Case cases[] = {
        {u"notebook.sqlite"_s, false, true},  {u"exports/2024/words.csv"_s, false, true},
        {u"exports/kept.csv"_s, true, false}, {u"keep.txt"_s, true, false},
        {u".DS_Store"_s, false, false},       {u".cache/blob"_s, false, false},
        {u"exports/.lock"_s, false, false},
    };
    for (const Case& c : cases) {
        write(former(c.path), c.path.toUtf8());
        if (c.alreadyAtTarget)
            write(current(c.path), "current");
    }
    ASSERT_EQ(run().value().files, 2);
    EXPECT_EQ(log, QStringList{u"已从 Lumenfold 搬来偏好 0 项设置、2 个文件"_s});
    for (const Case& c : cases) {
        SCOPED_TRACE(c.path.toStdString());
        EXPECT_EQ(QFileInfo::exists(former(c.path)), !c.moves);
        const QByteArray expected = c.moves             ? c.path.toUtf8()
                                    : c.alreadyAtTarget ? QByteArray("current")
                                                        : "<missing>";
        EXPECT_EQ(read(current(c.path)), expected);
    }
}

TEST_F(RenameMigrationTest, FilesThatCannotMoveStayAndTheMarkerIsStillSet) {
    write(formerSettings(), R"({"a": true})");
    write(former(u"notebook.sqlite"_s), "words");
    write(in(u"data/Quillet"_s), "a file where the folder should be");

    ASSERT_EQ(run().value().files, 0);
    EXPECT_EQ(read(former(u"notebook.sqlite"_s)), "words");
    EXPECT_TRUE(openStore()->boolValue(u"migration.fromLumenfold"_s));
    EXPECT_EQ(log, QStringList{u"已从 Lumenfold 搬来偏好 1 项设置、0 个文件"_s});
}

TEST_F(RenameMigrationTest, NothingToCarryIsNotLoggedAndUnreadableSettingsStayPut) {
    const std::optional<QByteArray> cases[] = {std::nullopt, "{}", "{\"a\": ", "[1]"};
    for (const auto& formerFile : cases) {
        SCOPED_TRACE(formerFile.value_or("<none>").toStdString());
        QDir(in(u"config"_s)).removeRecursively();
        store = openStore();
        if (formerFile)
            write(formerSettings(), *formerFile);

        const auto carried = run();
        EXPECT_EQ(carried->settings + carried->files, 0);
        EXPECT_TRUE(log.isEmpty());
        EXPECT_EQ(openStore()->storedKeys(), QStringList{u"migration.fromLumenfold"_s});
        EXPECT_EQ(read(formerSettings()), formerFile.value_or("<missing>")); // left as it was
    }
}
