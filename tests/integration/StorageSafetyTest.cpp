#include "harness/QuilletProcess.h"
#include "harness/ScratchDisk.h"
#include "harness/StoredSettings.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QEventLoop>
#include <QFile>
#include <QProcess>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTimer>
#include <csignal>
#include <gtest/gtest.h>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

// Commands run against a home of their own, as a person's shell would run them.
class StorageSafetyTest : public testing::Test {
protected:
    QProcessEnvironment environment() const {
        return QuilletProcess::environmentWithHome(home.path());
    }
    QuilletProcess::Run quillet(const QStringList& arguments) const {
        return QuilletProcess::run(arguments, environment());
    }
    QByteArray fileBytes() const {
        QFile file(StoredSettings::filePath(home.path()));
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
    }
    QStringList starred() const {
        const auto settings = StoredSettings::read(home.path());
        const auto entries = settings ? StoredSettings::notebook(*settings) : std::nullopt;
        return entries ? StoredSettings::notebookTexts(*entries, true) : QStringList();
    }

    QTemporaryDir home;
};

// A word made of letters only, as the notebook records them.
QString word(int n) {
    return u"kill"_s + QChar(u'a' + n / 26 % 26) + QChar(u'a' + n % 26);
}

} // namespace

// Commands killed at random moments, several at once: the file is valid after every kill and
// holds every star a command reported as done.
TEST_F(StorageSafetyTest, KilledCommandsNeverCostAnAcknowledgedChange) {
    ASSERT_EQ(quillet({u"notebook"_s, u"star"_s, u"first"_s}).exitCode, 0);
    QStringList acknowledged{u"first"_s};
    QRandomGenerator random(20261124);
    constexpr int kRounds = 50;
    constexpr int kAtOnce = 4;
    int killed = 0;
    for (int round = 0; round < kRounds; ++round) {
        std::vector<std::unique_ptr<QProcess>> processes;
        QEventLoop loop;
        int running = kAtOnce;
        for (int i = 0; i < kAtOnce; ++i) {
            auto& process = processes.emplace_back(std::make_unique<QProcess>());
            process->setProcessEnvironment(environment());
            QObject::connect(process.get(), &QProcess::finished, &loop, [&] {
                if (--running == 0)
                    loop.quit();
            });
            process->start(QuilletProcess::executable(),
                           {u"notebook"_s, u"star"_s, word(round * kAtOnce + i)});
            // A moment anywhere in the command's life: start-up, the lock, the write.
            QTimer::singleShot(int(random.bounded(40)), process.get(), [p = process.get()] {
                if (p->state() == QProcess::Running)
                    ::kill(pid_t(p->processId()), SIGKILL);
            });
        }
        QTimer::singleShot(30'000, &loop, &QEventLoop::quit);
        loop.exec();
        for (int i = 0; i < kAtOnce; ++i) {
            QProcess& process = *processes[size_t(i)];
            ASSERT_EQ(process.state(), QProcess::NotRunning);
            if (process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0)
                acknowledged.append(word(round * kAtOnce + i));
            else
                ++killed;
        }
        const auto settings = StoredSettings::read(home.path());
        ASSERT_TRUE(settings) << "round " << round << ": " << fileBytes().toStdString();
        ASSERT_TRUE(StoredSettings::notebook(*settings)) << "round " << round;
    }
    const QStringList stored = starred();
    for (const QString& text : std::as_const(acknowledged))
        EXPECT_TRUE(stored.contains(text)) << text.toStdString();
    // The next write clears what killed writers left behind.
    ASSERT_EQ(quillet({u"notebook"_s, u"star"_s, u"last"_s}).exitCode, 0);
    EXPECT_EQ(QDir(home.path() + u"/.config/Quillet"_s)
                  .entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
              QStringList{u"defaults.json"_s});
    RecordProperty("killed", killed);
    RecordProperty("acknowledged", int(acknowledged.size()));
    // Both kinds of ending must have happened for the test to mean anything.
    EXPECT_GT(killed, 20);
    EXPECT_GT(acknowledged.size(), 20);
}

TEST_F(StorageSafetyTest, AFullOrReadOnlyDiskKeepsTheFileAndSaysWhy) {
    ASSERT_EQ(quillet({u"notebook"_s, u"star"_s, u"first"_s}).exitCode, 0);
    const QByteArray saved = fileBytes();
    const QString config = home.path() + u"/.config/Quillet"_s;
    // The settings file moves onto a small disk of its own.
    QFile::rename(StoredSettings::filePath(home.path()), home.path() + u"/saved.json"_s);
    ScratchDisk disk(config, 256 * 1024);
    if (!disk.mounted())
        GTEST_SKIP() << "no right to mount a scratch disk here";
    QFile::copy(home.path() + u"/saved.json"_s, StoredSettings::filePath(home.path()));
    ASSERT_TRUE(disk.fill());

    const struct {
        QStringList arguments;
    } changes[] = {
        {{u"notebook"_s, u"star"_s, u"second"_s}},
        {{u"settings"_s, u"set"_s, u"hoverDwellSeconds"_s, u"1.5"_s}},
        {{u"notebook"_s, u"unstar"_s, u"first"_s}},
    };
    for (const QString& reason : {u"磁盘空间已满"_s, u"文件系统是只读的"_s}) {
        if (reason == u"文件系统是只读的"_s) {
            disk.makeRoom();
            ASSERT_TRUE(disk.setReadOnly(true));
        }
        for (const auto& change : changes) {
            SCOPED_TRACE((reason + u" "_s + change.arguments.join(u' ')).toStdString());
            const QuilletProcess::Run run = quillet(change.arguments);
            EXPECT_EQ(run.exitCode, 1);
            EXPECT_TRUE(run.err.contains(u"无法保存改动："_s + reason)) << run.err.toStdString();
            EXPECT_EQ(fileBytes(), saved);
        }
    }
    ASSERT_TRUE(disk.setReadOnly(false));
    const QuilletProcess::Run run = quillet({u"notebook"_s, u"star"_s, u"second"_s});
    EXPECT_EQ(run.exitCode, 0) << run.err.toStdString();
    EXPECT_EQ(starred(), (QStringList{u"second"_s, u"first"_s}));
}

TEST_F(StorageSafetyTest, CommandsThatOnlyReadCreateNothing) {
    for (const QStringList& arguments : {QStringList{u"notebook"_s, u"list"_s},
                                         {u"settings"_s, u"get"_s, u"hoverDwellSeconds"_s},
                                         {u"settings"_s, u"list"_s},
                                         {u"log"_s},
                                         {u"notebook"_s, u"export"_s, u"--format"_s, u"plain"_s}}) {
        SCOPED_TRACE(arguments.join(u' ').toStdString());
        EXPECT_EQ(quillet(arguments).exitCode, 0);
        EXPECT_TRUE(QDir(home.path())
                        .entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden)
                        .isEmpty());
    }
}
