#include "ui/LoadingView.h"

#include "ui/PanelStyle.h"
#include "ui/Spinner.h"

#include <QHBoxLayout>
#include <QLabel>

using namespace Qt::StringLiterals;

LoadingView::LoadingView(QWidget* parent)
    : QWidget(parent),
      m_text(PanelStyle::label(PanelStyle::textFont(14), PanelStyle::Tone::secondary, this)) {
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(2, 4, 2, 4);
    layout->setSpacing(10);
    layout->addWidget(new Spinner(this));
    // The text is elided to whatever width the panel gives; it must not widen the layout.
    m_text->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
    layout->addWidget(m_text, 1);
}

void LoadingView::setQuery(const QString& query) {
    m_query = query;
    elide();
}

void LoadingView::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    elide();
}

void LoadingView::elide() {
    // Line breaks of a copied paragraph would wrap the one-line layout.
    const QString flat = m_query.simplified();
    const QString frame = u"正在查询「%1」"_s;
    const int room =
        m_text->width() - m_text->fontMetrics().horizontalAdvance(frame.arg(QString()));
    m_text->setText(frame.arg(m_text->fontMetrics().elidedText(flat, Qt::ElideRight, room)));
}
