#pragma once

#include "ui/settings/SettingsContext.h"

#include <QWidget>

// The 「关于」 page.
class AboutPage : public QWidget {
    Q_OBJECT
public:
    AboutPage(SettingsContext& context, QWidget* parent = nullptr);
};
