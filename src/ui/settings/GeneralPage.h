#pragma once

#include "ui/settings/SettingsContext.h"

#include <QWidget>

// The 「通用」 page.
class GeneralPage : public QWidget {
    Q_OBJECT
public:
    GeneralPage(SettingsContext& context, QWidget* parent = nullptr);
};
