#include "keys/HotKeySpec.h"

#include "capture/HotKeyRecorder.h"
#include "harness/QtPrinters.h"
#include "keys/MacKeyCodes.h"

#include <QList>
#include <QtCore/qnamespace.h>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using Outcome = HotKeyRecorder::Outcome;

static void PrintTo(const HotKeySpec& spec, std::ostream* out) {
    *out << "{keyCode " << spec.keyCode << ", modifiers 0x" << std::hex << spec.modifiers
         << std::dec << '}';
}

namespace {

constexpr quint32 kControl = HotKeySpec::control;
constexpr quint32 kOption = HotKeySpec::option;
constexpr quint32 kShift = HotKeySpec::shift;
constexpr quint32 kCommand = HotKeySpec::command;
constexpr quint32 kCapsLock = 0x400;
constexpr quint32 kEscape = 53;

} // namespace

TEST(HotKeySpec, keyPressNeedsControlOptionOrCommand) {
    const struct {
        quint32 modifiers;
        std::optional<HotKeySpec> expected;
    } cases[] = {
        {0, std::nullopt},
        {kShift | kCapsLock, std::nullopt}, // caps lock counts for nothing
        {kControl | kShift, HotKeySpec{2, kControl | kShift}},
        {kOption, HotKeySpec{2, kOption}},
        {kCommand | kCapsLock, HotKeySpec{2, kCommand}},
        {kControl | kOption | kCommand, HotKeySpec::defaultLookup()},
    };
    for (const auto& c : cases)
        EXPECT_EQ(HotKeySpec::fromKeyPress(2, c.modifiers), c.expected)
            << "modifiers 0x" << std::hex << c.modifiers;
}

TEST(HotKeySpec, storedFormRoundTripsAndAnythingElseIsNoHotKey) {
    EXPECT_EQ(HotKeySpec::defaultLookup().toJson(), R"({"keyCode":2,"modifiers":6400})");
    for (const HotKeySpec spec : {HotKeySpec{0, 0}, HotKeySpec{4294967295u, kControl | kShift}})
        EXPECT_EQ(HotKeySpec::fromJson(spec.toJson()), spec);
    EXPECT_EQ(HotKeySpec::fromJson(R"({ "modifiers": 4096, "keyCode": 49, "extra": true })"),
              (HotKeySpec{49, kControl}));

    for (const char* input :
         {"", "null", "[2, 6400]", R"({"keyCode":2})", R"({"keyCode":-1,"modifiers":6400})",
          R"({"keyCode":4294967296,"modifiers":6400})", R"({"keyCode":2.5,"modifiers":6400})",
          R"({"keyCode":"2","modifiers":6400})"})
        EXPECT_EQ(HotKeySpec::fromJson(input), std::nullopt) << "input: " << input;
}

TEST(HotKeySpec, displayNames) {
    const struct {
        HotKeySpec spec;
        QString linux;
        QString macos;
    } cases[] = {
        {{111, kControl | kOption | kShift | kCommand},
         u"Ctrl+Alt+Shift+Super+F12"_s,
         u"⌃⌥⇧⌘F12"_s},
        {{200, kControl}, u"Ctrl+键200"_s, u"⌃键200"_s},
        {{49, kOption}, u"Alt+空格"_s, u"⌥空格"_s},
        {{41, kControl}, u"Ctrl+;"_s, u"⌃;"_s},
    };
    for (const auto& c : cases) {
#ifdef Q_OS_MACOS
        EXPECT_EQ(c.spec.displayName(), c.macos);
#else
        EXPECT_EQ(c.spec.displayName(), c.linux);
#endif
    }
}

// A typo in the table shows up as a key mapped elsewhere or two keys sharing a code.
TEST(MacKeyCodes, tableTiesEachPhysicalKeyToOneCodeAndCharacter) {
    const std::pair<quint32, quint32> x11ToMac[] = {
        {40, 2}, {38, 0},    {24, 12},   {10, 18},   {19, 29},  {49, 50},  {51, 42},  {65, 49},
        {9, 53}, {119, 117}, {113, 123}, {111, 126}, {67, 122}, {76, 109}, {96, 111},
    };
    for (const auto& [x11, mac] : x11ToMac) {
        EXPECT_EQ(MacKeyCodes::fromX11KeyCode(x11), mac) << "X11 key code " << x11;
        EXPECT_EQ(MacKeyCodes::toX11KeyCode(mac), x11) << "Mac key code " << mac;
    }
    // Modifier keys themselves are never a hot key's key.
    for (const quint32 modifierKey : {37u, 50u, 64u, 133u})
        EXPECT_EQ(MacKeyCodes::fromX11KeyCode(modifierKey), std::nullopt) << modifierKey;

    int printing = 0;
    for (quint32 mac = 0; mac < 256; ++mac) {
        if (const std::optional<quint32> x11 = MacKeyCodes::toX11KeyCode(mac)) {
            EXPECT_EQ(MacKeyCodes::fromX11KeyCode(*x11), mac) << "Mac key code " << mac;
        }
        if (const std::optional<QChar> character = MacKeyCodes::usCharacter(mac)) {
            ++printing;
            EXPECT_EQ(MacKeyCodes::fromUsCharacter(*character), mac) << "Mac key code " << mac;
        }
    }
    EXPECT_EQ(printing, 26 + 10 + 11); // letters, digits, punctuation
    EXPECT_EQ(MacKeyCodes::fromUsCharacter(u'D'), 2u);
    EXPECT_EQ(MacKeyCodes::fromUsCharacter(u' '), std::nullopt);
}

TEST(MacKeyCodes, qtModifiers) {
    const quint32 all =
        quint32(Qt::ControlModifier) | Qt::AltModifier | Qt::ShiftModifier | Qt::MetaModifier;
    EXPECT_EQ(MacKeyCodes::modifiersFromQt(all | Qt::KeypadModifier, false),
              kControl | kOption | kShift | kCommand);
    EXPECT_EQ(MacKeyCodes::modifiersFromQt(Qt::ControlModifier, false), kControl);
    EXPECT_EQ(MacKeyCodes::modifiersFromQt(Qt::MetaModifier, false), kCommand);
    // Qt on macOS swaps the two.
    EXPECT_EQ(MacKeyCodes::modifiersFromQt(Qt::ControlModifier, true), kCommand);
    EXPECT_EQ(MacKeyCodes::modifiersFromQt(Qt::MetaModifier, true), kControl);
}

namespace {

const HotKeySpec kOwn = HotKeySpec::defaultLookup();
const HotKeySpec kOtherSlots{124, kControl}; // held by another slot or another program

// Answers like the hot-key service asked for the edited slot: both combinations are
// registered, but the slot's own is free for the slot itself. Remembers what it was asked.
struct Service {
    QList<HotKeySpec> asked;
    HotKeyRecorder::IsAvailable isAvailable() {
        return [this](const HotKeySpec& spec) {
            asked << spec;
            return spec != kOtherSlots;
        };
    }
};

} // namespace

TEST(HotKeyRecorder, escapeCancelsAndPressesWithoutAModifierAreRefusedWithoutAsking) {
    Service service;
    HotKeyRecorder recorder(kOwn, service.isAvailable());
    recorder.startRecording();
    EXPECT_EQ(recorder.keyPress(kEscape, kCapsLock), Outcome::cancelled);
    EXPECT_FALSE(recorder.isRecording());

    recorder.startRecording();
    for (const quint32 modifiers : {0u, kShift}) {
        EXPECT_EQ(recorder.keyPress(2, modifiers), Outcome::refused);
        EXPECT_FALSE(recorder.message().isEmpty());
        EXPECT_TRUE(recorder.isRecording());
    }
    EXPECT_TRUE(service.asked.isEmpty());
    EXPECT_EQ(recorder.combination(), kOwn);

    // With a modifier, Escape is an ordinary key.
    EXPECT_EQ(recorder.keyPress(kEscape, kControl), Outcome::stored);
    EXPECT_EQ(recorder.combination(), (HotKeySpec{kEscape, kControl}));
}

TEST(HotKeyRecorder, takenCombinationKeepsRecordingUntilAFreeOne) {
    Service service;
    HotKeyRecorder recorder(kOwn, service.isAvailable());
    recorder.startRecording();
    EXPECT_EQ(recorder.keyPress(kOtherSlots.keyCode, kOtherSlots.modifiers), Outcome::taken);
    EXPECT_EQ(recorder.message(), kOtherSlots.displayName() + u" 已被占用"_s);
    EXPECT_TRUE(recorder.isRecording());
    EXPECT_EQ(recorder.combination(), kOwn);

    // The slot's own combination is free for the slot itself.
    EXPECT_EQ(recorder.keyPress(kOwn.keyCode, kOwn.modifiers), Outcome::stored);
    EXPECT_TRUE(recorder.message().isEmpty());
    EXPECT_FALSE(recorder.isRecording());
    EXPECT_EQ(service.asked, (QList<HotKeySpec>{kOtherSlots, kOwn}));
    EXPECT_EQ(recorder.keyPress(2, kControl), Outcome::ignored);
}

TEST(HotKeyRecorder, warnsOnlyAboutAnIdleCombinationTheSystemDoesNotGrant) {
    HotKeyRecorder recorder(kOwn, [](const HotKeySpec&) { return true; });
    EXPECT_EQ(recorder.warning(true), std::nullopt);
    EXPECT_TRUE(recorder.warning(false));
    recorder.startRecording();
    EXPECT_EQ(recorder.warning(false), std::nullopt);
    EXPECT_FALSE(HotKeyRecorder(std::nullopt, {}).warning(false));
}
