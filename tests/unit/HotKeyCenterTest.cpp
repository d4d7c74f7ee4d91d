#include "capture/HotKeyCenter.h"

#include "harness/QtPrinters.h"
#include "harness/ScriptedHotKeys.h"
#include "logs/EventLog.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

namespace {

constexpr HotKeySpec kCtrlAltSuperD = {2, HotKeySpec::control | HotKeySpec::option |
                                              HotKeySpec::command};
constexpr HotKeySpec kCtrlShiftD = {2, HotKeySpec::control | HotKeySpec::shift};

class HotKeyCenterTest : public testing::Test {
protected:
    QString lastLine() const {
        return log.entries().isEmpty() ? QString() : log.entries().first().text;
    }
    void press(const HotKeySpec& spec) {
        system.press(spec.keyCode, spec.modifiers);
        QCoreApplication::processEvents();
    }

    ScriptedHotKeys system;
    EventLog log{{}, false};
    HotKeyCenter center{system, log};
    int presses = 0;
};

TEST_F(HotKeyCenterTest, ABoundCombinationRunsItsActionAfterTheEventIsHandled) {
    ASSERT_TRUE(center.bind(HotKeySlotID::lookup, kCtrlAltSuperD, true, [this] { ++presses; }));
    EXPECT_EQ(lastLine(), u"快捷键 Ctrl+Alt+Super+D 已就绪（快捷键查询）"_s);
    EXPECT_TRUE(center.isRegistered(HotKeySlotID::lookup, kCtrlAltSuperD));

    system.press(kCtrlAltSuperD.keyCode, kCtrlAltSuperD.modifiers);
    EXPECT_EQ(presses, 0) << "never inside the window system's event handling";
    QCoreApplication::processEvents();
    EXPECT_EQ(presses, 1);

    // Another program's signature, or an id nobody bound, is passed on.
    EXPECT_EQ(center.dispatch(0x41424344, 1), HotKeyCenter::notHandled);
    EXPECT_EQ(center.dispatch(HotKeyCenter::signature, 3), HotKeyCenter::notHandled);
    EXPECT_EQ(center.dispatch(HotKeyCenter::signature, 1), 0);
}

TEST_F(HotKeyCenterTest, RebindingReplacesAndNoSpecOnlyUnbinds) {
    center.bind(HotKeySlotID::lookup, kCtrlAltSuperD, false, [this] { ++presses; });
    EXPECT_TRUE(log.entries().isEmpty()) << "asked not to log";
    center.bind(HotKeySlotID::lookup, kCtrlShiftD, false, [this] { presses += 10; });
    press(kCtrlAltSuperD);
    press(kCtrlShiftD);
    EXPECT_EQ(presses, 10);

    EXPECT_FALSE(center.bind(HotKeySlotID::lookup, std::nullopt, true, {}));
    EXPECT_EQ(system.registrations(), 0);
    press(kCtrlShiftD);
    EXPECT_EQ(presses, 10);
    EXPECT_TRUE(center.wasConfigured());
}

TEST_F(HotKeyCenterTest, ACombinationAnotherProgramHoldsIsRefusedAndLogged) {
    system.holdElsewhere(kCtrlAltSuperD.keyCode, kCtrlAltSuperD.modifiers);
    EXPECT_FALSE(center.bind(HotKeySlotID::lookup, kCtrlAltSuperD, true, [this] { ++presses; }));
    EXPECT_EQ(lastLine(), u"快捷键 Ctrl+Alt+Super+D 注册失败（10），可能已被其它 App 占用"_s);
    EXPECT_EQ(center.dispatch(HotKeyCenter::signature, 1), HotKeyCenter::notHandled)
        << "no action is kept for an unregistered slot";
    EXPECT_FALSE(center.isAvailable(kCtrlAltSuperD, HotKeySlotID::lookup));

    system.releaseElsewhere();
    EXPECT_TRUE(center.isAvailable(kCtrlAltSuperD, HotKeySlotID::lookup));
    EXPECT_FALSE(system.isRegistered(HotKeyCenter::probeId)) << "the probe is let go at once";
}

TEST_F(HotKeyCenterTest, AvailabilityKnowsTheProgramsOwnSlots) {
    center.bind(HotKeySlotID::lookup, kCtrlAltSuperD, false, [] {});
    const int addsBefore = system.adds();
    EXPECT_TRUE(center.isAvailable(kCtrlAltSuperD, HotKeySlotID::lookup)) << "re-recording";
    EXPECT_FALSE(center.isAvailable(kCtrlAltSuperD, HotKeySlotID::nextSubtitle));
    EXPECT_FALSE(center.isAvailable(kCtrlAltSuperD, std::nullopt));
    EXPECT_EQ(system.adds(), addsBefore) << "decided without probing the system";
}

TEST_F(HotKeyCenterTest, AHandlerTheSystemRefusesIsLoggedAndBindsNothing) {
    system.failInstall(-50);
    EXPECT_FALSE(center.bind(HotKeySlotID::lookup, kCtrlAltSuperD, true, [] {}));
    EXPECT_EQ(lastLine(), u"快捷键事件处理器安装失败（-50）"_s);
    EXPECT_EQ(system.registrations(), 0);
}

} // namespace
