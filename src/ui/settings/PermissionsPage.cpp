#include "ui/settings/PermissionsPage.h"

#include "ui/settings/SettingsForm.h"

using namespace Qt::StringLiterals;

PermissionsPage::PermissionsPage(SettingsContext&, QWidget* parent) : QWidget(parent) {
    SettingsForm::pageColumn(this, u"权限"_s);
}
