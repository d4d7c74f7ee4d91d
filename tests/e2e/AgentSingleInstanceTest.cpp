#include "AgentProcess.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <unistd.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

const QRegularExpression kStarted(u"^\\[触发\\] Quillet 已启动$"_s);

// Launches of the agent by one user (one home, one runtime folder) on a private desktop.
class AgentSingleInstanceTest : public testing::Test {
protected:
    QTemporaryDir home;
    std::vector<std::unique_ptr<AgentProcess>> agents; // of the latest round

    AgentProcess::Options options() const { return {.fakeClock = false, .home = home.path()}; }
    QString socketPath() const { return home.filePath(u"runtime/quillet/agent"_s); }

    // Starts `count` agents back to back, so that they decide who runs at the same moment,
    // and waits until all but one have ended (or the time is up). Exactly one must then run
    // and get ready, and every other launch must have handed over and said 0: that one.
    AgentProcess* launchTogether(int count) {
        agents.clear();
        for (int i = 0; i < count; ++i) {
            agents.push_back(std::make_unique<AgentProcess>());
            EXPECT_TRUE(agents.back()->start(options()));
        }
        const auto running = [this] {
            return std::ranges::count_if(agents,
                                         [](const auto& agent) { return agent->isRunning(); });
        };
        for (const QDeadlineTimer deadline(30'000); running() > 1 && !deadline.hasExpired();)
            for (int i = 0; i < count; ++i)
                if (agents[i]->isRunning())
                    agents[i]->waitForExit(20);
        if (running() != 1) {
            ADD_FAILURE() << running() << " agents run";
            return nullptr;
        }
        AgentProcess* survivor = nullptr;
        for (int i = 0; i < count; ++i) {
            if (agents[i]->isRunning()) {
                survivor = agents[i].get();
                continue;
            }
            EXPECT_EQ(agents[i]->waitForExit(0), 0) << "launch " << i;
            EXPECT_TRUE(agents[i]->lines().filter(kStarted).isEmpty())
                << "launch " << i << " started as well";
        }
        if (!survivor->waitForLine(kStarted, 10'000)) {
            ADD_FAILURE() << "the agent never got ready";
            return nullptr;
        }
        return survivor;
    }
};

} // namespace

TEST_F(AgentSingleInstanceTest, LaunchesAtTheSameMomentLeaveExactlyOneAgent) {
    for (int round = 1; round <= 4; ++round) {
        SCOPED_TRACE(round);
        AgentProcess* const agent = launchTogether(5);
        ASSERT_TRUE(agent);
        if (round == 2) {
            // A crash leaves the socket behind; the next launches replace it.
            agent->kill();
            EXPECT_TRUE(QFileInfo(socketPath()).exists());
        } else {
            agent->stop();
        }
    }

    // A launch while the agent runs hands over, and the agent keeps running.
    AgentProcess* const agent = launchTogether(1);
    ASSERT_TRUE(agent);
    AgentProcess later;
    ASSERT_TRUE(later.start(options()));
    EXPECT_EQ(later.waitForExit(15'000), 0);
    EXPECT_TRUE(agent->isRunning());
}

TEST_F(AgentSingleInstanceTest, RuntimeFolderOfAnotherUserIsRefused) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "handing the folder to another user needs root";
    ASSERT_TRUE(QDir(home.path()).mkpath(u"runtime/quillet"_s));
    ASSERT_EQ(
        ::chown(QFile::encodeName(home.filePath(u"runtime/quillet"_s)).constData(), 65534, 65534),
        0);
    AgentProcess agent;
    ASSERT_TRUE(agent.start(options()));
    EXPECT_EQ(agent.waitForExit(15'000), 75);
    EXPECT_TRUE(agent.lines().filter(kStarted).isEmpty());
}
