#include "settings/InterfaceSettings.h"

InterfaceSettings::InterfaceSettings(DefaultsStore& store, QObject* parent)
    : SettingsObject(store, parent) {
    bind(Settings::sawOnboarding, m_sawOnboarding, &InterfaceSettings::setSawOnboarding);
    bind(Settings::showsIdleNotch, m_showsIdleNotch, &InterfaceSettings::setShowsIdleNotch);
}

void InterfaceSettings::setSawOnboarding(bool saw) {
    assign(Settings::sawOnboarding, m_sawOnboarding, saw);
}

void InterfaceSettings::setShowsIdleNotch(bool shows) {
    assign(Settings::showsIdleNotch, m_showsIdleNotch, shows);
}
