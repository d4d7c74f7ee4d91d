#include "platform/posix/StartEnvironment.h"

#include "harness/QtPrinters.h"
#include "platform/linux/memory/GlibcTunables.h"

#include <QByteArray>
#include <cerrno>
#include <gtest/gtest.h>
#include <optional>

namespace {

const std::string kPerturb = "glibc.malloc.perturb=" + std::to_string(GlibcTunables::kPerturbByte);
const std::string kOurs = kPerturb + ":glibc.malloc.tcache_count=0";

TEST(GlibcTunablesTest, OursAreAddedAndTheUsersOthersKept) {
    const struct {
        std::optional<std::string> current;
        std::string expected;
    } cases[] = {
        {std::nullopt, kOurs},
        {"", kOurs},
        {"glibc.malloc.arena_max=2", "glibc.malloc.arena_max=2:" + kOurs},
        {"glibc.malloc.arena_max=2::glibc.rtld.nns=8:",
         "glibc.malloc.arena_max=2:glibc.rtld.nns=8:" + kOurs},
        // The user's values for ours give way, wherever they stand.
        {"glibc.malloc.tcache_count=7:glibc.malloc.arena_max=2:glibc.malloc.perturb=0",
         "glibc.malloc.arena_max=2:" + kOurs},
        // A name that only begins like one of ours is another tunable.
        {"glibc.malloc.perturbx=1", "glibc.malloc.perturbx=1:" + kOurs},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.current.value_or("<unset>"));
        const std::string value = GlibcTunables::withScrubbing(c.current);
        EXPECT_EQ(value, c.expected);
        // What the agent finds at its start must read as already done, or it starts again
        // and again.
        EXPECT_EQ(GlibcTunables::withScrubbing(value), value);
    }
}

// The choreography on a variable of the test's own, so the test process's allocator and the
// programs other tests start are left alone.
class StartEnvironmentTest : public testing::Test {
protected:
    const StartEnvironment::Variable variable{"QUILLET_TEST_TUNABLES",
                                              GlibcTunables::withScrubbing};
    const QByteArray name = QByteArray::fromStdString(variable.name);
    const QByteArray keeper = QByteArray::fromStdString(StartEnvironment::keeperOf(variable));

    void SetUp() override { clear(); }
    void TearDown() override { clear(); }
    void clear() {
        qunsetenv(name.constData());
        qunsetenv(keeper.constData());
    }
    std::optional<QByteArray> value(const QByteArray& variableName) const {
        if (!qEnvironmentVariableIsSet(variableName.constData()))
            return std::nullopt;
        return qgetenv(variableName.constData());
    }

    // Counts restarts, notes the environment each one would have started with, and fails
    // as an exec that could not find the program would.
    struct Restarts {
        const StartEnvironmentTest& test;
        int count = 0;
        std::optional<QByteArray> value;
        std::optional<QByteArray> kept;
        int operator()() {
            ++count;
            value = test.value(test.name);
            kept = test.value(test.keeper);
            return ENOENT;
        }
    };
};

TEST_F(StartEnvironmentTest, LaunchedWithTheSettingTheAgentRunsOnAndHandsTheUsersValueOn) {
    qputenv(name.constData(), "glibc.malloc.arena_max=2");
    StartEnvironment::prepareForExec(variable);
    EXPECT_EQ(value(name), QByteArray::fromStdString("glibc.malloc.arena_max=2:" + kOurs));
    EXPECT_EQ(value(keeper), QByteArray("glibc.malloc.arena_max=2"));

    // The agent's start, in the program executed with that environment.
    Restarts restarts{*this};
    EXPECT_EQ(StartEnvironment::ensureAtStart(variable, std::ref(restarts)), std::nullopt);
    EXPECT_EQ(restarts.count, 0);
    EXPECT_EQ(value(name), QByteArray("glibc.malloc.arena_max=2"));
    EXPECT_EQ(value(keeper), std::nullopt);
}

TEST_F(StartEnvironmentTest, StartedWithoutItTheAgentStartsAgainOnceWithIt) {
    Restarts restarts{*this};
    const std::optional<QString> failure =
        StartEnvironment::ensureAtStart(variable, std::ref(restarts));
    EXPECT_EQ(restarts.count, 1);
    EXPECT_EQ(restarts.value, QByteArray::fromStdString(kOurs));
    EXPECT_EQ(restarts.kept, QByteArray()) << "the user had none";
    // This restart failed: the process runs on, as it was, and says why.
    ASSERT_TRUE(failure.has_value());
    EXPECT_TRUE(failure->contains(QString::fromLatin1(name))) << failure->toStdString();
    EXPECT_EQ(value(name), std::nullopt);
    EXPECT_EQ(value(keeper), std::nullopt);

    // Had it worked, the new process would start with that environment and run on.
    qputenv(name.constData(), *restarts.value);
    qputenv(keeper.constData(), *restarts.kept);
    Restarts again{*this};
    EXPECT_EQ(StartEnvironment::ensureAtStart(variable, std::ref(again)), std::nullopt);
    EXPECT_EQ(again.count, 0);
    EXPECT_EQ(value(name), std::nullopt);
    EXPECT_EQ(value(keeper), std::nullopt);
}

TEST_F(StartEnvironmentTest, ASettingLostOnTheWayIsReportedNotChasedInALoop) {
    qputenv(keeper.constData(), "glibc.rtld.nns=8");
    Restarts restarts{*this};
    const std::optional<QString> failure =
        StartEnvironment::ensureAtStart(variable, std::ref(restarts));
    EXPECT_EQ(restarts.count, 0);
    EXPECT_TRUE(failure.has_value());
    EXPECT_EQ(value(name), QByteArray("glibc.rtld.nns=8"));
    EXPECT_EQ(value(keeper), std::nullopt);
}

TEST_F(StartEnvironmentTest, AUserWhoSetItThemselvesKeepsItForEveryProgram) {
    qputenv(name.constData(), QByteArray::fromStdString(kOurs));
    StartEnvironment::prepareForExec(variable);
    EXPECT_EQ(value(keeper), std::nullopt);
    Restarts restarts{*this};
    EXPECT_EQ(StartEnvironment::ensureAtStart(variable, std::ref(restarts)), std::nullopt);
    EXPECT_EQ(restarts.count, 0);
    EXPECT_EQ(value(name), QByteArray::fromStdString(kOurs));
}

} // namespace
