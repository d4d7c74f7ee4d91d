#pragma once

#include "ui/settings/SettingsContext.h"

#include <QWidget>

class QCheckBox;

// The 「过滤」 page: the one switch of the text filter, with what it lets through and what
// stays refused whatever it says.
class FilterPage : public QWidget {
    Q_OBJECT
public:
    FilterPage(SettingsContext& context, QWidget* parent = nullptr);

private:
    QCheckBox* m_showsEverything;
};
