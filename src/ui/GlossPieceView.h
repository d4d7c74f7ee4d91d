#pragma once

#include "lookup/Gloss.h"

#include <QFont>
#include <QWidget>

// One piece of a glossed text as a unit: its English, and under a glossed piece its first
// Chinese sense. A phrase sits on a tinted ground so it reads as one unit; an unglossed piece
// (punctuation, a name, an unknown word) is only its English, in a quieter colour.
class GlossPieceView : public QWidget {
    Q_OBJECT
    Q_PROPERTY(QString english READ english CONSTANT)
    Q_PROPERTY(QString chinese READ chinese CONSTANT)
    Q_PROPERTY(bool isPhrase READ isPhrase CONSTANT)
public:
    // `english` is the piece's text without the spaces around it.
    GlossPieceView(const GlossPiece& piece, const QString& english, QWidget* parent = nullptr);

    QString english() const { return m_english; }
    // The sense shown (before any eliding); empty for an unglossed piece.
    QString chinese() const { return m_chinese; }
    bool isPhrase() const { return m_isPhrase; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int horizontalPadding() const;

    QString m_english;
    QString m_chinese;
    bool m_isPhrase;
    QFont m_englishFont;
    QFont m_chineseFont;
};
