#include "PanelFixtures.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace PanelFixtures;
using State = NotchPanel::State;

namespace {

class NotchPanelState : public testing::Test {
protected:
    NotchPanelState() : panel(fastTimings()) { panel.setActions(recorder.actions()); }

    Recorder recorder;
    NotchPanel panel;
};

TEST_F(NotchPanelState, LoadingQueryFollowsWhatIsOnScreen) {
    QSignalSpy states(&panel, &NotchPanel::stateChanged);

    panel.showLoading(u"water"_s, false);
    EXPECT_EQ(panel.state(), State::loading);
    EXPECT_EQ(panel.loadingQuery(), u"water"_s);

    EXPECT_TRUE(panel.show(wordResult(), false));
    EXPECT_EQ(panel.loadingQuery(), std::nullopt);
    EXPECT_EQ(panel.headlineText(), u"water /ˈwɔːtə/"_s);

    panel.showLoading(u"wtaer"_s, true);
    panel.showFailure(u"词典和翻译里都没有「wtaer」。"_s, false);
    EXPECT_EQ(panel.loadingQuery(), std::nullopt);
    EXPECT_EQ(panel.message(), u"词典和翻译里都没有「wtaer」。"_s);

    panel.showLoading(u"river"_s, false);
    panel.collapse();
    EXPECT_EQ(panel.loadingQuery(), std::nullopt);
    EXPECT_EQ(panel.headlineText(), QString());

    QList<State> seen;
    for (const QList<QVariant>& signal : states)
        seen.append(signal.first().value<State>());
    EXPECT_EQ(seen, (QList<State>{State::loading, State::result, State::loading, State::failure,
                                  State::loading, State::collapsed}));
}

TEST_F(NotchPanelState, AutomaticContentWaitsWhileTheUserReadsTheOpenPanel) {
    ASSERT_TRUE(panel.show(wordResult(), true));
    pointerEnters(panel);

    panel.showLoading(u"river"_s, false);
    EXPECT_EQ(panel.state(), State::result);
    EXPECT_EQ(panel.loadingQuery(), std::nullopt);
    EXPECT_FALSE(panel.show(wordResult(u"river"_s), false));
    panel.showFailure(u"未能翻译，请再试一次。"_s, false);
    EXPECT_EQ(panel.headlineText(), u"water /ˈwɔːtə/"_s);

    // What the user asked for explicitly replaces it even then.
    EXPECT_TRUE(panel.show(wordResult(u"river"_s), true));
    EXPECT_EQ(panel.headlineText(), u"river /ˈwɔːtə/"_s);

    pointerLeaves(panel);
    EXPECT_TRUE(panel.show(wordResult(u"lake"_s), false));
}

TEST_F(NotchPanelState, AutomaticLookupsOpenACollapsedPanel) {
    panel.showLoading(u"water"_s, false);
    ASSERT_TRUE(panel.show(wordResult(), false));
    panel.collapse();

    panel.showLoading(u"river"_s, false);
    EXPECT_EQ(panel.state(), State::loading);
    EXPECT_TRUE(panel.show(wordResult(u"river"_s), false));
    EXPECT_TRUE(panel.window()->isVisible());
}

TEST_F(NotchPanelState, OtherSourcesBecomeTabsOnlyAfterTheFirstAnswerIsShown) {
    ASSERT_TRUE(panel.show(wordResult(), false));
    EXPECT_EQ(panel.tabIds(), QStringList{u"bundled"_s});
    EXPECT_TRUE(recorder.sourceRequests.isEmpty());

    ASSERT_TRUE(QTest::qWaitFor([&] { return panel.tabIds().size() == 2; }));
    EXPECT_EQ(recorder.sourceRequests, QStringList{u"water"_s});
    EXPECT_EQ(panel.tabIds(), (QStringList{u"bundled"_s, u"stardict:oxford"_s}));
    EXPECT_EQ(panel.loadedWordSources(), recorder.sources);
    EXPECT_EQ(panel.currentTabId(), u"bundled"_s);

    QTest::mouseClick(tab(panel, u"stardict:oxford"_s), Qt::LeftButton);
    EXPECT_EQ(panel.currentTabId(), u"stardict:oxford"_s);
    EXPECT_EQ(panel.headlineText(), u"water /ˈwɔːtər/"_s);
}

TEST_F(NotchPanelState, SourcesOfAReplacedResultAreNeverAskedFor) {
    panel.show(wordResult(), false);
    panel.show(wordResult(u"river"_s), false);
    recorder.sources = {bundled(u"river"_s)};

    ASSERT_TRUE(QTest::qWaitFor([&] { return !recorder.sourceRequests.isEmpty(); }));
    QTest::qWait(50);
    EXPECT_EQ(recorder.sourceRequests, QStringList{u"river"_s});
    // Its only source is the one on screen already: no second tab for it.
    EXPECT_EQ(panel.tabIds(), QStringList{u"bundled"_s});
}

TEST_F(NotchPanelState, TranslationsShowWithoutAskingDictionaries) {
    ASSERT_TRUE(panel.show(sentenceResult(), false));
    QTest::qWait(50);
    EXPECT_TRUE(recorder.sourceRequests.isEmpty());
    EXPECT_EQ(panel.tabIds(), QStringList{u"translation"_s});
    EXPECT_EQ(panel.headlineText(), QString()); // a sentence is not a headline

    panel.show(LookupResult::translated(u"wtaer"_s, u"水"_s, u"/ˈwɔːtə/"_s), false);
    EXPECT_EQ(panel.headlineText(), u"wtaer /ˈwɔːtə/"_s);
}

TEST_F(NotchPanelState, ResultsFoldAwayAfterTheAutoHideDelay) {
    QElapsedTimer clock;
    clock.start();
    panel.show(wordResult(), false);
    ASSERT_TRUE(waitForState(panel, State::collapsed));
    EXPECT_GE(clock.elapsed(), 140);
}

TEST_F(NotchPanelState, AutoHideWaitsForThePointerToLeave) {
    panel.show(wordResult(), false);
    pointerEnters(panel);
    QTest::qWait(450); // three times the delay
    EXPECT_EQ(panel.state(), State::result);

    QElapsedTimer clock;
    clock.start();
    pointerLeaves(panel);
    ASSERT_TRUE(waitForState(panel, State::collapsed));
    EXPECT_GE(clock.elapsed(), 140); // the whole delay again, counted from leaving
}

TEST_F(NotchPanelState, HoveringThePillBringsBackTheLastContent) {
    pointerEnters(panel);
    ASSERT_TRUE(waitForState(panel, State::idle));
    EXPECT_FALSE(panel.message().isEmpty());
    pointerLeaves(panel);
    ASSERT_TRUE(waitForState(panel, State::collapsed));

    panel.showLoading(u"water"_s, false);
    panel.show(wordResult(), false);
    panel.showLoading(u"river"_s, false); // superseded, then given up
    panel.collapse();

    pointerEnters(panel);
    ASSERT_TRUE(waitForState(panel, State::result));
    EXPECT_EQ(panel.headlineText(), u"water /ˈwɔːtə/"_s);
    EXPECT_EQ(panel.loadingQuery(), std::nullopt);
    pointerLeaves(panel);
    EXPECT_TRUE(waitForState(panel, State::collapsed));
}

TEST_F(NotchPanelState, ExpandingForAnOutsidePointerStillFolds) {
    panel.showNotice(u"先选中要查的英文"_s);
    panel.collapse();
    panel.expand(true);
    EXPECT_EQ(panel.state(), State::notice);
    EXPECT_TRUE(waitForState(panel, State::collapsed));
}

} // namespace
