#include "platform/posix/StartEnvironment.h"

#include "harness/QtPrinters.h"
#include "platform/linux/memory/GlibcTunables.h"

#include <QByteArray>
#include <cerrno>
#include <functional>
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

// The environment around a start, on a variable of the test's own so that the test process's
// allocator and the programs other tests start are left alone. The restart itself (and that
// it is not repeated) is seen from outside by the end-to-end tests.
class StartEnvironmentTest : public testing::Test {
protected:
    const StartEnvironment::Variable variable{"QUILLET_TEST_TUNABLES",
                                              GlibcTunables::withScrubbing};
    const QByteArray name = QByteArray::fromStdString(variable.name);
    const QByteArray keeper = QByteArray::fromStdString(StartEnvironment::keeperOf(variable));
    int restarts = 0;
    // An exec that could not find the program.
    const std::function<int()> failingRestart = [this] {
        ++restarts;
        return ENOENT;
    };

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
};

TEST_F(StartEnvironmentTest, TheAgentHandsTheUsersOwnValueOnToWhatItStarts) {
    qputenv(name.constData(), "glibc.malloc.arena_max=2");
    StartEnvironment::prepareForExec(variable);
    EXPECT_EQ(value(name), QByteArray::fromStdString("glibc.malloc.arena_max=2:" + kOurs));

    // The agent's start, in the program executed with that environment.
    EXPECT_EQ(StartEnvironment::ensureAtStart(variable, failingRestart), std::nullopt);
    EXPECT_EQ(restarts, 0);
    EXPECT_EQ(value(name), QByteArray("glibc.malloc.arena_max=2"));
    EXPECT_EQ(value(keeper), std::nullopt);
}

TEST_F(StartEnvironmentTest, ARestartThatFailsLeavesTheEnvironmentAsItWasAndSaysWhy) {
    const std::optional<QString> failure =
        StartEnvironment::ensureAtStart(variable, failingRestart);
    EXPECT_EQ(restarts, 1);
    ASSERT_TRUE(failure.has_value());
    EXPECT_TRUE(failure->contains(QString::fromLatin1(name))) << failure->toStdString();
    EXPECT_EQ(value(name), std::nullopt);
    EXPECT_EQ(value(keeper), std::nullopt);
}

} // namespace
