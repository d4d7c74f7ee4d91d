#include "AgentProcess.h"
#include "harness/ForeignClipboard.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using LogLines::startingWith;

namespace {

const QRegularExpression kStarted(u"^\\[触发\\] Quillet 已启动$"_s);
const QString kSettingsWindow = u"^Quillet 设置$"_s;
const QString kOnboardingWindow = u"^欢迎使用 Quillet$"_s;

class AgentWindowsTest : public testing::Test {
protected:
    QTemporaryDir home;

    AgentProcess::Options options(QJsonObject defaults = {}) const {
        return {.fakeClock = false, .defaults = defaults, .home = home.path()};
    }

    // A launch while the agent runs: it hands over and ends.
    void launchAgain() {
        AgentProcess later;
        AgentProcess::Options again = options();
        again.keepsSettings = true;
        ASSERT_TRUE(later.start(again));
        EXPECT_EQ(later.waitForExit(15'000), 0);
    }
};

} // namespace

TEST_F(AgentWindowsTest, ASecondLaunchOpensTheSettings) {
    for (const QString& target : {u"settings"_s, u"notebook"_s}) {
        SCOPED_TRACE(target.toStdString());
        AgentProcess agent;
        ASSERT_TRUE(agent.start(options({{u"reopenTarget"_s, target}})));
        ASSERT_TRUE(agent.waitForLine(kStarted));
        // Nothing opens by itself for someone who has seen the onboarding.
        EXPECT_FALSE(Desktop::windowShown(kSettingsWindow));
        launchAgain();
        // The notebook has no window of its own yet: the settings stand in for it.
        EXPECT_TRUE(Desktop::windowShown(kSettingsWindow, 10'000));
        EXPECT_TRUE(agent.isRunning());
        agent.stop();
    }
}

TEST_F(AgentWindowsTest, OnboardingGreetsTheFirstStartOnly) {
    for (const bool first : {true, false}) {
        SCOPED_TRACE(first ? "first start" : "second start");
        AgentProcess agent;
        AgentProcess::Options start = options({{u"firstRun.sawOnboarding"_s, false}});
        start.keepsSettings = !first;
        ASSERT_TRUE(agent.start(start));
        ASSERT_TRUE(agent.waitForLine(kStarted));
        if (first) {
            ASSERT_TRUE(Desktop::windowShown(kOnboardingWindow, 10'000));
            // Closing it counts as seen, as finishing does.
            ASSERT_TRUE(Desktop::closeWindow(kOnboardingWindow));
        } else {
            // The agent is ready and has taken its decision; the window would be up by now.
            ASSERT_TRUE(agent.waitUntilIdle());
            EXPECT_FALSE(Desktop::windowShown(kOnboardingWindow));
        }
        agent.stop();
    }
}

TEST_F(AgentWindowsTest, TheDiagnosticsHoldNothingLookedUp) {
    AgentProcess agent;
    ForeignClipboard clipboard;
    ASSERT_TRUE(agent.start(options()));
    ASSERT_TRUE(agent.waitForLine(kStarted));
    // Words of the session: looked up through the clipboard, so they pass through the event
    // log, the diagnostic log's redaction and the notebook.
    const QStringList words{u"serendipity"_s, u"quintessential"_s, u"ephemeral"_s};
    for (const QString& word : words) {
        ASSERT_TRUE(clipboard.copy(word.toUtf8()));
        ASSERT_TRUE(Desktop::waitForPanelState(startingWith(u"Quillet 面板｜result｜"_s + word)));
    }
    const QTemporaryDir output;
    ASSERT_TRUE(output.isValid());
    AgentProcess request;
    AgentProcess::Options hand = options();
    hand.keepsSettings = true;
    hand.program = u"quillet-agent"_s;
    hand.arguments = {u"--export-diagnostics"_s, output.path()};
    ASSERT_TRUE(request.start(hand));
    EXPECT_EQ(request.waitForExit(15'000), 0);
    ASSERT_TRUE(agent.waitForLine(startingWith(u"[结果] 诊断｜已导出到 "_s + output.path())))
        << LogLines::text(agent.lines());

    const QStringList archives = QDir(output.path()).entryList({u"*.tar.gz"_s}, QDir::Files);
    ASSERT_EQ(archives.size(), 1);
    const QDir unpacked(output.filePath(u"unpacked"_s));
    ASSERT_TRUE(QDir().mkpath(unpacked.path()));
    ASSERT_EQ(QProcess::execute(u"tar"_s, {u"-xzf"_s, output.filePath(archives.first()), u"-C"_s,
                                           unpacked.path()}),
              0);
    int files = 0;
    QDirIterator each(unpacked.path(), QDir::Files, QDirIterator::Subdirectories);
    while (each.hasNext()) {
        QFile file(each.next());
        ASSERT_TRUE(file.open(QIODevice::ReadOnly));
        const QByteArray content = file.readAll();
        ++files;
        for (const QString& word : words)
            EXPECT_FALSE(content.contains(word.toUtf8()))
                << word.toStdString() << " in " << file.fileName().toStdString();
    }
    // The logs, the environment, the settings, the dictionaries and the capabilities.
    EXPECT_GE(files, 5);
}
