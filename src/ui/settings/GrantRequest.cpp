#include "ui/settings/GrantRequest.h"

#include "ui/settings/SettingsForm.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>

using namespace Qt::StringLiterals;

GrantRequest::GrantRequest(PermissionCenter& permissions, PermissionCenter::Feature feature,
                           QWidget* parent)
    : QWidget(parent), m_permissions(permissions), m_feature(feature),
      m_reason(SettingsForm::refusal(this)),
      m_ask(new QPushButton(
          u"授权「%1」"_s.arg(PermissionCenter::displayName(PermissionCenter::needs(feature))),
          this)) {
    m_ask->setObjectName(u"grantButton"_s);
    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(8);
    layout->addWidget(m_reason);
    layout->addWidget(m_ask);
    layout->addStretch(1);
    connect(m_ask, &QPushButton::clicked, this,
            [this] { m_permissions.requestAccess(PermissionCenter::needs(m_feature)); });
    hide();
}

void GrantRequest::refuse(const TriggerSettings::Denial& denial) {
    SettingsForm::showRefusal(m_reason, denial.message);
    show();
    m_permissions.want(m_feature);
}

void GrantRequest::clear() {
    SettingsForm::showRefusal(m_reason, QString());
    hide();
}
