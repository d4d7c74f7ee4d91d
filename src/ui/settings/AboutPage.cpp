#include "ui/settings/AboutPage.h"

#include "ui/settings/SettingsForm.h"

using namespace Qt::StringLiterals;

AboutPage::AboutPage(SettingsContext&, QWidget* parent) : QWidget(parent) {
    SettingsForm::pageColumn(this, u"关于"_s);
}
