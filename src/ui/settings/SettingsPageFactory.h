#pragma once

#include "ui/settings/SettingsContext.h"
#include "ui/settings/SettingsPage.h"

class QWidget;

// Builds one page of the settings window.
QWidget* makeSettingsPage(SettingsPage page, SettingsContext& context, QWidget* parent);
