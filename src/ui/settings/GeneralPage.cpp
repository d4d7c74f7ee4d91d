#include "ui/settings/GeneralPage.h"

#include "ui/settings/SettingsForm.h"

using namespace Qt::StringLiterals;

GeneralPage::GeneralPage(SettingsContext&, QWidget* parent) : QWidget(parent) {
    SettingsForm::pageColumn(this, u"通用"_s);
}
