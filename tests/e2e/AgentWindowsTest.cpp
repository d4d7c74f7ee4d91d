#include "AgentProcess.h"

#include <QJsonObject>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

const QRegularExpression kStarted(u"^\\[触发\\] Quillet 已启动$"_s);
const QString kSettingsWindow = u"^Quillet 设置$"_s;

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
