// What the hot-key center relies on from global key combinations, checked against the
// scripted fake the unit tests use and against the X11 key grabs on a real X server.
#include "X11TestInput.h"
#include "harness/ForeignKeyGrab.h"
#include "harness/ScriptedHotKeys.h"
#include "keys/MacKeyCodes.h"
#include "platform/linux/capture/XcbHotKeys.h"

#include <QTest>
#include <gtest/gtest.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

// Stored key codes and modifier bits.
constexpr quint32 kD = 0x02;
constexpr quint32 kE = 0x0E;
constexpr quint32 kControl = 0x1000;
constexpr quint32 kOption = 0x800;
constexpr quint32 kCommand = 0x100;
constexpr quint32 kShift = 0x200;
constexpr quint32 kLookup = kControl | kOption | kCommand;

constexpr quint32 kSignature = 0x51554c54;

struct Press {
    quint32 signature;
    quint32 id;
    bool operator==(const Press&) const = default;
};

// xdotool's name for a stored combination: "ctrl+alt+super+d".
QString xdotoolName(quint32 keyCode, quint32 modifiers) {
    QStringList parts;
    if (modifiers & kControl)
        parts << QStringLiteral("ctrl");
    if (modifiers & kOption)
        parts << QStringLiteral("alt");
    if (modifiers & kShift)
        parts << QStringLiteral("shift");
    if (modifiers & kCommand)
        parts << QStringLiteral("super");
    parts << MacKeyCodes::usCharacter(keyCode).value_or(QChar(u'?'));
    return parts.join(u'+');
}

struct Scripted {
    static constexpr bool isScripted = true;
    ScriptedHotKeys keys;

    bool press(quint32 keyCode, quint32 modifiers) {
        keys.press(keyCode, modifiers);
        return true;
    }
    bool holdElsewhere(quint32 keyCode, quint32 modifiers) {
        keys.holdElsewhere(keyCode, modifiers);
        return true;
    }
    void settle() {}
};

struct Desktop {
    static constexpr bool isScripted = false;
    XcbEventConnection connection;
    XcbHotKeys keys{connection};
    ForeignKeyGrab foreign;

    bool press(quint32 keyCode, quint32 modifiers) {
        return xdotool({u"key"_s, xdotoolName(keyCode, modifiers)});
    }
    bool holdElsewhere(quint32 keyCode, quint32 modifiers) {
        return foreign.grab(keyCode, XcbHotKeys::xModifiers(modifiers));
    }
    void settle() { ::settle(connection); }
};

template <typename Bench> class HotKeysContract : public testing::Test {
protected:
    Bench bench;
    std::vector<Press> presses;

    void SetUp() override {
        int status = 0;
        ASSERT_TRUE(bench.keys.install(
            [this](quint32 signature, quint32 id) {
                presses.push_back({signature, id});
            },
            status));
    }

    // Presses `keyCode` and then a control combination registered as id 99 and waits for the
    // control: whatever the first press was going to do has happened by then.
    std::vector<Press> pressWithControl(quint32 keyCode, quint32 modifiers) {
        const std::size_t before = presses.size();
        EXPECT_EQ(bench.keys.add(kSignature, 99, kE, kControl | kShift), 0);
        EXPECT_TRUE(bench.press(keyCode, modifiers));
        EXPECT_TRUE(bench.press(kE, kControl | kShift));
        EXPECT_TRUE(QTest::qWaitFor(
            [&] { return presses.size() > before && presses.back().id == 99; }, 5000));
        bench.settle();
        bench.keys.remove(99);
        std::vector<Press> result(presses.begin() + qsizetype(before), presses.end());
        if (!result.empty() && result.back().id == 99)
            result.pop_back();
        return result;
    }
};

using Benches = testing::Types<Scripted, Desktop>;
TYPED_TEST_SUITE(HotKeysContract, Benches, ScriptedOrDesktop);

} // namespace

TYPED_TEST(HotKeysContract, aPressReachesTheHandlerOnceWithItsSignatureAndId) {
    ASSERT_EQ(this->bench.keys.add(kSignature, 7, kD, kLookup), 0);
    EXPECT_EQ(this->pressWithControl(kD, kLookup), (std::vector<Press>{{kSignature, 7}}));
    // Other modifiers are another combination.
    EXPECT_TRUE(this->pressWithControl(kD, kLookup | kShift).empty());
}

TYPED_TEST(HotKeysContract, aRemovedCombinationIsSilent) {
    ASSERT_EQ(this->bench.keys.add(kSignature, 7, kD, kLookup), 0);
    this->bench.keys.remove(7);
    EXPECT_TRUE(this->pressWithControl(kD, kLookup).empty());
    // Removing what is not there is harmless.
    this->bench.keys.remove(7);
}

TYPED_TEST(HotKeysContract, registeringAnIdAgainMovesIt) {
    ASSERT_EQ(this->bench.keys.add(kSignature, 7, kD, kLookup), 0);
    ASSERT_EQ(this->bench.keys.add(kSignature + 1, 7, kD, kControl | kShift | kOption), 0);
    EXPECT_TRUE(this->pressWithControl(kD, kLookup).empty());
    EXPECT_EQ(this->pressWithControl(kD, kControl | kShift | kOption),
              (std::vector<Press>{{kSignature + 1, 7}}));
}

TYPED_TEST(HotKeysContract, aCombinationAlreadyHeldIsRefusedWithBadAccess) {
    ASSERT_TRUE(this->bench.holdElsewhere(kD, kLookup));
    EXPECT_EQ(this->bench.keys.add(kSignature, 7, kD, kLookup), 10);
    // Held by this program under another id: just as taken.
    ASSERT_EQ(this->bench.keys.add(kSignature, 8, kD, kControl | kOption), 0);
    EXPECT_EQ(this->bench.keys.add(kSignature, 9, kD, kControl | kOption), 10);
    // The refusals cost the first registration nothing.
    EXPECT_EQ(this->pressWithControl(kD, kControl | kOption),
              (std::vector<Press>{{kSignature, 8}}));
}

// The desktop alone.

class XcbHotKeysTest : public HotKeysContract<Desktop> {};

TEST_F(XcbHotKeysTest, locksOnStillMatch) {
    ASSERT_EQ(bench.keys.add(kSignature, 7, kD, kLookup), 0);
    for (const QString& lock : {u"Num_Lock"_s, u"Caps_Lock"_s}) {
        SCOPED_TRACE(lock.toStdString());
        ASSERT_TRUE(xdotool({u"key"_s, lock})); // on
        EXPECT_EQ(pressWithControl(kD, kLookup), (std::vector<Press>{{kSignature, 7}}));
    }
    ASSERT_TRUE(xdotool({u"key"_s, u"Num_Lock"_s})); // Caps Lock alone
    EXPECT_EQ(pressWithControl(kD, kLookup), (std::vector<Press>{{kSignature, 7}}));
    ASSERT_TRUE(xdotool({u"key"_s, u"Caps_Lock"_s}));
}

TEST_F(XcbHotKeysTest, aRefusedGrabLeavesNoVariantHeld) {
    // The other client holds the combination with Num Lock on only.
    const quint16 numLock = XCB_MOD_MASK_2;
    ASSERT_TRUE(bench.foreign.grab(kD, XcbHotKeys::xModifiers(kLookup) | numLock));
    EXPECT_EQ(bench.keys.add(kSignature, 7, kD, kLookup), 10);
    // Had the variants granted before the refusal stayed ours, this would be refused.
    EXPECT_TRUE(bench.foreign.grab(kD, XcbHotKeys::xModifiers(kLookup)));
}

TEST_F(XcbHotKeysTest, keysTheKeyboardLacksAreRefused) {
    EXPECT_NE(bench.keys.add(kSignature, 7, 0xFFFF, kLookup), 0);
}

TEST(XcbHotKeys, aHeldKeyRepeatingFiresOnce) {
    XcbEventConnection connection;
    // Sees every press the server sends, repeats included, before the adapter does.
    int serverPresses = 0;
    const xcb_keycode_t d = xcb_keycode_t(*MacKeyCodes::toX11KeyCode(kD));
    connection.addListener([&](const xcb_generic_event_t* event) {
        const auto* key = reinterpret_cast<const xcb_key_press_event_t*>(event);
        if ((event->response_type & 0x7f) == XCB_KEY_PRESS && key->detail == d)
            ++serverPresses;
        return false;
    });
    XcbHotKeys keys(connection);
    std::vector<Press> presses;
    int status = -1;
    ASSERT_TRUE(keys.install([&](quint32 s, quint32 id) { presses.push_back({s, id}); }, status));
    ASSERT_EQ(keys.add(kSignature, 7, kD, kLookup), 0);

    ASSERT_TRUE(xdotool({u"keydown"_s, xdotoolName(kD, kLookup)}));
    const bool repeated = QTest::qWaitFor([&] { return serverPresses >= 3; }, 5000);
    ASSERT_TRUE(xdotool({u"keyup"_s, xdotoolName(kD, kLookup)}));
    ASSERT_TRUE(repeated) << "the server did not repeat the held key";
    settle(connection);
    EXPECT_EQ(presses, (std::vector<Press>{{kSignature, 7}}));

    // Let go and pressed again: a new press.
    ASSERT_TRUE(xdotool({u"key"_s, xdotoolName(kD, kLookup)}));
    EXPECT_TRUE(QTest::qWaitFor([&] { return presses.size() == 2; }, 5000));
}
