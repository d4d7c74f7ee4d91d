#include "settings/SettingsObject.h"

SettingsObject::SettingsObject(DefaultsStore& store, QObject* parent)
    : QObject(parent), m_store(store) {
    connect(&m_store, &DefaultsStore::valueChanged, this, &SettingsObject::adoptStoredValue);
}

const SettingsObject::AsText* SettingsObject::asText(Settings::Id id) const {
    const auto found = m_asText.find(id);
    return found != m_asText.end() ? &found->second : nullptr;
}

void SettingsObject::adoptStoredValue(const QString& key) {
    const auto adopter = m_adopters.constFind(key);
    if (adopter != m_adopters.constEnd())
        (*adopter)();
}
