#include "ui/NoticeView.h"

#include "ui/Icons.h"
#include "ui/PanelStyle.h"

#include <QGridLayout>
#include <QLabel>
#include <QPushButton>
#include <QStyle>

using namespace Qt::StringLiterals;

NoticeView::NoticeView(QWidget* parent)
    : QWidget(parent), m_icon(new QLabel(this)),
      m_text(PanelStyle::label(PanelStyle::textFont(15), PanelStyle::Tone::primary, this)),
      m_retry(new QPushButton(u"仍然查询"_s, this)) {
    m_icon->setFixedSize(20, 20);
    m_text->setWordWrap(true);
    m_retry->setObjectName(u"retryButton"_s);
    m_retry->setProperty("role", u"secondary"_s);
    m_retry->setFont(PanelStyle::textFont(13));
    m_retry->setFocusPolicy(Qt::NoFocus);
    m_retry->setCursor(Qt::PointingHandCursor);
    connect(m_retry, &QPushButton::clicked, this, &NoticeView::retryRequested);

    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(2, 4, 2, 2);
    layout->setHorizontalSpacing(10);
    layout->setVerticalSpacing(10);
    layout->addWidget(m_icon, 0, 0, Qt::AlignTop);
    layout->addWidget(m_text, 0, 1);
    layout->addWidget(m_retry, 1, 1, Qt::AlignRight);
    layout->setColumnStretch(1, 1);
}

void NoticeView::setMessage(Tone tone, const QString& message, bool offersRetry) {
    static constexpr const char16_t* kIcons[] = {u"alert", u"info", u"quillet"};
    m_icon->setPixmap(Icons::panel(QString::fromUtf16(kIcons[static_cast<int>(tone)]))
                          .pixmap(QSize(20, 20), devicePixelRatioF()));
    m_text->setProperty("tone", tone == Tone::hint ? u"secondary"_s : QString());
    m_text->style()->unpolish(m_text);
    m_text->style()->polish(m_text);
    m_text->setText(message);
    m_retry->setVisible(offersRetry);
}

QString NoticeView::message() const {
    return m_text->text();
}
