#pragma once

#include "ui/settings/SettingsContext.h"

#include <QWidget>

// The 「词典与翻译」 page.
class DictionariesPage : public QWidget {
    Q_OBJECT
public:
    DictionariesPage(SettingsContext& context, QWidget* parent = nullptr);
};
