#pragma once

#include "capture/PermissionCenter.h"
#include "ui/settings/SettingsContext.h"

#include <QWidget>

class GrantRequest;
class HotKeyField;
class QButtonGroup;
class QCheckBox;
class QComboBox;
class QDoubleSpinBox;
class QVBoxLayout;

// The 「通用」 page's part about what starts a lookup: copy or the hot key (with its
// recorder), selection lookup, hover lookup and its key. Switches that need a grant the
// system has not given stay as they were, say why, and offer to ask for the grant.
class LookupTriggersSection : public QWidget {
    Q_OBJECT
public:
    LookupTriggersSection(SettingsContext& context, QWidget* parent = nullptr);

    // Sets every control to what the settings hold now.
    void showSettings();

private:
    using Feature = PermissionCenter::Feature;

    void addMethod(QVBoxLayout* column);
    void addSelection(QVBoxLayout* column);
    void addHover(QVBoxLayout* column);
    // Nothing where there is no permission center: every change is allowed.
    TriggerSettings::PermissionCheck checkFor(Feature feature) const;
    GrantRequest* grantRequest(Feature feature, const QString& name);
    // Shows the refusal, if any, beside the control; the control is set back by the caller.
    void showDenial(GrantRequest* grant, const std::optional<TriggerSettings::Denial>& denial);
    // Marks the stored hot key when the coordinator should hold it but the system refused it.
    void showHotKeyState();

    SettingsContext& m_context;
    TriggerSettings& m_triggers;
    QButtonGroup* m_method = nullptr;
    GrantRequest* m_methodGrant = nullptr;
    HotKeyField* m_hotKey = nullptr;
    QCheckBox* m_selection = nullptr;
    GrantRequest* m_selectionGrant = nullptr;
    QCheckBox* m_pointer = nullptr;
    GrantRequest* m_pointerGrant = nullptr;
    QComboBox* m_pointerKey = nullptr;
    QDoubleSpinBox* m_dwell = nullptr;
};
