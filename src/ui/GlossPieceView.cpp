#include "ui/GlossPieceView.h"

#include "ui/PanelStyle.h"

#include <QFontMetrics>
#include <QPainter>
#include <algorithm>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

constexpr int kVerticalPadding = 2;
constexpr int kPhrasePadding = 5;
constexpr int kLineGap = 1;
// A long sense under a short word is cut at about this many Chinese characters; the tooltip
// holds it whole.
constexpr int kChineseCharacters = 7;

// Whole pixels that hold the text: an advance rounded down would have it elided when drawn.
int widthOf(const QFont& font, const QString& text) {
    return static_cast<int>(std::ceil(QFontMetricsF(font).horizontalAdvance(text))) + 1;
}

} // namespace

GlossPieceView::GlossPieceView(const GlossPiece& piece, const QString& english, QWidget* parent)
    : QWidget(parent), m_english(english), m_chinese(piece.senses.value(0)),
      m_isPhrase(piece.isPhrase && piece.isGlossed()), m_englishFont(PanelStyle::latinFont(15)),
      m_chineseFont(PanelStyle::textFont(12)) {
    setObjectName(u"glossPiece"_s);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    if (piece.isGlossed()) {
        const QString senses = piece.senses.mid(0, 3).join(u"；"_s);
        setToolTip(piece.headword.compare(english, Qt::CaseInsensitive) == 0
                       ? senses
                       : piece.headword + u"："_s + senses);
    }
    setAccessibleName(m_chinese.isEmpty() ? m_english : m_english + u' ' + m_chinese);
}

int GlossPieceView::horizontalPadding() const {
    return m_isPhrase ? kPhrasePadding : 0;
}

QSize GlossPieceView::sizeHint() const {
    const QFontMetrics english(m_englishFont);
    int width = widthOf(m_englishFont, m_english);
    int height = kVerticalPadding + english.height();
    if (!m_chinese.isEmpty()) {
        const QFontMetrics chinese(m_chineseFont);
        const int cap = std::max(width, kChineseCharacters * m_chineseFont.pixelSize());
        width = std::max(width, std::min(widthOf(m_chineseFont, m_chinese), cap));
        height += kLineGap + chinese.height() + kVerticalPadding;
    }
    return {width + 2 * horizontalPadding(), height};
}

QSize GlossPieceView::minimumSizeHint() const {
    return sizeHint();
}

void GlossPieceView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (m_isPhrase) {
        painter.setPen(Qt::NoPen);
        QColor ground = PanelStyle::accent();
        ground.setAlpha(34);
        painter.setBrush(ground);
        painter.drawRoundedRect(QRectF(rect()), 6, 6);
    }
    const int pad = horizontalPadding();
    const int innerWidth = width() - 2 * pad;
    const QFontMetrics english(m_englishFont);
    painter.setFont(m_englishFont);
    painter.setPen(m_chinese.isEmpty() ? PanelStyle::secondaryText() : PanelStyle::primaryText());
    painter.drawText(pad, kVerticalPadding + english.ascent(),
                     english.elidedText(m_english, Qt::ElideRight, innerWidth));
    if (m_chinese.isEmpty())
        return;
    const QFontMetrics chinese(m_chineseFont);
    painter.setFont(m_chineseFont);
    painter.setPen(PanelStyle::accent());
    painter.drawText(pad, kVerticalPadding + english.height() + kLineGap + chinese.ascent(),
                     chinese.elidedText(m_chinese, Qt::ElideRight, innerWidth));
}
