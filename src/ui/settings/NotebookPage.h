#pragma once

#include "ui/settings/SettingsContext.h"

#include <QWidget>

// The 「单词本」 page.
class NotebookPage : public QWidget {
    Q_OBJECT
public:
    NotebookPage(SettingsContext& context, QWidget* parent = nullptr);
};
