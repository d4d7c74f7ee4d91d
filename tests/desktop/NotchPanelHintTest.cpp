#include "PanelFixtures.h"

#include <gtest/gtest.h>

using namespace PanelFixtures;
using State = NotchPanel::State;

namespace {

// The quiet sign on the resting notch while the hover key is held.
class NotchPanelHint : public testing::Test {
protected:
    NotchPanelHint() : panel(fastTimings()) {}

    bool waitForHint(bool shown) {
        return QTest::qWaitFor([&] { return panel.showsPointerHint() == shown; }, 3000);
    }

    NotchPanel panel;
};

TEST_F(NotchPanelHint, MarksTheRestingNotchWhileTheKeyIsHeld) {
    panel.showAtRest();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(panel.window()));
    EXPECT_FALSE(panel.showsPointerHint());

    panel.showPointerHint(true);
    EXPECT_TRUE(panel.showsPointerHint());
    EXPECT_EQ(panel.state(), State::collapsed);

    panel.showPointerHint(false);
    EXPECT_FALSE(panel.showsPointerHint());
    EXPECT_TRUE(panel.window()->isVisible()) << "the notch stays where it rests";
}

TEST_F(NotchPanelHint, WithoutTheIdleNotchTheHintBringsTheNotchOnlyWhileHeld) {
    panel.setShowsAtRest(false);
    QWidget* window = panel.window();
    ASSERT_FALSE(window->isVisible());

    panel.showPointerHint(true);
    EXPECT_TRUE(window->isVisible());
    EXPECT_TRUE(panel.showsPointerHint());
    EXPECT_TRUE(QTest::qWaitForWindowExposed(window));

    panel.showPointerHint(false);
    EXPECT_FALSE(window->isVisible());
    EXPECT_FALSE(panel.showsPointerHint());
}

TEST_F(NotchPanelHint, AnOpenPanelKeepsItsContentAndTheHintFollowsTheFold) {
    panel.setShowsAtRest(false);
    ASSERT_TRUE(panel.show(wordResult(), true));

    panel.showPointerHint(true);
    EXPECT_EQ(panel.state(), State::result);
    EXPECT_EQ(panel.headlineText(), u"water /ˈwɔːtə/"_s);
    EXPECT_FALSE(panel.showsPointerHint());

    // Folding while the key is still held: the notch stays, marked.
    panel.collapse();
    ASSERT_TRUE(waitForHint(true));
    EXPECT_TRUE(panel.window()->isVisible());

    // Let go while a lookup opens the panel: when it folds, the notch goes as usual.
    panel.show(wordResult(u"river"_s), true);
    panel.showPointerHint(false);
    panel.collapse();
    ASSERT_TRUE(QTest::qWaitFor([&] { return !panel.window()->isVisible(); }));
    EXPECT_FALSE(panel.showsPointerHint());
}

} // namespace
