#include "ui/settings/CapabilityRow.h"

#include "ui/PanelStyle.h"

#include <QGridLayout>
#include <QLabel>
#include <QPushButton>

using namespace Qt::StringLiterals;

CapabilityRow::CapabilityRow(Capability::Id id, QWidget* parent)
    : QFrame(parent), m_id(id), m_name(PanelStyle::label(PanelStyle::textFont(14, QFont::DemiBold),
                                                         PanelStyle::Tone::primary, this)),
      m_state(PanelStyle::label(PanelStyle::textFont(13, QFont::DemiBold),
                                PanelStyle::Tone::secondary, this)),
      m_explanation(PanelStyle::label(PanelStyle::textFont(12), PanelStyle::Tone::secondary, this)),
      m_fixButton(new QPushButton(this)) {
    setObjectName(u"capability."_s + CapabilityModel::rawName(id));
    setAttribute(Qt::WA_StyledBackground);
    setStyleSheet(u"CapabilityRow { background: rgba(255,255,255,12); border-radius: 10px; }"_s);
    m_state->setObjectName(u"capabilityState"_s);
    m_explanation->setObjectName(u"capabilityExplanation"_s);
    m_explanation->setWordWrap(true);
    m_fixButton->setObjectName(u"capabilityFix"_s);
    m_fixButton->hide();

    auto* layout = new QGridLayout(this);
    layout->setContentsMargins(14, 10, 14, 12);
    layout->setHorizontalSpacing(12);
    layout->setVerticalSpacing(4);
    layout->addWidget(m_name, 0, 0);
    layout->addWidget(m_state, 0, 1);
    layout->setColumnStretch(2, 1);
    layout->addWidget(m_fixButton, 0, 3, 2, 1, Qt::AlignRight | Qt::AlignVCenter);
    layout->addWidget(m_explanation, 1, 0, 1, 3);

    connect(m_fixButton, &QPushButton::clicked, this, [this] { Q_EMIT fixRequested(m_fix); });
}

void CapabilityRow::display(const Capability& capability) {
    m_name->setText(capability.name);
    m_state->setText(capability.state);
    // Working in the accent, fixable in the warning colour, the rest quiet.
    const QColor tone = capability.works                          ? PanelStyle::accent()
                        : capability.fix != Capability::Fix::none ? PanelStyle::warning()
                                                                  : PanelStyle::secondaryText();
    m_state->setStyleSheet(u"color: %1;"_s.arg(PanelStyle::css(tone)));
    m_explanation->setText(capability.explanation);
    m_explanation->setVisible(!capability.explanation.isEmpty());
    m_fix = capability.fix;
    m_fixButton->setText(capability.fixLabel);
    m_fixButton->setVisible(capability.fix != Capability::Fix::none);
}
