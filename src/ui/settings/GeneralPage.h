#pragma once

#include "ui/settings/SettingsContext.h"

#include <QWidget>

class LookupTriggersSection;
class QCheckBox;
class QComboBox;
class QLabel;

// The 「通用」 page: starting at login, what starts a lookup, how the panel behaves, and what
// a second launch opens. Every control follows its setting, whoever changes it.
class GeneralPage : public QWidget {
    Q_OBJECT
public:
    GeneralPage(SettingsContext& context, QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;

private:
    void showSettings();
    void showLaunchAtLoginFailure();

    SettingsContext& m_context;
    QCheckBox* m_launchAtLogin;
    QLabel* m_launchAtLoginFailure;
    LookupTriggersSection* m_triggers;
    QCheckBox* m_speaks;
    QCheckBox* m_idleNotch;
    QCheckBox* m_expandsOnHover;
    QComboBox* m_reopenTarget;
};
