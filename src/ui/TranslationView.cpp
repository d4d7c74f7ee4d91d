#include "ui/TranslationView.h"

#include "ui/PanelStyle.h"

#include <QLabel>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace {

// Paragraph breaks kept, with air between lines: Chinese set solid is hard to read.
QString paragraphs(const QString& text, int lineHeightPercent) {
    QString html;
    for (const QString& paragraph : text.split(u'\n', Qt::SkipEmptyParts))
        html += u"<p style=\"margin:0 0 6px 0;line-height:%1%\">%2</p>"_s.arg(
            QString::number(lineHeightPercent), paragraph.trimmed().toHtmlEscaped());
    return html;
}

} // namespace

TranslationView::TranslationView(QWidget* parent)
    : QWidget(parent),
      m_original(PanelStyle::label(PanelStyle::latinFont(13), PanelStyle::Tone::secondary, this)),
      m_translation(PanelStyle::label(PanelStyle::textFont(17), PanelStyle::Tone::primary, this)) {
    for (QLabel* label : {m_original, m_translation}) {
        label->setTextFormat(Qt::RichText);
        label->setWordWrap(true);
    }
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 4, 0);
    layout->setSpacing(8);
    layout->addWidget(m_original);
    layout->addWidget(m_translation);
}

void TranslationView::setTexts(const QString& original, const QString& translation) {
    m_original->setText(paragraphs(original, 125));
    m_original->setVisible(!original.isEmpty());
    m_translation->setText(paragraphs(translation, 140));
}
