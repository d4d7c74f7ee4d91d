// What the coordinator relies on from the grants, checked against the scripted fake the unit
// tests use and against the bus launcher's switch on the private desktop.
#include "harness/ScriptedPermissions.h"
#include "platform/linux/atspi/AtspiAccessibilityGrant.h"

#include <QTest>
#include <gtest/gtest.h>

using Kind = SystemPermissions::Kind;

namespace {

// The fake, answering a request the way a person in the system settings would.
struct Scripted {
    ScriptedPermissions permissions;

    Scripted() { permissions.set(Kind::screenRecording, true); }
    void systemAnswers() {
        if (permissions.requests.contains(Kind::accessibility))
            permissions.set(Kind::accessibility, true);
    }
};

// The launcher's switch, which answers a request by itself.
struct Desktop {
    AtspiAccessibilityGrant permissions;

    void systemAnswers() {}
};

template <typename Bench> class AccessibilityGrantContract : public testing::Test {
protected:
    Bench bench;
    SystemPermissions& permissions = bench.permissions;
    int changes = 0;

    void SetUp() override {
        permissions.setChangeHandler([this] { ++changes; });
    }
};

class BenchNames {
public:
    template <typename T> static std::string GetName(int) {
        return std::is_same_v<T, Scripted> ? "Scripted" : "Desktop";
    }
};
using Benches = testing::Types<Scripted, Desktop>;
TYPED_TEST_SUITE(AccessibilityGrantContract, Benches, BenchNames);

} // namespace

TYPED_TEST(AccessibilityGrantContract, ARequestGrantsAccessibilityAndSaysSoOnce) {
    ASSERT_FALSE(this->permissions.isGranted(Kind::accessibility));
    this->permissions.request(Kind::accessibility);
    this->bench.systemAnswers();
    EXPECT_TRUE(QTest::qWaitFor([this] { return this->changes > 0; }, 5000));
    EXPECT_TRUE(this->permissions.isGranted(Kind::accessibility));
    EXPECT_EQ(this->changes, 1);
}

TYPED_TEST(AccessibilityGrantContract, TheScreenNeedsNoGrantOnX11) {
    EXPECT_TRUE(this->permissions.isGranted(Kind::screenRecording));
    this->permissions.request(Kind::screenRecording);
    this->bench.systemAnswers();
    EXPECT_TRUE(this->permissions.isGranted(Kind::screenRecording));
    EXPECT_FALSE(this->permissions.isGranted(Kind::accessibility));
    EXPECT_EQ(this->changes, 0);
}
