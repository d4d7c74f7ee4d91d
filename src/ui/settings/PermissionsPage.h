#pragma once

#include "ui/settings/SettingsContext.h"

#include <QWidget>

// The 「权限」 page.
class PermissionsPage : public QWidget {
    Q_OBJECT
public:
    PermissionsPage(SettingsContext& context, QWidget* parent = nullptr);
};
