#include "PanelFixtures.h"
#include "ui/FlowLayout.h"
#include "ui/GlossPieceView.h"

#include <QLabel>
#include <QScrollArea>
#include <QScrollBar>
#include <algorithm>
#include <gtest/gtest.h>

using namespace PanelFixtures;

namespace {

// The gloss's pieces on screen, in reading order (top to bottom, then left to right).
QList<GlossPieceView*> piecesOnScreen(NotchPanel& panel) {
    QList<GlossPieceView*> pieces;
    for (GlossPieceView* piece : panel.window()->findChildren<GlossPieceView*>()) {
        if (piece->isVisible())
            pieces.append(piece);
    }
    std::sort(pieces.begin(), pieces.end(), [](GlossPieceView* a, GlossPieceView* b) {
        return a->y() != b->y() ? a->y() < b->y() : a->x() < b->x();
    });
    return pieces;
}

QStringList english(const QList<GlossPieceView*>& pieces) {
    QStringList texts;
    for (const GlossPieceView* piece : pieces)
        texts.append(piece->english());
    return texts;
}

QStringList visibleTexts(NotchPanel& panel) {
    QStringList texts;
    for (QLabel* label : panel.window()->findChildren<QLabel*>()) {
        if (label->isVisible() && !label->text().isEmpty())
            texts.append(label->text());
    }
    return texts;
}

class NotchPanelGloss : public testing::Test {
protected:
    NotchPanelGloss() : panel(fastTimings()) { panel.setActions(recorder.actions()); }

    void showAndSettle(const LookupResult& result) {
        ASSERT_TRUE(panel.show(result, true));
        // Layouts and scroll ranges settle in posted events.
        QTest::qWait(20);
    }

    QScrollArea* scroll() { return panel.window()->findChild<QScrollArea*>(); }

    Recorder recorder;
    NotchPanel panel;
};

TEST_F(NotchPanelGloss, LaysOutEveryPieceInOrderWithItsFirstSense) {
    showAndSettle(glossResult());
    const QList<GlossPieceView*> pieces = piecesOnScreen(panel);
    EXPECT_EQ(english(pieces),
              (QStringList{u"She"_s, u"made up"_s, u"her"_s, u"mind"_s, u"to"_s,
                           u"look forward to"_s, u"the"_s, u"ice creams"_s, u"."_s}));
    ASSERT_EQ(pieces.size(), 9);
    EXPECT_EQ(pieces[1]->chinese(), u"组成"_s);
    EXPECT_TRUE(pieces[1]->isPhrase());
    EXPECT_FALSE(pieces[3]->isPhrase());
    EXPECT_TRUE(pieces[8]->chinese().isEmpty());
    // The full stop hugs the word before it.
    EXPECT_EQ(pieces[8]->x(), pieces[7]->geometry().right() + 1);
    EXPECT_EQ(pieces[8]->y(), pieces[7]->y());

    const QStringList texts = visibleTexts(panel);
    EXPECT_TRUE(texts.contains(u"逐词释义"_s)) << texts.join(u'|').toStdString();
    EXPECT_EQ(texts.count(u"逐词释义"_s), 2) << "the label and the footer's source name";
    EXPECT_EQ(panel.headlineText(), QString());
}

TEST_F(NotchPanelGloss, FullTranslationButtonCopyAndStarActOnTheSentence) {
    const LookupResult result = glossResult();
    showAndSettle(result);
    QAbstractButton* full = button(panel, u"fullTranslationButton"_s);
    ASSERT_NE(full, nullptr);
    ASSERT_TRUE(full->isVisible());
    EXPECT_EQ(full->text(), u"获取整句翻译…"_s);
    QTest::mouseClick(full, Qt::LeftButton);
    EXPECT_EQ(recorder.translationSettingsOpened, 1);

    QTest::mouseClick(button(panel, u"copyButton"_s), Qt::LeftButton);
    EXPECT_EQ(recorder.copied, QStringList{result.translation});
    QTest::mouseClick(button(panel, u"starButton"_s), Qt::LeftButton);
    EXPECT_EQ(recorder.starToggles, QStringList{result.term});
    EXPECT_FALSE(button(panel, u"openButton"_s)->isVisible());
}

TEST_F(NotchPanelGloss, ALonePieceShowsItsSensesAsAnEntry) {
    Gloss gloss;
    gloss.pieces = {glossed(u"water"_s, u"water"_s, {u"水"_s, u"水域"_s, u"海域"_s, u"潮水"_s}),
                    plain(u"."_s)};
    showAndSettle(LookupResult::glossed(u"water."_s, gloss, std::nullopt));
    EXPECT_TRUE(piecesOnScreen(panel).isEmpty());
    const QString texts = visibleTexts(panel).join(u'|');
    EXPECT_TRUE(visibleTexts(panel).contains(u"water"_s)) << texts.toStdString();
    EXPECT_TRUE(texts.contains(u"海域"_s)) << texts.toStdString();
    EXPECT_FALSE(texts.contains(u"潮水"_s)) << "three senses at most";
    EXPECT_FALSE(texts.contains(u"water."_s)) << "nothing beyond the word to repeat";

    // A phrase in its inflected form is headed by its dictionary form; the text around a
    // name is kept above it.
    gloss.pieces = {plain(u"Bob "_s), glossed(u"gave up"_s, u"give up"_s, {u"放弃"_s}, true)};
    showAndSettle(LookupResult::glossed(u"Bob gave up"_s, gloss, std::nullopt));
    const QStringList phrase = visibleTexts(panel);
    EXPECT_TRUE(phrase.contains(u"give up"_s)) << phrase.join(u'|').toStdString();
    EXPECT_TRUE(phrase.contains(u"放弃"_s)) << phrase.join(u'|').toStdString();
    EXPECT_TRUE(phrase.contains(u"Bob gave up"_s)) << phrase.join(u'|').toStdString();

    // Back to a sentence: the entry's parts give way to the pieces.
    showAndSettle(glossResult());
    EXPECT_EQ(piecesOnScreen(panel).size(), 9);
    EXPECT_FALSE(visibleTexts(panel).contains(u"give up"_s));
}

TEST_F(NotchPanelGloss, WrapsToThePanelAndFitsItsHeight) {
    showAndSettle(glossOfWords(24));
    const QList<GlossPieceView*> pieces = piecesOnScreen(panel);
    ASSERT_EQ(pieces.size(), 25);
    QWidget* flow = pieces.first()->parentWidget();
    QSet<int> lines;
    for (qsizetype i = 0; i < pieces.size(); ++i) {
        EXPECT_LE(pieces[i]->geometry().right(), flow->width()) << i;
        lines.insert(pieces[i]->y());
    }
    // Reading order is the text's order, across lines too.
    EXPECT_EQ(english(pieces).first(), u"reading0"_s);
    EXPECT_EQ(english(pieces).at(23), u"reading23"_s);
    EXPECT_GE(lines.size(), 3);

    // The body is as tall as the pieces need: nothing hidden, no empty band below.
    EXPECT_EQ(scroll()->verticalScrollBar()->maximum(), 0);
    int lastBottom = 0;
    for (const GlossPieceView* piece : pieces)
        lastBottom = std::max(lastBottom, piece->mapTo(scroll(), QPoint(0, piece->height())).y());
    EXPECT_LE(lastBottom, scroll()->height());
    EXPECT_GE(lastBottom, scroll()->height() - 4);
}

// Fixed-size stand-ins for pieces, so line breaks fall at known places.
QWidget* box(QWidget* parent, int width) {
    auto* widget = new QWidget(parent);
    widget->setFixedSize(width, 20);
    return widget;
}

TEST(FlowLayout, BreaksOnlyWhereASpaceWas) {
    QWidget host;
    auto* flow = new FlowLayout(&host);
    flow->setWordSpacing(10);
    flow->setLineSpacing(5);
    QWidget* first = box(&host, 50);
    QWidget* second = box(&host, 50);
    QWidget* comma = box(&host, 10);
    QWidget* third = box(&host, 50);
    flow->addWidget(first, true);
    flow->addWidget(second, true);
    flow->addWidget(comma, false);
    flow->addWidget(third, true);

    // "first second" fits in 110 but "first second," does not: the comma takes its word along.
    EXPECT_EQ(flow->heightForWidth(110), 20 + 5 + 20 + 5 + 20);
    flow->setGeometry(QRect(0, 0, 110, flow->heightForWidth(110)));
    EXPECT_EQ(second->pos(), QPoint(0, 25));
    EXPECT_EQ(comma->pos(), QPoint(50, 25));
    EXPECT_EQ(third->pos(), QPoint(0, 50));

    // Wide enough for everything: one line, spaced, the comma glued on.
    EXPECT_EQ(flow->heightForWidth(300), 20);
    flow->setGeometry(QRect(0, 0, 300, 20));
    EXPECT_EQ(second->pos(), QPoint(60, 0));
    EXPECT_EQ(comma->pos(), QPoint(110, 0));
    EXPECT_EQ(third->pos(), QPoint(130, 0));

    // A run wider than the line breaks inside rather than spilling out.
    EXPECT_EQ(flow->heightForWidth(55), 4 * 20 + 3 * 5);
    EXPECT_EQ(flow->heightForWidth(0), 4 * 20 + 3 * 5);

    flow->clear();
    EXPECT_EQ(flow->count(), 0);
    EXPECT_EQ(flow->heightForWidth(300), 0);
}

} // namespace
