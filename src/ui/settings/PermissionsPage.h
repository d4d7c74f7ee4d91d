#pragma once

#include "ui/settings/SettingsContext.h"

#include <QList>
#include <QWidget>

class CapabilityModel;
class CapabilityRow;

// The 「权限」 page: every capability the program relies on, with its state as it is now and
// a button for what the program can fix itself.
class PermissionsPage : public QWidget {
    Q_OBJECT
public:
    PermissionsPage(SettingsContext& context, QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void render();

    SettingsContext& m_context;
    CapabilityModel* m_model;
    QList<CapabilityRow*> m_rows;
};
