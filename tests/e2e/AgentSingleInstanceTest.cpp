#include "AgentProcess.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
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
    struct Round {
        std::vector<std::unique_ptr<AgentProcess>> agents;
        std::vector<std::optional<int>> exitCodes; // of those that ended
        int survivors = 0;
        AgentProcess* survivor = nullptr;
    };

    QTemporaryDir home;

    QString socketPath() const { return home.filePath(u"runtime/quillet/agent"_s); }

    // Starts `count` agents back to back, so that they decide who runs at the same moment,
    // and waits until all but one have ended (or the time is up).
    Round launchTogether(int count) {
        Round round;
        AgentProcess::Options options;
        options.fakeClock = false;
        options.home = home.path();
        for (int i = 0; i < count; ++i) {
            round.agents.push_back(std::make_unique<AgentProcess>());
            EXPECT_TRUE(round.agents.back()->start(options));
        }
        round.exitCodes.resize(count);
        std::vector<bool> ended(count, false);
        const QDeadlineTimer deadline(30'000);
        int endedCount = 0;
        while (endedCount < count - 1 && !deadline.hasExpired()) {
            for (int i = 0; i < count; ++i) {
                if (ended[i])
                    continue;
                round.exitCodes[i] = round.agents[i]->waitForExit(20);
                if (!round.agents[i]->isRunning()) {
                    ended[i] = true;
                    ++endedCount;
                }
            }
        }
        for (int i = 0; i < count; ++i) {
            if (!ended[i]) {
                ++round.survivors;
                round.survivor = round.agents[i].get();
            }
        }
        return round;
    }

    // Exactly one agent runs and is ready; every other launch handed over and said 0.
    static void expectOneAgent(const Round& round, int number) {
        ASSERT_EQ(round.survivors, 1) << "round " << number;
        ASSERT_TRUE(round.survivor->waitForLine(kStarted, 10'000))
            << "round " << number << ": the agent never got ready";
        for (size_t i = 0; i < round.agents.size(); ++i) {
            const AgentProcess& agent = *round.agents[i];
            if (&agent == round.survivor)
                continue;
            EXPECT_EQ(round.exitCodes[i], 0) << "round " << number << ", launch " << i;
            EXPECT_TRUE(agent.lines().filter(kStarted).isEmpty())
                << "round " << number << ", launch " << i << " started as well";
        }
    }
};

} // namespace

TEST_F(AgentSingleInstanceTest, LaunchesAtTheSameMomentLeaveExactlyOneAgent) {
    for (int number = 1; number <= 4; ++number) {
        Round round = launchTogether(5);
        expectOneAgent(round, number);
        if (number == 2) {
            // A crash leaves the socket behind; the next launches replace it.
            round.survivor->kill();
            EXPECT_TRUE(QFileInfo(socketPath()).exists());
        } else {
            round.survivor->stop();
        }
    }

    // A launch while the agent runs hands over, and the agent keeps running.
    Round round = launchTogether(1);
    expectOneAgent(round, 5);
    AgentProcess later;
    AgentProcess::Options options;
    options.fakeClock = false;
    options.home = home.path();
    ASSERT_TRUE(later.start(options));
    EXPECT_EQ(later.waitForExit(15'000), 0);
    EXPECT_TRUE(round.survivor->isRunning());
}

TEST_F(AgentSingleInstanceTest, RuntimeFolderOfAnotherUserIsRefused) {
    if (::geteuid() != 0)
        GTEST_SKIP() << "handing the folder to another user needs root";
    ASSERT_TRUE(QDir(home.path()).mkpath(u"runtime/quillet"_s));
    ASSERT_EQ(
        ::chown(QFile::encodeName(home.filePath(u"runtime/quillet"_s)).constData(), 65534, 65534),
        0);
    AgentProcess agent;
    AgentProcess::Options options;
    options.fakeClock = false;
    options.home = home.path();
    ASSERT_TRUE(agent.start(options));
    EXPECT_EQ(agent.waitForExit(15'000), 75);
    EXPECT_TRUE(agent.lines().filter(kStarted).isEmpty());
}
