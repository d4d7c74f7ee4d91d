#include "ui/settings/DictionariesPage.h"

#include "ui/settings/SettingsForm.h"

using namespace Qt::StringLiterals;

DictionariesPage::DictionariesPage(SettingsContext&, QWidget* parent) : QWidget(parent) {
    SettingsForm::pageColumn(this, u"词典与翻译"_s);
}
