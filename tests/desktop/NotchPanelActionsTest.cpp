#include "PanelFixtures.h"

#include <QProgressBar>
#include <QSignalSpy>
#include <gtest/gtest.h>

using namespace PanelFixtures;
using State = NotchPanel::State;

namespace {

class NotchPanelActions : public testing::Test {
protected:
    NotchPanelActions() : panel(fastTimings()) { panel.setActions(recorder.actions()); }

    void click(const QString& name) {
        QAbstractButton* target = button(panel, name);
        ASSERT_NE(target, nullptr) << name.toStdString();
        ASSERT_TRUE(target->isVisible()) << name.toStdString();
        QTest::mouseClick(target, Qt::LeftButton);
    }

    Recorder recorder;
    NotchPanel panel;
};

TEST_F(NotchPanelActions, ButtonsActOnTheWordOnScreen) {
    panel.show(wordResult(), true);
    click(u"speakButton"_s);
    click(u"openButton"_s);
    click(u"copyButton"_s);
    EXPECT_EQ(recorder.spoken, QStringList{u"water"_s});
    EXPECT_EQ(recorder.opened, QStringList{u"water"_s});
    EXPECT_EQ(recorder.copied, QStringList{u"water /ˈwɔːtə/\n名词\n① 水\n② 水域"_s});
}

TEST_F(NotchPanelActions, CopyTakesTheSelectedTab) {
    panel.show(wordResult(), true);
    ASSERT_TRUE(QTest::qWaitFor([&] { return panel.selectTab(u"stardict:oxford"_s); }));
    click(u"copyButton"_s);
    EXPECT_EQ(recorder.copied, QStringList{u"water /ˈwɔːtər/\n名词\n① 水（无色液体）"_s});
}

TEST_F(NotchPanelActions, StarTogglesAndKeepsTheNewState) {
    recorder.starred = true;
    panel.show(wordResult(), true);
    QSignalSpy changes(&panel, &NotchPanel::contentChanged);
    click(u"starButton"_s);
    click(u"starButton"_s);
    EXPECT_EQ(recorder.starToggles, (QStringList{u"water"_s, u"water"_s}));
    EXPECT_TRUE(recorder.starred);
    EXPECT_EQ(changes.size(), 2);

    // A new result asks for its own state instead of keeping the last one's.
    recorder.starred = false;
    panel.show(wordResult(u"river"_s), true);
    click(u"starButton"_s);
    EXPECT_EQ(recorder.starToggles.last(), u"river"_s);
    EXPECT_TRUE(recorder.starred);
}

TEST_F(NotchPanelActions, SentencesCopyTheTranslationAndCannotBeOpenedInADictionary) {
    panel.show(sentenceResult(), true);
    click(u"copyButton"_s);
    click(u"speakButton"_s);
    EXPECT_EQ(recorder.copied, QStringList{u"水很冷。"_s});
    EXPECT_EQ(recorder.spoken, QStringList{u"The water is cold."_s});
    EXPECT_FALSE(button(panel, u"openButton"_s)->isVisible());
}

TEST_F(NotchPanelActions, LanguagePackDownloadsForTheQueryAndStaysUntilDone) {
    const QString query = u"Reading is to the mind what exercise is to the body."_s;
    panel.showNeedsLanguagePack(query, false);
    EXPECT_EQ(panel.state(), State::languagePack);
    click(u"downloadButton"_s);
    EXPECT_EQ(recorder.downloads, QStringList{query});
    EXPECT_FALSE(button(panel, u"downloadButton"_s)->isVisible());

    panel.showDownloadProgress(0.5);
    auto* progress = panel.window()->findChild<QProgressBar*>(u"downloadProgress"_s);
    ASSERT_NE(progress, nullptr);
    EXPECT_TRUE(progress->isVisible());
    EXPECT_EQ(progress->value(), 50);

    // Neither the timer nor an automatic lookup takes the download off screen.
    QTest::qWait(400);
    panel.showLoading(u"water"_s, false);
    EXPECT_EQ(panel.state(), State::languagePack);

    panel.showDownloadProgress(1.0);
    panel.showLoading(query, false);
    EXPECT_EQ(panel.loadingQuery(), query);
}

TEST_F(NotchPanelActions, AFailedDownloadReplacesItsProgress) {
    panel.showNeedsLanguagePack(u"Some sentence here."_s, true);
    click(u"downloadButton"_s);
    panel.showDownloadProgress(0.2);
    panel.showFailure(u"语言包下载失败"_s, false);
    EXPECT_EQ(panel.state(), State::failure);
    EXPECT_TRUE(waitForState(panel, State::collapsed));
}

TEST_F(NotchPanelActions, LanguagePackCanBePutOff) {
    panel.showNeedsLanguagePack(u"Some sentence here."_s, true);
    click(u"laterButton"_s);
    EXPECT_EQ(panel.state(), State::collapsed);
    EXPECT_TRUE(recorder.downloads.isEmpty());
}

TEST_F(NotchPanelActions, OnlyRefusalsOfferARetry) {
    panel.showNotice(u"先选中要查的英文"_s);
    EXPECT_FALSE(button(panel, u"retryButton"_s)->isVisible());

    panel.showRefusal(u"像是网址或文件路径"_s);
    EXPECT_EQ(panel.state(), State::notice);
    EXPECT_EQ(panel.message(), u"像是网址或文件路径"_s);
    click(u"retryButton"_s);
    EXPECT_EQ(recorder.retries, 1);
}

} // namespace
