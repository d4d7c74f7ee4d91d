#pragma once

#include "lookup/Gloss.h"

#include <QList>
#include <QWidget>

class FlowLayout;
class QLabel;
class QPushButton;

// A word-by-word gloss: a quiet label saying that is what it is, a way to whole-sentence
// translations, and the English laid out piece by piece with each known word or phrase's
// Chinese under it, wrapping like text. A text with one glossed piece ("water.", "give up")
// shows that piece's senses larger instead, like a small entry.
class GlossView : public QWidget {
    Q_OBJECT
public:
    explicit GlossView(QWidget* parent = nullptr);

    void setPieces(const QList<GlossPiece>& pieces);
    // Whether the text is shown as one entry rather than piece by piece.
    bool showsEntry() const { return m_showsEntry; }

Q_SIGNALS:
    // The user asked how to get whole-sentence translations.
    void fullTranslationRequested();

private:
    void showEntry(const QList<GlossPiece>& pieces, const GlossPiece& piece);
    void showFlow(const QList<GlossPiece>& pieces);

    QWidget* m_flow;
    FlowLayout* m_flowLayout;
    QLabel* m_original;
    QLabel* m_headword;
    QLabel* m_senses;
    bool m_showsEntry = false;
};
