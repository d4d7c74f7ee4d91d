#include "PanelFixtures.h"

#include <QScrollArea>
#include <QScrollBar>
#include <gtest/gtest.h>

using namespace PanelFixtures;

namespace {

// Where the panel's parts sit once a result is laid out, in window coordinates.
struct Layout {
    QRect window, body, actions;
    int scrollRange = 0;
};

Layout layoutOf(NotchPanel& panel) {
    QWidget* window = panel.window();
    auto* scroll = window->findChild<QScrollArea*>();
    QWidget* actions = button(panel, u"copyButton"_s)->parentWidget();
    // Layouts and scroll ranges settle in posted events.
    QTest::qWait(20);
    return {window->rect(), QRect(scroll->mapTo(window, QPoint()), scroll->size()),
            QRect(actions->mapTo(window, QPoint()), actions->size()),
            scroll->verticalScrollBar()->maximum()};
}

LookupResult longEntry() {
    QStringList senses;
    QList<QStringList> examples;
    for (int i = 0; i < 40; ++i) {
        senses.append(u"以比走快的速度用腿移动，两脚在每一步都短暂离地"_s);
        examples.append({u"She ran to catch the bus. 她跑着去赶公共汽车。"_s});
    }
    LookupResult::Source source = bundled(u"run"_s);
    source.entries.first().sections = {{std::nullopt, u"动词"_s, senses, examples}};
    return LookupResult::dictionaryAnswer(u"run"_s, source);
}

class NotchPanelLayout : public testing::TestWithParam<LookupResult> {
protected:
    NotchPanelLayout() : panel(fastTimings()) {}
    NotchPanel panel;
};

TEST_P(NotchPanelLayout, ShortResultsShowWholeWithoutOverlap) {
    ASSERT_TRUE(panel.show(GetParam(), true));
    const Layout parts = layoutOf(panel);
    EXPECT_EQ(parts.scrollRange, 0);
    EXPECT_GE(parts.actions.top(), parts.body.bottom());
    EXPECT_TRUE(parts.window.contains(parts.actions));
}

std::string kindName(const testing::TestParamInfo<LookupResult>& info) {
    static const char* const names[] = {"Word", "Sentence", "TranslatedWord", "Gloss"};
    return names[info.index];
}

INSTANTIATE_TEST_SUITE_P(
    Kinds, NotchPanelLayout,
    testing::Values(wordResult(), sentenceResult(),
                    LookupResult::translated(u"wtaer"_s, u"水"_s, u"/ˈwɔːtə/"_s), glossResult()),
    kindName);

TEST(NotchPanelLongContent, ScrollsInsideABoundedPanel) {
    const QString paragraph =
        QStringList(60, u"The quick brown fox jumps over the lazy dog."_s).join(u' ');
    for (const LookupResult& result :
         {longEntry(), LookupResult::translated(paragraph, paragraph, std::nullopt),
          glossOfWords(60)}) {
        NotchPanel panel(fastTimings());
        ASSERT_TRUE(panel.show(result, true));
        const Layout parts = layoutOf(panel);
        EXPECT_GT(parts.scrollRange, 0);
        EXPECT_LE(parts.window.height(), 500);
        EXPECT_GE(parts.actions.top(), parts.body.bottom());
        EXPECT_TRUE(parts.window.contains(parts.actions));
    }
}

} // namespace
