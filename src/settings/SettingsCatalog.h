#pragma once

#include <QList>
#include <QString>
#include <functional>
#include <optional>

class SettingsObject;

// Every user setting by its key, read and written as text through the settings objects, so
// their type rules and change handling apply (used by `quillet settings`).
class SettingsCatalog {
public:
    struct Setting {
        QString key;
        QString valueHint; // what a valid value looks like, for messages
        std::function<QString()> read;
        // Nothing on success, else the message that says why the value was refused.
        std::function<std::optional<QString>(const QString& value)> write;
    };

    // The settings `objects` hold, in the settings table's order.
    explicit SettingsCatalog(const QList<const SettingsObject*>& objects);

    const QList<Setting>& settings() const { return m_settings; }
    const Setting* find(const QString& key) const;

private:
    QList<Setting> m_settings;
};
