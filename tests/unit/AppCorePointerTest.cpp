#include "capture/AccessibilityAuthorization.h"
#include "capture/HotKeyCenter.h"
#include "capture/PermissionCenter.h"
#include "capture/PointerDwellMonitor.h"
#include "capture/SelectionMonitor.h"
#include "core/LookupPresenter.h"
#include "harness/QtPrinters.h"
#include "harness/ScriptedCoordinator.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Kind = SystemPermissions::Kind;

namespace {

// The coordinator with hover lookup on: scripted pointer, accessibility, screen and box.
class AppCorePointerTest : public testing::Test, public ScriptedCoordinator {
protected:
    AppCorePointerTest() {
        permissions->set(Kind::screenRecording, true);
        triggers.setPointerLookupEnabled(true);
        preferences.setHoverDwellSeconds(0.2);
    }

    void start() { startCore(); }
    // Holds the pointer key with the pointer resting at `point` until the dwell fires, then
    // lets the read and the lookup finish.
    void restAt(QPointF point) {
        sampler->setFlags(PointerSampler::option);
        sampler->state.location = point;
        timers.advance(400ms);
        ASSERT_TRUE(settle());
        sampler->setFlags(0);
        timers.advance(40ms);
    }
};

TEST_F(AppCorePointerTest, ARestingPointerLooksUpTheAccessibleWordOncePerPlace) {
    start();
    EXPECT_TRUE(sampler->isRunning());
    EXPECT_TRUE(screen->prepared) << "the engine loads before the first rest";
    words->show(u" water,"_s);
    restAt({200, 120});
    EXPECT_EQ(words->points, QList<QPointF>{QPointF(200, 120)});
    EXPECT_TRUE(presenter.calls.contains(u"hint"_s));
    EXPECT_TRUE(presenter.calls.contains(u"loading:water!"_s))
        << presenter.calls.join(u" | "_s).toStdString();
    EXPECT_TRUE(presenter.calls.contains(u"show:water"_s));
    EXPECT_EQ(presenter.calls.last(), u"hint off"_s);
    EXPECT_TRUE(logLines().contains(u"悬停取词｜取到「water」（辅助功能）"_s));
    EXPECT_TRUE(logLines().contains(u"悬停取词｜停留｜water"_s));
    EXPECT_TRUE(screen->reads.isEmpty()) << "accessibility answered: nothing recognised";

    // The same word elsewhere within 15 seconds is not looked up again; after, it is (once
    // the filter's own minute for a repeated text is over too).
    presenter.calls.clear();
    clock = clock.addSecs(10);
    restAt({260, 120});
    EXPECT_FALSE(presenter.calls.contains(u"loading:water!"_s));
    EXPECT_EQ(logLines().last(), u"悬停取词｜15 秒内查过同一个词"_s);
    clock = clock.addSecs(60);
    restAt({200, 120});
    EXPECT_TRUE(presenter.calls.contains(u"loading:water!"_s));
}

TEST_F(AppCorePointerTest, WithoutAccessibleTextTheScreenIsRecognisedAroundThePoint) {
    start();
    screen->layLine({100, 100}, {u"The"_s, u"river"_s, u"flows"_s});
    restAt({190, 108}); // on "river", 168…228
    ASSERT_EQ(screen->reads.size(), 1);
    EXPECT_EQ(screen->reads[0].area, QRect(30, 76, 320, 64));
    EXPECT_EQ(screen->reads[0].layout, ScreenText::Layout::aroundPoint);
    EXPECT_TRUE(presenter.calls.contains(u"show:river"_s))
        << presenter.calls.join(u" | "_s).toStdString();
    EXPECT_TRUE(logLines().contains(u"悬停取词｜取到「river」（文字识别）"_s));

    // The pointer moved on while the screen was being read: nothing is shown.
    presenter.calls.clear();
    screen->beforeAnswer = [this] {
        sampler->state.location += QPointF(40, 0);
    };
    restAt({250, 108});
    EXPECT_TRUE(presenter.calls.filter(u"loading"_s).isEmpty());
    EXPECT_EQ(logLines().last(), u"悬停取词｜识别期间指针已移开（40 像素），这次不取"_s);
}

TEST_F(AppCorePointerTest, MissesAreShownWithTheirOwnTexts) {
    start();
    const auto missAt = [this](QPointF point) {
        presenter.calls.clear();
        clock = clock.addSecs(30);
        restAt(point);
        return presenter.calls.filter(u"notice:"_s).join(u" "_s);
    };
    words->outcome = AccessibleWordReader::Miss::passwordField;
    EXPECT_EQ(missAt({10, 10}), u"notice:密码输入框，已跳过"_s);
    EXPECT_TRUE(screen->reads.isEmpty()) << "a password field is never looked at";
    words->outcome = AccessibleWordReader::Miss::ownWindow;
    EXPECT_EQ(missAt({20, 10}), u"notice:指针在本 App 的窗口上"_s);
    words->outcome = AccessibleWordReader::Word{u" — "_s};
    EXPECT_EQ(missAt({30, 10}), u"notice:指针下没有英文单词"_s);
    words->outcome = AccessibleWordReader::Miss::noText;
    EXPECT_EQ(missAt({40, 10}), u"notice:指针处没有英文单词"_s);
    screen->failure = ScreenText::Failure::timedOut;
    EXPECT_EQ(missAt({50, 10}), u"notice:未能读取指针处的文字"_s);
    screen->failure = ScreenText::Failure::engineMissing;
    const QString first = missAt({60, 10});
    EXPECT_TRUE(first.contains(u"tesseract-ocr-eng"_s)) << first.toStdString();
    EXPECT_FALSE(first.contains(u"未能读取"_s)) << "what to install stays on screen";
    EXPECT_EQ(missAt({70, 10}), u"notice:未能读取指针处的文字"_s) << "said once";
    words->show(u"x"_s);
    missAt({80, 10});
    EXPECT_TRUE(logLines().last().startsWith(u"悬停取词｜不是单词｜"_s));
    words->show(u"水"_s);
    missAt({90, 10});
    EXPECT_TRUE(presenter.calls.filter(u"loading"_s).isEmpty());
}

TEST_F(AppCorePointerTest, HoverRunsOnlyWhenOnUnpausedAndAllowedToSeeTheScreen) {
    triggers.setPointerLookupEnabled(false);
    start();
    EXPECT_FALSE(sampler->isRunning());
    triggers.setPointerLookupEnabled(true);
    EXPECT_TRUE(sampler->isRunning());
    core->setSystemPaused(true);
    EXPECT_FALSE(sampler->isRunning());
    core->setSystemPaused(false);
    EXPECT_TRUE(sampler->isRunning());

    triggers.setPointerKey(Settings::PointerKey::control);
    EXPECT_EQ(core->pointerDwell()->key(), Settings::PointerKey::control);

    // The screen grant goes away: hover turns off, says so, and comes back with the grant.
    permissions->set(Kind::screenRecording, false);
    EXPECT_FALSE(sampler->isRunning());
    EXPECT_FALSE(triggers.pointerLookupEnabled());
    EXPECT_TRUE(presenter.calls.contains(u"notice:「屏幕录制」授权不在了，重新授权即可恢复。"_s));
    EXPECT_TRUE(logLines().contains(u"悬停取词已停用"_s));
    permissions->set(Kind::screenRecording, true);
    timers.advance(3s);
    EXPECT_TRUE(triggers.pointerLookupEnabled());
    EXPECT_TRUE(sampler->isRunning());
}

TEST_F(AppCorePointerTest, ADoubleTapDrawsABoxWhoseTextIsLookedUp) {
    start();
    screen->layLine({100, 100}, {u"water"_s});
    picker.box = QRect(90, 90, 200, 40);
    const auto doubleTap = [this] {
        for (quint32 flags : {PointerSampler::option, 0u, PointerSampler::option, 0u}) {
            sampler->setFlags(flags);
            timers.advance(80ms);
        }
        ASSERT_TRUE(settle());
    };
    doubleTap();
    EXPECT_EQ(picker.picks, 1);
    ASSERT_EQ(screen->reads.size(), 1);
    EXPECT_EQ(screen->reads[0].layout, ScreenText::Layout::block);
    EXPECT_TRUE(presenter.calls.contains(u"loading:water!"_s))
        << presenter.calls.join(u" | "_s).toStdString();
    EXPECT_TRUE(logLines().contains(u"悬停取词｜连按两下 Alt"_s));
    EXPECT_TRUE(logLines().contains(u"截图查询｜点按｜water"_s));

    picker.box.reset();
    doubleTap();
    EXPECT_EQ(logLines().last(), u"截图查询｜取消"_s);
    picker.box = QRect(500, 500, 1, 1);
    doubleTap();
    EXPECT_EQ(logLines().last(), u"截图查询｜取消"_s) << "a one-pixel box is a slip";

    picker.box = QRect(600, 600, 300, 100);
    presenter.calls.clear();
    doubleTap();
    EXPECT_EQ(presenter.calls.last(), u"notice:框内没有英文"_s);
    screen->failure = ScreenText::Failure::timedOut;
    doubleTap();
    EXPECT_EQ(logLines().last(), u"截图查询｜点按｜识别超时"_s);
    EXPECT_EQ(presenter.calls.last(), u"notice:未能读取框内的文字"_s);
    EXPECT_EQ(screen->reads.last().limit, std::chrono::milliseconds(4000));
}

TEST_F(AppCorePointerTest, ABoxOfCodeOrForeignTextIsRefusedLikeASelection) {
    start();
    screen->words = {{u"sk-proj-9fQ2xLmZ8rT4vW1yB6nC3kD7"_s, QRectF(100, 100, 300, 16), 90, 0}};
    core->lookUpRegion(QRect(90, 90, 400, 40));
    ASSERT_TRUE(settle());
    EXPECT_TRUE(presenter.calls.filter(u"loading"_s).isEmpty());
    EXPECT_TRUE(logLines().last().startsWith(u"截图查询｜"_s)) << logLines().last().toStdString();
    EXPECT_FALSE(core->lastRejection()->text.has_value()) << "a secret is never kept";
}

} // namespace
