#include "ui/HeadlineView.h"

#include "ui/PanelStyle.h"

#include <QFontMetrics>
#include <QPainter>
#include <QStringList>

namespace {
constexpr int kGap = 10;
constexpr int kLineGap = 2;
} // namespace

HeadlineView::HeadlineView(QWidget* parent)
    : QWidget(parent), m_wordFont(PanelStyle::latinFont(24, QFont::DemiBold)),
      m_phoneticFont(PanelStyle::latinFont(15)) {
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

void HeadlineView::setHeadline(const QString& word, const std::optional<QString>& phonetic) {
    m_word = word;
    m_phonetic = phonetic.value_or(QString());
    updateGeometry();
    update();
}

QString HeadlineView::text() const {
    QStringList parts;
    if (!m_word.isEmpty())
        parts.append(m_word);
    if (!m_phonetic.isEmpty())
        parts.append(m_phonetic);
    return parts.join(u' ');
}

bool HeadlineView::fitsOnOneLine(int width) const {
    if (m_phonetic.isEmpty())
        return true;
    const int needed = QFontMetrics(m_wordFont).horizontalAdvance(m_word) + kGap +
                       QFontMetrics(m_phoneticFont).horizontalAdvance(m_phonetic);
    return needed <= width;
}

int HeadlineView::heightForWidth(int width) const {
    const int wordHeight = QFontMetrics(m_wordFont).height();
    if (fitsOnOneLine(width))
        return wordHeight;
    return wordHeight + kLineGap + QFontMetrics(m_phoneticFont).height();
}

QSize HeadlineView::sizeHint() const {
    const int width = QFontMetrics(m_wordFont).horizontalAdvance(m_word) + kGap +
                      QFontMetrics(m_phoneticFont).horizontalAdvance(m_phonetic);
    return {width, heightForWidth(width)};
}

void HeadlineView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    painter.setRenderHint(QPainter::TextAntialiasing);
    const QFontMetrics wordMetrics(m_wordFont);
    const QFontMetrics phoneticMetrics(m_phoneticFont);
    const int baseline = wordMetrics.ascent();

    painter.setFont(m_wordFont);
    painter.setPen(PanelStyle::primaryText());
    const QString word = wordMetrics.elidedText(m_word, Qt::ElideRight, width());
    painter.drawText(0, baseline, word);
    if (m_phonetic.isEmpty())
        return;

    painter.setFont(m_phoneticFont);
    painter.setPen(PanelStyle::secondaryText());
    if (fitsOnOneLine(width())) {
        painter.drawText(wordMetrics.horizontalAdvance(word) + kGap, baseline, m_phonetic);
    } else {
        const int secondBaseline = wordMetrics.height() + kLineGap + phoneticMetrics.ascent();
        painter.drawText(0, secondBaseline,
                         phoneticMetrics.elidedText(m_phonetic, Qt::ElideRight, width()));
    }
}
