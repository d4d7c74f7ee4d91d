#include "ui/settings/SettingsPageFactory.h"

#include "ui/settings/AboutPage.h"
#include "ui/settings/DictionariesPage.h"
#include "ui/settings/EventLogPage.h"
#include "ui/settings/FilterPage.h"
#include "ui/settings/GeneralPage.h"
#include "ui/settings/NotebookPage.h"
#include "ui/settings/PermissionsPage.h"

QWidget* makeSettingsPage(SettingsPage page, SettingsContext& context, QWidget* parent) {
    switch (page) {
    case SettingsPage::general:
        return new GeneralPage(context, parent);
    case SettingsPage::dictionaries:
        return new DictionariesPage(context, parent);
    case SettingsPage::filter:
        return new FilterPage(context, parent);
    case SettingsPage::notebook:
        return new NotebookPage(context, parent);
    case SettingsPage::permissions:
        return new PermissionsPage(context, parent);
    case SettingsPage::eventLog:
        return new EventLogPage(context.log, parent);
    case SettingsPage::about:
        return new AboutPage(context, parent);
    }
    return nullptr;
}
