#include "ui/settings/NotebookPage.h"

#include "ui/settings/SettingsForm.h"

using namespace Qt::StringLiterals;

NotebookPage::NotebookPage(SettingsContext&, QWidget* parent) : QWidget(parent) {
    SettingsForm::pageColumn(this, u"单词本"_s);
}
