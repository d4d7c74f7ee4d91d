// The notebook through the real command line, and its survival of processes killed mid-save.
#include "harness/QtPrinters.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QThread>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

class NotebookCommandTest : public testing::Test {
protected:
    QTemporaryDir config;

    void SetUp() override { qputenv("XDG_CONFIG_HOME", config.path().toUtf8()); }
    void TearDown() override { qunsetenv("XDG_CONFIG_HOME"); }

    QProcess* start(const QStringList& arguments) {
        auto* process = new QProcess;
        process->start(QCoreApplication::applicationDirPath() + u"/quillet"_s, arguments);
        return process;
    }
    std::pair<int, QString> run(const QStringList& arguments) {
        std::unique_ptr<QProcess> process(start(arguments));
        process->waitForFinished(30'000);
        return {process->exitCode(), QString::fromUtf8(process->readAllStandardOutput())};
    }
    QJsonArray starred() {
        return QJsonDocument::fromJson(
                   run({u"notebook"_s, u"list"_s, u"--starred"_s, u"--json"_s}).second.toUtf8())
            .array();
    }
};

QStringList textsOf(const QJsonArray& entries) {
    QStringList texts;
    for (const QJsonValue& entry : entries)
        texts.append(entry.toObject()[u"text"_s].toString());
    return texts;
}

} // namespace

TEST_F(NotebookCommandTest, StarListExportAndClear) {
    EXPECT_EQ(run({u"notebook"_s, u"star"_s, u"Serendipity"_s}).first, 0);
    EXPECT_EQ(run({u"notebook"_s, u"star"_s, u"--sentence"_s, u"Carry on."_s}).first, 0);
    EXPECT_EQ(textsOf(starred()), (QStringList{u"Carry on."_s, u"serendipity"_s}));

    const auto [code, anki] =
        run({u"notebook"_s, u"export"_s, u"--format"_s, u"anki"_s, u"--scope"_s, u"starred"_s});
    EXPECT_EQ(code, 0);
    const QStringList lines = anki.split(u'\n');
    ASSERT_EQ(lines.size(), 3) << anki.toStdString(); // two entries and the final line break
    EXPECT_TRUE(lines[1].startsWith(u"serendipity\t"_s));
    EXPECT_FALSE(lines[1].contains(u'\n'));

    const QString file = config.filePath(u"notebook.txt"_s);
    EXPECT_EQ(run({u"notebook"_s, u"export"_s, u"--format"_s, u"plain"_s, u"-o"_s, file}).first, 0);
    EXPECT_TRUE(QFile::exists(file));

    EXPECT_EQ(run({u"notebook"_s, u"unstar"_s, u"serendipity"_s}).first, 0);
    EXPECT_EQ(textsOf(starred()), QStringList{u"Carry on."_s});
    EXPECT_EQ(run({u"notebook"_s, u"remove"_s, u"never-seen"_s}).first, 1);
    EXPECT_EQ(run({u"notebook"_s, u"export"_s, u"--format"_s, u"csv"_s}).first, 64);
    EXPECT_EQ(run({u"notebook"_s, u"clear"_s}).first, 0);
    EXPECT_EQ(textsOf(starred()), QStringList{u"Carry on."_s});
}

TEST_F(NotebookCommandTest, StarsSurviveProcessesKilledMidSave) {
    QStringList confirmed;
    for (int i = 0; i < 40; ++i) {
        const QString word = u"word"_s + QChar(u'a' + i % 26) + QChar(u'a' + i / 26);
        std::unique_ptr<QProcess> process(start({u"notebook"_s, u"star"_s, word}));
        process->waitForStarted();
        // Kill about half of them somewhere between start-up and the end of the save.
        if (i % 2 == 1) {
            QThread::usleep(QRandomGenerator::global()->bounded(500, 6000));
            process->kill();
        }
        process->waitForFinished(30'000);
        if (process->exitStatus() == QProcess::NormalExit && process->exitCode() == 0)
            confirmed.append(word);
    }
    ASSERT_GE(confirmed.size(), 20);
    const QStringList kept = textsOf(starred());
    for (const QString& word : confirmed)
        EXPECT_TRUE(kept.contains(word)) << word.toStdString();
    EXPECT_TRUE(QDir(config.filePath(u"Quillet"_s)).entryList({u"*.unreadable-*"_s}).isEmpty())
        << "an interrupted save never leaves a broken file behind";
}
