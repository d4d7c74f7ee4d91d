#include "settings/SettingsCatalog.h"

#include "settings/SettingsObject.h"

SettingsCatalog::SettingsCatalog(const QList<const SettingsObject*>& objects) {
    for (const Settings::Entry& entry : Settings::entries()) {
        for (const SettingsObject* object : objects) {
            if (const SettingsObject::AsText* text = object->asText(entry.id)) {
                m_settings.append({entry.key, entry.hint, text->read, text->write});
                break;
            }
        }
    }
}

const SettingsCatalog::Setting* SettingsCatalog::find(const QString& key) const {
    for (const Setting& setting : m_settings) {
        if (setting.key == key)
            return &setting;
    }
    return nullptr;
}
