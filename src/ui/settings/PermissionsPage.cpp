#include "ui/settings/PermissionsPage.h"

#include "capture/PermissionCenter.h"
#include "core/CapabilityModel.h"
#include "ui/DesktopSessionDetection.h"
#include "ui/settings/CapabilityRow.h"
#include "ui/settings/SettingsForm.h"

#include <QLabel>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

using Id = Capability::Id;

PermissionsPage::PermissionsPage(SettingsContext& context, QWidget* parent)
    : QWidget(parent), m_context(context),
      m_model(new CapabilityModel({.session = detectDesktopSession(),
                                   .permissions = context.permissions,
                                   .accessibility = context.accessibility,
                                   .translator = &context.translator,
                                   .screenText = context.screenText},
                                  this)) {
    QVBoxLayout* column = SettingsForm::pageColumn(this, u"权限"_s);
    QLabel* rule = SettingsForm::hint(PermissionCenter::ruleText(), this);
    rule->setObjectName(u"ruleText"_s);
    column->addWidget(rule);

    const auto section = [&](const QString& title, std::initializer_list<Id> ids) {
        column->addWidget(SettingsForm::sectionTitle(title, this));
        for (const Id id : ids) {
            auto* row = new CapabilityRow(id, this);
            connect(row, &CapabilityRow::fixRequested, this, [this, id](Capability::Fix fix) {
                if (fix == Capability::Fix::askForGrant)
                    m_model->askForGrant(id);
                else if (fix == Capability::Fix::showTranslationSettings && m_context.showPage)
                    m_context.showPage(SettingsPage::dictionaries);
            });
            column->addWidget(row);
            m_rows.append(row);
        }
    };
    section(u"系统授权"_s, {Id::accessibility, Id::screenRecording});
    section(u"桌面"_s, {Id::session});
    section(u"组件"_s, {Id::translationModel, Id::browserConnector, Id::recognitionData});

    connect(m_model, &CapabilityModel::changed, this, &PermissionsPage::render);
    render();
}

void PermissionsPage::showEvent(QShowEvent* event) {
    QWidget::showEvent(event);
    // The desktop may have changed a grant without saying so; the answer arrives as a change.
    if (m_context.permissions)
        m_context.permissions->refresh();
}

void PermissionsPage::render() {
    for (CapabilityRow* row : m_rows) {
        Capability capability = m_model->capability(row->id());
        if (capability.fix == Capability::Fix::showTranslationSettings && !m_context.showPage)
            capability.fix = Capability::Fix::none;
        row->display(capability);
    }
}
