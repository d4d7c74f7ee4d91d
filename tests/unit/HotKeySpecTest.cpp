#include "capture/HotKeySpec.h"

#include "capture/MacKeyCodes.h"
#include "platform/HotKeyNames.h"

#include <QtCore/qnamespace.h>
#include <gtest/gtest.h>
#include <harness/QtPrinters.h>

using namespace Qt::StringLiterals;

static void PrintTo(const HotKeySpec& spec, std::ostream* out) {
    *out << "{keyCode " << spec.keyCode << ", modifiers 0x" << std::hex << spec.modifiers
         << std::dec << '}';
}

namespace {

constexpr quint32 kControl = HotKeySpec::control;
constexpr quint32 kOption = HotKeySpec::option;
constexpr quint32 kShift = HotKeySpec::shift;
constexpr quint32 kCommand = HotKeySpec::command;

} // namespace

TEST(HotKeySpec, keyPressNeedsControlOptionOrCommand) {
    const struct {
        quint32 modifiers;
        std::optional<HotKeySpec> expected;
    } cases[] = {
        {0, std::nullopt},
        {kShift, std::nullopt},
        {kShift | 0x400, std::nullopt}, // caps lock counts for nothing
        {kControl | kShift, HotKeySpec{2, kControl | kShift}},
        {kOption, HotKeySpec{2, kOption}},
        {kCommand | 0x400, HotKeySpec{2, kCommand}},
        {kControl | kOption | kCommand, HotKeySpec::defaultLookup()},
    };
    for (const auto& c : cases)
        EXPECT_EQ(HotKeySpec::fromKeyPress(2, c.modifiers), c.expected)
            << "modifiers 0x" << std::hex << c.modifiers;
}

TEST(HotKeySpec, jsonRoundTripsInTheStoredForm) {
    EXPECT_EQ(HotKeySpec::defaultLookup().toJson(), R"({"keyCode":2,"modifiers":6400})");
    for (const HotKeySpec spec : {HotKeySpec::defaultLookup(), HotKeySpec{0, 0},
                                  HotKeySpec{4294967295u, kControl | kShift}})
        EXPECT_EQ(HotKeySpec::fromJson(spec.toJson()), spec);
    EXPECT_EQ(HotKeySpec::fromJson(R"({ "modifiers": 4096, "keyCode": 49, "extra": true })"),
              (HotKeySpec{49, kControl}));
}

TEST(HotKeySpec, undecodableJsonIsNoHotKey) {
    const char* const inputs[] = {
        "",
        "{",
        "null",
        "[2, 6400]",
        "{}",
        R"({"keyCode":2})",
        R"({"modifiers":6400})",
        R"({"keyCode":-1,"modifiers":6400})",
        R"({"keyCode":2,"modifiers":-6400})",
        R"({"keyCode":4294967296,"modifiers":6400})",
        R"({"keyCode":2.5,"modifiers":6400})",
        R"({"keyCode":"2","modifiers":6400})",
        R"({"keyCode":null,"modifiers":6400})",
    };
    for (const char* input : inputs)
        EXPECT_EQ(HotKeySpec::fromJson(input), std::nullopt) << "input: " << input;
}

TEST(HotKeySpec, displayNames) {
    const struct {
        HotKeySpec spec;
        QString linux;
        QString macos;
    } cases[] = {
        {HotKeySpec::defaultLookup(), u"Ctrl+Alt+Super+D"_s, u"⌃⌥⌘D"_s},
        {{0, kCommand | kShift}, u"Shift+Super+A"_s, u"⇧⌘A"_s},
        {{200, kControl}, u"Ctrl+键200"_s, u"⌃键200"_s},
        {{49, kOption}, u"Alt+空格"_s, u"⌥空格"_s},
        {{53, kControl | kShift}, u"Ctrl+Shift+⎋"_s, u"⌃⇧⎋"_s},
        {{111, kControl | kOption | kShift | kCommand},
         u"Ctrl+Alt+Shift+Super+F12"_s,
         u"⌃⌥⇧⌘F12"_s},
        {{122, kOption}, u"Alt+F1"_s, u"⌥F1"_s},
        {{126, kControl}, u"Ctrl+↑"_s, u"⌃↑"_s},
        {{41, kControl}, u"Ctrl+;"_s, u"⌃;"_s},
        {{29, kCommand}, u"Super+0"_s, u"⌘0"_s},
    };
    for (const auto& c : cases) {
#ifdef Q_OS_MACOS
        EXPECT_EQ(c.spec.displayName(), c.macos);
#else
        EXPECT_EQ(c.spec.displayName(), c.linux);
#endif
    }
}

TEST(MacKeyCodes, x11KeysMapToTheSamePhysicalKey) {
    const std::pair<quint32, quint32> x11ToMac[] = {
        {40, 2},    {38, 0},    {24, 12},   {10, 18},   {19, 29},   {49, 50},   {51, 42},
        {65, 49},   {36, 36},   {23, 48},   {22, 51},   {119, 117}, {9, 53},    {110, 115},
        {115, 119}, {112, 116}, {117, 121}, {113, 123}, {114, 124}, {111, 126}, {116, 125},
        {67, 122},  {76, 109},  {95, 103},  {96, 111},
    };
    for (const auto& [x11, mac] : x11ToMac) {
        EXPECT_EQ(MacKeyCodes::fromX11KeyCode(x11), mac) << "X11 key code " << x11;
        EXPECT_EQ(MacKeyCodes::toX11KeyCode(mac), x11) << "Mac key code " << mac;
    }
    // Modifier keys themselves are never a hot key's key.
    for (const quint32 modifierKey : {37u, 50u, 64u, 133u})
        EXPECT_EQ(MacKeyCodes::fromX11KeyCode(modifierKey), std::nullopt) << modifierKey;
}

// A typo in the table shows up as two keys sharing a code or a character.
TEST(MacKeyCodes, tableIsOneToOne) {
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
    const quint32 qtControl = Qt::ControlModifier;
    const quint32 qtMeta = Qt::MetaModifier;
    const quint32 all = qtControl | Qt::AltModifier | Qt::ShiftModifier | qtMeta;
    EXPECT_EQ(MacKeyCodes::modifiersFromQt(all | Qt::KeypadModifier, false),
              kControl | kOption | kShift | kCommand);
    EXPECT_EQ(MacKeyCodes::modifiersFromQt(qtControl, false), kControl);
    EXPECT_EQ(MacKeyCodes::modifiersFromQt(qtMeta, false), kCommand);
    EXPECT_EQ(MacKeyCodes::modifiersFromQt(qtControl, true), kCommand);
    EXPECT_EQ(MacKeyCodes::modifiersFromQt(qtMeta, true), kControl);
    EXPECT_EQ(MacKeyCodes::modifiersFromQt(Qt::ShiftModifier, true), kShift);
}
