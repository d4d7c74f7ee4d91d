#pragma once

#include "settings/SettingsObject.h"

// What the windows remember: whether onboarding was seen, and whether the panel stays on
// screen as a small notch between lookups. Main thread only.
class InterfaceSettings : public SettingsObject {
    Q_OBJECT
public:
    static InterfaceSettings& shared();
    explicit InterfaceSettings(DefaultsStore& store, QObject* parent = nullptr);

    bool sawOnboarding() const { return m_sawOnboarding; }
    bool showsIdleNotch() const { return m_showsIdleNotch; }

    void setSawOnboarding(bool saw);
    void setShowsIdleNotch(bool shows);

private:
    bool m_sawOnboarding = false;
    bool m_showsIdleNotch = true;
};
