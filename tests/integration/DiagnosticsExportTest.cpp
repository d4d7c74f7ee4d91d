// The diagnostics export after a session of lookups: the archive unpacked by the system's
// tar, searched for every text that was looked up.
#include "core/DiagnosticsExport.h"

#include "dictionary/SystemDictionaries.h"
#include "dictionary/SystemDictionaryCatalog.h"
#include "harness/QtPrinters.h"
#include "logs/DiagnosticLog.h"
#include "logs/EventLog.h"
#include "notebook/Vocabulary.h"
#include "settings/DefaultsStore.h"
#include "settings/Preferences.h"
#include "settings/TriggerSettings.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

// What the session looked up, and what it was told.
const QStringList kLookedUp{u"quixotically"_s, u"flibbertigibbet"_s,
                            u"The zephyr drifted over the marmalade orchard"_s,
                            u"和风吹过橘子酱果园"_s};

class DiagnosticsExportTest : public testing::Test {
protected:
    QTemporaryDir state;
    QTemporaryDir config;
    QTemporaryDir out;
    std::unique_ptr<DefaultsStore> store;
    std::unique_ptr<Preferences> preferences;

    void SetUp() override {
        qputenv("XDG_STATE_HOME", state.path().toUtf8());
        qputenv("XDG_CONFIG_HOME", config.path().toUtf8());
        store = std::make_unique<DefaultsStore>(*DefaultsStore::defaultFilePath());
        preferences = std::make_unique<Preferences>(
            *store, Preferences::Dictionaries{
                        &SystemDictionaries::activeIdentifiers, [](const QString& identifier) {
                            return SystemDictionaries::givesChineseGloss(identifier);
                        }});
    }
    void TearDown() override {
        qunsetenv("XDG_STATE_HOME");
        qunsetenv("XDG_CONFIG_HOME");
    }

    // Lookups as a session makes them: the event log's lines reach the disk through the
    // real diagnostic log, and the notebook keeps the words and a starred sentence.
    void recordSession() {
        EventLog log(&DiagnosticLog::write, false);
        log.append(EventLog::Kind::trigger, u"复制｜"_s + EventLog::privateSegment(kLookedUp[0]));
        log.append(EventLog::Kind::result, u"词典｜"_s + EventLog::privateSegment(kLookedUp[0]));
        log.append(EventLog::Kind::error,
                   u"词典和翻译里都没有 "_s + EventLog::privateSegment(kLookedUp[1]));
        log.append(EventLog::Kind::result, u"翻译｜"_s + EventLog::privateSegment(kLookedUp[2]) +
                                               u' ' + EventLog::privateSegment(kLookedUp[3]));
        Vocabulary vocabulary({.store = *store,
                               .recordingEnabled = [] { return true; },
                               .log = [](const QString&) {},
                               .folder = std::nullopt,
                               .gloss = {}});
        vocabulary.record(kLookedUp[0]);
        vocabulary.record(kLookedUp[1]);
        vocabulary.setStarred(kLookedUp[2], Vocabulary::Kind::sentence, true, kLookedUp[3]);
        ASSERT_EQ(vocabulary.entries().size(), 3);
        // A key an older version left behind, holding a text it looked up.
        store->setValue(u"lastLookup"_s, kLookedUp[1]);
        DiagnosticLog::flush();
    }

    DiagnosticsExport::Outcome exportTo(const QString& folder, const QDateTime& now) {
        const SystemDictionaryCatalog catalog(*preferences);
        return DiagnosticsExport::write(
            {.store = *store,
             .dictionaries = catalog,
             .removedDictionaries = {u"stardict:gone"_s},
             .capabilities = {u"辅助功能：已开启"_s, u"屏幕录制：无需授权（X11）"_s}},
            folder, now);
    }
};

// Every file of the unpacked archive, by its path inside it.
QHash<QString, QByteArray> unpack(const QString& archive, const QString& into) {
    QProcess tar;
    tar.start(u"tar"_s, {u"-xzf"_s, archive, u"-C"_s, into});
    EXPECT_TRUE(tar.waitForFinished(30000));
    EXPECT_EQ(tar.exitCode(), 0) << tar.readAllStandardError().toStdString();
    QHash<QString, QByteArray> files;
    QDirIterator it(into, QDir::Files, QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        QFile file(path);
        EXPECT_TRUE(file.open(QIODevice::ReadOnly));
        files.insert(QDir(into).relativeFilePath(path), file.readAll());
    }
    return files;
}

// Byte data in the settings ({"$data": base64}) decoded, so a text hidden in it shows.
QByteArray withDataDecoded(const QByteArray& json) {
    QByteArray all = json;
    static const QRegularExpression data(uR"re("\$data"\s*:\s*"([^"]*)")re"_s);
    for (const QRegularExpressionMatch& match : data.globalMatch(QString::fromUtf8(json)))
        all += QByteArray::fromBase64(match.captured(1).toLatin1());
    return all;
}

} // namespace

TEST_F(DiagnosticsExportTest, HoldsTheSessionsRecordsButNothingItLookedUp) {
    recordSession();
    const QDateTime now(QDate(2024, 3, 5), QTime(9, 7, 1));
    const auto outcome = exportTo(out.path(), now);
    ASSERT_TRUE(std::holds_alternative<DiagnosticsExport::Exported>(outcome))
        << std::get<DiagnosticsExport::Failure>(outcome).message.toStdString();
    const QString path = std::get<DiagnosticsExport::Exported>(outcome).path;
    EXPECT_EQ(path, out.filePath(u"Quillet-诊断-20240305-090701.tar.gz"_s));

    QTemporaryDir unpacked;
    const QHash<QString, QByteArray> files = unpack(path, unpacked.path());
    const QString folder = u"Quillet-诊断-20240305-090701/"_s;
    QStringList names = files.keys();
    names.sort();
    EXPECT_EQ(names, (QStringList{folder + u"capabilities.txt"_s, folder + u"dictionaries.txt"_s,
                                  folder + u"environment.txt"_s, folder + u"logs/Quillet.log"_s,
                                  folder + u"settings.json"_s}));

    for (auto it = files.cbegin(); it != files.cend(); ++it) {
        const QByteArray searched = withDataDecoded(it.value());
        for (const QString& text : kLookedUp)
            EXPECT_FALSE(searched.toLower().contains(text.toLower().toUtf8()))
                << it.key().toStdString() << " holds " << text.toStdString();
    }

    // What is there: the log's lines with character counts, the settings, the rest.
    const QString logText = QString::fromUtf8(files.value(folder + u"logs/Quillet.log"_s));
    EXPECT_EQ(logText.count(u'\n'), 4) << logText.toStdString();
    EXPECT_TRUE(logText.contains(u"复制｜‹12 字›"_s)) << logText.toStdString();
    const QJsonObject settings =
        QJsonDocument::fromJson(files.value(folder + u"settings.json"_s)).object();
    const QJsonObject kept = settings[u"settings"_s].toObject();
    EXPECT_TRUE(kept.contains(u"dictionaryOrder"_s));
    EXPECT_FALSE(kept.contains(u"vocabulary2"_s));
    EXPECT_EQ(settings[u"withheld"_s].toArray(), QJsonArray{u"lastLookup"_s});
    const QString dictionaries = QString::fromUtf8(files.value(folder + u"dictionaries.txt"_s));
    EXPECT_TRUE(dictionaries.contains(u"1. 简明英汉（bundled） · 中文释义"_s))
        << dictionaries.toStdString();
    EXPECT_TRUE(dictionaries.contains(u"- gone（stardict:gone） · 未安装"_s))
        << dictionaries.toStdString();
    EXPECT_EQ(files.value(folder + u"capabilities.txt"_s),
              u"辅助功能：已开启\n屏幕录制：无需授权（X11）\n"_s.toUtf8());
    EXPECT_TRUE(files.value(folder + u"environment.txt"_s).startsWith("Quillet "));
}

TEST_F(DiagnosticsExportTest, WhereItWritesAndWhenItCannot) {
    const QDateTime now(QDate(2024, 3, 5), QTime(9, 7, 1));
    // Two exports in one second: the second never replaces the first.
    const auto first = exportTo(out.path(), now);
    const auto second = exportTo(out.path(), now);
    ASSERT_TRUE(std::holds_alternative<DiagnosticsExport::Exported>(first));
    ASSERT_TRUE(std::holds_alternative<DiagnosticsExport::Exported>(second));
    EXPECT_EQ(std::get<DiagnosticsExport::Exported>(second).path,
              out.filePath(u"Quillet-诊断-20240305-090701-2.tar.gz"_s));

    // No folder given: the download folder the user's desktop names.
    QDir(config.path()).mkpath(u"."_s);
    QFile dirs(config.filePath(u"user-dirs.dirs"_s));
    ASSERT_TRUE(dirs.open(QIODevice::WriteOnly));
    dirs.write("# written by xdg-user-dirs-update\nXDG_DOWNLOAD_DIR=\"$HOME/下载\"\n");
    dirs.close();
    const auto downloaded = exportTo(QString(), now);
    ASSERT_TRUE(std::holds_alternative<DiagnosticsExport::Exported>(downloaded));
    EXPECT_EQ(QFileInfo(std::get<DiagnosticsExport::Exported>(downloaded).path).absolutePath(),
              QDir::homePath() + u"/下载"_s);

    // A folder that cannot be made: a file is in the way.
    QFile blocker(out.filePath(u"blocker"_s));
    ASSERT_TRUE(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    const auto refused = exportTo(out.filePath(u"blocker/inside"_s), now);
    ASSERT_TRUE(std::holds_alternative<DiagnosticsExport::Failure>(refused));
    EXPECT_TRUE(
        std::get<DiagnosticsExport::Failure>(refused).message.startsWith(u"无法导出诊断信息："_s))
        << std::get<DiagnosticsExport::Failure>(refused).message.toStdString();
    EXPECT_EQ(QDir(out.path()).entryList(QDir::Files).size(), 3) << "nothing else was written";
}
