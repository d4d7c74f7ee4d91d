#pragma once

#include "settings/DefaultsStore.h"
#include "settings/SettingTable.h"

#include <QHash>
#include <QObject>
#include <QString>
#include <functional>
#include <map>
#include <optional>

// What the settings objects share. Each binds its settings to fields: a bound setting is read
// from the store at once, taken in whenever the store's value changes (another process, a
// person editing the file), written back by the object's setter, and offered as text to
// `quillet settings`. Main thread only.
class SettingsObject : public QObject {
    Q_OBJECT
public:
    // A setting as text: its value, and a change from text made through the object's setter
    // (nothing on success, else the message that says why the text was refused).
    struct AsText {
        std::function<QString()> read;
        std::function<std::optional<QString>(const QString& text)> write;
    };
    // Nothing for a setting this object does not hold.
    const AsText* asText(Settings::Id id) const;

Q_SIGNALS:
    // A setting took a different value, set here or stored elsewhere.
    void changed(Settings::Id setting);

protected:
    SettingsObject(DefaultsStore& store, QObject* parent);

    // Nothing when a value may be set from text, else why not.
    template <typename Value> using Check = std::function<std::optional<QString>(const Value&)>;

    // `setter` is the object's own, so that a change from text does what any change does.
    template <typename Kind, typename Object, typename Parameter>
    void bind(const Settings::Setting<Kind>& setting, typename Kind::Value& field,
              void (Object::*setter)(Parameter), Check<typename Kind::Value> check = {});

    // Sets `field`, writes it to the store, and announces it when it differs.
    template <typename Kind>
    void assign(const Settings::Setting<Kind>& setting, typename Kind::Value& field,
                typename Kind::Value value) {
        const bool differs = !(field == value);
        field = std::move(value);
        m_store.setValue(setting.key.toString(), Kind::stored(field));
        if (differs)
            Q_EMIT changed(setting.id);
    }

    // Sets `field` without storing it, and announces it when it differs.
    template <typename Value> void update(Settings::Id id, Value& field, Value value) {
        if (field == value)
            return;
        field = std::move(value);
        Q_EMIT changed(id);
    }

    // What the store holds for `setting`, if it is usable.
    template <typename Kind>
    std::optional<typename Kind::Value> storedValue(const Settings::Setting<Kind>& setting) const {
        return Kind::read(m_store, setting.key.toString());
    }

    DefaultsStore& m_store;

private:
    // Reads `setting` into `field` now and whenever the store's value changes.
    template <typename Kind>
    void follow(const Settings::Setting<Kind>& setting, typename Kind::Value& field);
    void adoptStoredValue(const QString& key);

    QHash<QString, std::function<void()>> m_adopters;
    std::map<Settings::Id, AsText> m_asText;
};

template <typename Kind, typename Object, typename Parameter>
void SettingsObject::bind(const Settings::Setting<Kind>& setting, typename Kind::Value& field,
                          void (Object::*setter)(Parameter), Check<typename Kind::Value> check) {
    if (setting.storage == Settings::Storage::file)
        follow(setting, field);
    AsText& entry = m_asText[setting.id];
    entry.read = [&field] {
        if constexpr (requires { Kind::describe(field); })
            return Kind::describe(field);
        else
            return Kind::text(field);
    };
    entry.write = [this, &setting, setter,
                   check = std::move(check)](const QString& text) -> std::optional<QString> {
        const std::optional<typename Kind::Value> value = Kind::parse(text);
        if (!value)
            return Settings::refusal(setting.key.toString(), Kind::hint(), text);
        if (check) {
            if (std::optional<QString> problem = check(*value))
                return problem;
        }
        (static_cast<Object*>(this)->*setter)(*value);
        return std::nullopt;
    };
}

template <typename Kind>
void SettingsObject::follow(const Settings::Setting<Kind>& setting, typename Kind::Value& field) {
    // What is stored, else the default; a setting without one keeps what it has.
    const auto current = [this, &setting] {
        std::optional<typename Kind::Value> stored = storedValue(setting);
        return stored ? stored : setting.fallback;
    };
    if (std::optional<typename Kind::Value> value = current())
        field = std::move(*value);
    m_adopters.insert(setting.key.toString(), [this, &setting, &field, current] {
        if (std::optional<typename Kind::Value> value = current())
            update(setting.id, field, std::move(*value));
    });
}
