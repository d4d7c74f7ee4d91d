#include "AgentProcess.h"
#include "harness/ForeignClipboard.h"
#include "harness/QuilletProcess.h"
#include "harness/ScratchDisk.h"
#include "harness/StoredSettings.h"

#include <QEventLoop>
#include <QFile>
#include <QRandomGenerator>
#include <QTimer>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

using namespace LogLines;

namespace {

// The agent and commands of the same user share one settings file.
class AgentStorageTest : public testing::Test {
protected:
    void startAgent() {
        AgentProcess::Options options;
        options.clipboardPollMs = 50;
        ASSERT_TRUE(agent.start(options));
        ASSERT_TRUE(agent.waitForLine(startingWith(u"[触发] Quillet 已启动"_s), 10000))
            << text(agent.lines());
    }
    QProcessEnvironment environment() const {
        return QuilletProcess::environmentWithHome(agent.home());
    }
    QuilletProcess::Run quillet(const QStringList& arguments) const {
        return QuilletProcess::run(arguments, environment());
    }
    // Copies a word and waits for the agent's answer, which it gives once the lookup is
    // recorded and its write begun, then for that write to end.
    void lookUp(const QString& word) {
        const qsizetype mark = agent.mark();
        ASSERT_TRUE(clipboard.copy(word.toUtf8()));
        ASSERT_TRUE(agent.waitForLine(startingWith(u"[结果] 词典｜"_s + word), 12000, mark))
            << text(agent.linesSince(mark));
        StoredSettings::waitForWriters(agent.home());
    }
    QJsonObject stored() const {
        const auto settings = StoredSettings::read(agent.home());
        EXPECT_TRUE(settings);
        return settings.value_or(QJsonObject());
    }
    QStringList notebook(bool starredOnly = false) const {
        const auto entries = StoredSettings::notebook(stored());
        EXPECT_TRUE(entries);
        return StoredSettings::notebookTexts(entries.value_or(QJsonArray()), starredOnly);
    }

    AgentProcess agent;
    ForeignClipboard clipboard;
};

QString word(const QString& stem, int n) {
    return stem + QChar(u'a' + n / 26) + QChar(u'a' + n % 26);
}

} // namespace

TEST_F(AgentStorageTest, FiftyCommandsInParallelWithCopiedWordsLoseNothing) {
    startAgent();
    for (int i = 0; i < 10; ++i)
        ASSERT_EQ(quillet({u"notebook"_s, u"star"_s, word(u"undo"_s, i)}).exitCode, 0);

    const QList<QStringList> settings{
        {u"hoverDwellSeconds"_s, u"1.5"_s},
        {u"reopenTarget"_s, u"notebook"_s},
        {u"trigger.pointerKey"_s, u"control"_s},
        {u"filter.showsEverything"_s, u"true"_s},
        {u"trigger.expandsOnNotchHover"_s, u"false"_s},
        {u"trigger.pausesVideoOnPeek"_s, u"false"_s},
        {u"trigger.screenSubtitles"_s, u"true"_s},
        {u"trigger.showsSubtitlesOnPause"_s, u"true"_s},
    };
    QList<QStringList> commands;
    for (int i = 0; i < 30; ++i)
        commands.append({u"notebook"_s, u"star"_s, word(u"star"_s, i)});
    for (int i = 0; i < 10; ++i)
        commands.append({u"notebook"_s, u"unstar"_s, word(u"undo"_s, i)});
    commands.append({u"notebook"_s, u"clear"_s});
    commands.append({u"notebook"_s, u"clear"_s});
    for (const QStringList& setting : settings)
        commands.append(QStringList{u"settings"_s, u"set"_s} + setting);
    ASSERT_EQ(commands.size(), 50);

    std::vector<std::unique_ptr<QProcess>> processes;
    for (const QStringList& arguments : std::as_const(commands)) {
        auto& process = processes.emplace_back(std::make_unique<QProcess>());
        process->setProcessEnvironment(environment());
        process->start(QuilletProcess::executable(), arguments);
    }
    // The agent records copied words while the commands run.
    for (const QString& copied : {u"water"_s, u"fire"_s, u"earth"_s})
        lookUp(copied);
    for (size_t i = 0; i < processes.size(); ++i) {
        QProcess& process = *processes[i];
        ASSERT_TRUE(process.state() == QProcess::NotRunning || process.waitForFinished(30'000));
        EXPECT_EQ(process.exitCode(), 0) << commands[qsizetype(i)].join(u' ').toStdString() << ": "
                                         << process.readAllStandardError().toStdString();
    }
    // A word recorded after all of them: the agent's write keeps every command's change.
    lookUp(u"metal"_s);

    QStringList starred;
    for (int i = 0; i < 30; ++i)
        starred.append(word(u"star"_s, i));
    QStringList storedStars = notebook(true);
    storedStars.sort();
    EXPECT_EQ(storedStars, starred);
    EXPECT_TRUE(notebook().contains(u"metal"_s));
    const QJsonObject file = stored();
    EXPECT_EQ(file.value(u"hoverDwellSeconds"_s).toDouble(), 1.5);
    EXPECT_EQ(file.value(u"reopenTarget"_s).toString(), u"notebook"_s);
    EXPECT_EQ(file.value(u"trigger.pointerKey"_s).toString(), u"control"_s);
    for (const char* key :
         {"filter.showsEverything", "trigger.screenSubtitles", "trigger.showsSubtitlesOnPause"})
        EXPECT_EQ(file.value(QString::fromLatin1(key)), QJsonValue(true)) << key;
    for (const char* key : {"trigger.expandsOnNotchHover", "trigger.pausesVideoOnPeek"})
        EXPECT_EQ(file.value(QString::fromLatin1(key)), QJsonValue(false)) << key;

    // A history switched off on the command line is off in the running agent at once, and
    // stays off when the agent quits.
    const qsizetype mark = agent.mark();
    ASSERT_EQ(quillet({u"settings"_s, u"set"_s, u"historyEnabled"_s, u"false"_s}).exitCode, 0);
    ASSERT_TRUE(
        agent.waitForLine(startingWith(u"[触发] 设置｜已采用其他程序保存的改动："_s), 5000, mark))
        << text(agent.linesSince(mark));
    lookUp(u"wind"_s);
    EXPECT_FALSE(notebook().contains(u"wind"_s));
    agent.stop();
    EXPECT_EQ(stored().value(u"historyEnabled"_s), QJsonValue(false));
}

TEST_F(AgentStorageTest, AFullOrReadOnlyDiskIsReportedOnceAndNothingIsLost) {
    ScratchDisk disk(agent.home() + u"/.config"_s, 256 * 1024);
    if (!disk.mounted())
        GTEST_SKIP() << "no right to mount a scratch disk here";
    startAgent();
    lookUp(u"water"_s);
    const QByteArray before = [this] {
        QFile file(StoredSettings::filePath(agent.home()));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }();

    for (const QString& reason : {u"磁盘空间已满"_s, u"文件系统是只读的"_s}) {
        SCOPED_TRACE(reason.toStdString());
        if (reason == u"磁盘空间已满"_s)
            ASSERT_TRUE(disk.fill());
        else
            ASSERT_TRUE(disk.setReadOnly(true));
        const qsizetype mark = agent.mark();
        lookUp(u"fire"_s);
        lookUp(u"earth"_s);
        const QStringList errors = agent.linesSince(mark).filter(u"[错误] 设置｜无法保存"_s);
        ASSERT_EQ(errors.size(), 1) << text(agent.linesSince(mark));
        EXPECT_TRUE(errors[0].contains(reason)) << errors[0].toStdString();
        const auto run = quillet({u"notebook"_s, u"star"_s, u"wind"_s});
        EXPECT_EQ(run.exitCode, 1);
        EXPECT_TRUE(run.err.contains(reason)) << run.err.toStdString();
        QFile file(StoredSettings::filePath(agent.home()));
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        EXPECT_EQ(file.readAll(), before);

        // Room again: the next change writes what waited in memory too.
        if (reason == u"磁盘空间已满"_s)
            disk.makeRoom();
        else
            ASSERT_TRUE(disk.setReadOnly(false));
        const qsizetype recovered = agent.mark();
        lookUp(u"metal"_s);
        EXPECT_TRUE(agent.waitForLine(startingWith(u"[结果] 设置｜暂存的改动已写入磁盘"_s), 5000,
                                      recovered));
        EXPECT_EQ(notebook().mid(0, 4),
                  (QStringList{u"metal"_s, u"earth"_s, u"fire"_s, u"water"_s}));
        // The next round starts from what is on disk now.
        QFile again(StoredSettings::filePath(agent.home()));
        ASSERT_TRUE(again.open(QIODevice::ReadOnly));
        const_cast<QByteArray&>(before) = again.readAll();
    }
}

// The agent killed at random moments while it records copied words and a command stars a
// word beside it: the file stays valid and keeps every star the commands reported.
TEST_F(AgentStorageTest, AnAgentKilledAtAnyMomentLeavesAValidFile) {
    QRandomGenerator random(20261124);
    QStringList acknowledged;
    for (int round = 0; round < 20; ++round) {
        SCOPED_TRACE(round);
        AgentProcess::Options options;
        options.clipboardPollMs = 50;
        options.keepsSettings = true;
        ASSERT_TRUE(agent.start(options));
        const qsizetype mark = agent.mark();
        ASSERT_TRUE(agent.waitForLine(startingWith(u"[触发] Quillet 已启动"_s), 10000, mark));
        ASSERT_TRUE(clipboard.copy(word(u"copy"_s, round).toUtf8()));
        QProcess command;
        command.setProcessEnvironment(environment());
        command.start(QuilletProcess::executable(),
                      {u"notebook"_s, u"star"_s, word(u"kept"_s, round)});
        agent.drain(int(random.bounded(400)));
        agent.kill();
        ASSERT_TRUE(command.state() == QProcess::NotRunning || command.waitForFinished(30'000));
        if (command.exitCode() == 0)
            acknowledged.append(word(u"kept"_s, round));
        const auto settings = StoredSettings::read(agent.home());
        ASSERT_TRUE(settings);
        ASSERT_TRUE(StoredSettings::notebook(*settings));
    }
    const QStringList starred = notebook(true);
    for (const QString& text : std::as_const(acknowledged))
        EXPECT_TRUE(starred.contains(text)) << text.toStdString();
    EXPECT_EQ(acknowledged.size(), 20);
}
