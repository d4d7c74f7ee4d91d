#include "capture/HotKeyRecorder.h"

#include <QList>
#include <gtest/gtest.h>
#include <harness/QtPrinters.h>

using namespace Qt::StringLiterals;
using Outcome = HotKeyRecorder::Outcome;

static void PrintTo(const HotKeySpec& spec, std::ostream* out) {
    *out << "{keyCode " << spec.keyCode << ", modifiers 0x" << std::hex << spec.modifiers
         << std::dec << '}';
}

namespace {

constexpr quint32 kControl = HotKeySpec::control;
constexpr quint32 kShift = HotKeySpec::shift;
constexpr quint32 kEscape = 53;
const HotKeySpec kOwn = HotKeySpec::defaultLookup();
const HotKeySpec kOtherSlots{124, kControl}; // held by another slot or another program

#ifdef Q_OS_MACOS
const QString kModifierRequired = u"至少需包含 ⌃ ⌥ ⌘ 之一"_s;
#else
const QString kModifierRequired = u"至少需包含 Ctrl、Alt、Super 之一"_s;
#endif

// Answers like the hot-key service asked for the edited slot: both combinations are
// registered, but the slot's own is free for the slot itself. Remembers what it was asked.
struct Service {
    QList<HotKeySpec> asked;
    HotKeyRecorder::IsAvailable isAvailable() {
        return [this](const HotKeySpec& spec) {
            asked << spec;
            const QList<HotKeySpec> registered{kOwn, kOtherSlots};
            return spec == kOwn || !registered.contains(spec);
        };
    }
};

} // namespace

TEST(HotKeyRecorder, escapeCancelsAndKeepsTheOldCombination) {
    Service service;
    HotKeyRecorder recorder(kOwn, service.isAvailable());
    recorder.startRecording();
    EXPECT_EQ(recorder.hint(), u"按下所需组合，按 Esc 取消"_s);
    EXPECT_EQ(recorder.keyPress(kEscape, 0x400), Outcome::cancelled); // caps lock is no modifier
    EXPECT_FALSE(recorder.isRecording());
    EXPECT_EQ(recorder.combination(), kOwn);

    // With a modifier, Escape is an ordinary key.
    recorder.startRecording();
    EXPECT_EQ(recorder.keyPress(kEscape, kControl), Outcome::stored);
    EXPECT_EQ(recorder.combination(), (HotKeySpec{kEscape, kControl}));
}

TEST(HotKeyRecorder, pressWithoutRequiredModifierIsRefusedWithoutAsking) {
    Service service;
    HotKeyRecorder recorder(kOwn, service.isAvailable());
    recorder.startRecording();
    for (const quint32 modifiers : {0u, kShift}) {
        EXPECT_EQ(recorder.keyPress(2, modifiers), Outcome::refused);
        EXPECT_EQ(recorder.message(), kModifierRequired);
        EXPECT_TRUE(recorder.isRecording());
    }
    EXPECT_TRUE(service.asked.isEmpty());
    EXPECT_EQ(recorder.combination(), kOwn);
}

TEST(HotKeyRecorder, takenCombinationKeepsRecordingUntilAFreeOne) {
    Service service;
    HotKeyRecorder recorder(kOwn, service.isAvailable());
    recorder.startRecording();
    EXPECT_EQ(recorder.keyPress(kOtherSlots.keyCode, kOtherSlots.modifiers), Outcome::taken);
    EXPECT_EQ(recorder.message(), kOtherSlots.displayName() + u" 已被占用"_s);
    EXPECT_TRUE(recorder.isRecording());
    EXPECT_EQ(recorder.combination(), kOwn);

    const HotKeySpec chosen{2, kControl | kShift};
    EXPECT_EQ(recorder.keyPress(chosen.keyCode, chosen.modifiers), Outcome::stored);
    EXPECT_EQ(recorder.combination(), chosen);
    EXPECT_TRUE(recorder.message().isEmpty());
    EXPECT_FALSE(recorder.isRecording());
    EXPECT_EQ(service.asked, (QList<HotKeySpec>{kOtherSlots, chosen}));
}

TEST(HotKeyRecorder, reRecordingTheSlotsOwnCombinationIsAccepted) {
    Service service;
    HotKeyRecorder recorder(kOwn, service.isAvailable());
    recorder.startRecording();
    EXPECT_EQ(recorder.keyPress(kOwn.keyCode, kOwn.modifiers), Outcome::stored);
    EXPECT_EQ(service.asked, QList<HotKeySpec>{kOwn});
    EXPECT_EQ(recorder.combination(), kOwn);
}

TEST(HotKeyRecorder, warnsOnlyAboutAnIdleCombinationTheSystemDoesNotGrant) {
    HotKeyRecorder recorder(kOwn, [](const HotKeySpec&) { return true; });
    EXPECT_EQ(recorder.warning(true), std::nullopt);
    const std::optional<HotKeyRecorder::Warning> warning = recorder.warning(false);
    ASSERT_TRUE(warning);
    EXPECT_EQ(warning->mark, u"已被其他 App 占用"_s);
    EXPECT_EQ(warning->help, u"该组合已被其他 App 占用，按下不会有响应。请更换组合。"_s);

    recorder.startRecording();
    EXPECT_EQ(recorder.warning(false), std::nullopt);
    EXPECT_FALSE(HotKeyRecorder(std::nullopt, {}).warning(false));
}
