#pragma once

#include "keys/HotKeySpec.h"
#include "settings/DefaultsStore.h"

#include <QString>
#include <QStringList>
#include <QStringView>
#include <QUrl>
#include <QVariant>
#include <array>
#include <optional>
#include <type_traits>
#include <utility>

// The kinds of value a setting holds. Each says how the value is read from the store (nothing
// when it is absent or unusable there), the form it is stored in, how `quillet settings`
// shows it as text and reads it back from text, and what a valid text looks like (`hint`).
namespace Settings {

// The message for a text a setting cannot take, e.g. "「speaksOnLookup」需要布尔值（true 或
// false），收到「maybe」。"
QString refusal(const QString& key, const QString& hint, const QString& text);

struct Flag {
    using Value = bool;
    static std::optional<bool> read(const DefaultsStore& store, const QString& key) {
        return store.boolIfPresent(key);
    }
    static QVariant stored(bool value) { return value; }
    static QString text(bool value);
    // Also on/off and 1/0, in any case.
    static std::optional<bool> parse(const QString& text);
    static QString hint();
};

// Seconds from 0 to 10, written as a plain decimal number.
struct Seconds {
    using Value = double;
    static std::optional<double> read(const DefaultsStore& store, const QString& key) {
        return store.doubleIfPresent(key);
    }
    static QVariant stored(double value) { return value; }
    static QString text(double value) { return QString::number(value); }
    static std::optional<double> parse(const QString& text);
    static QString hint();
};

// Texts; shown as a JSON array.
struct TextList {
    using Value = QStringList;
    static std::optional<QStringList> read(const DefaultsStore& store, const QString& key) {
        return store.stringListIfPresent(key);
    }
    static QVariant stored(const QStringList& value) { return value; }
    static QString text(const QStringList& value);
    static std::optional<QStringList> parse(const QString& text);
    static QString hint();
};

// Texts that count as absent when there are none stored.
struct NonEmptyTextList : TextList {
    static std::optional<QStringList> read(const DefaultsStore& store, const QString& key);
};

// The names of an enumeration's values, in the order messages list them.
template <typename Enum, std::size_t count>
using ChoiceNames = std::array<std::pair<Enum, QStringView>, count>;

// One of a few named values, stored and shown by its name.
template <const auto& names> struct Choice {
    using Value = std::remove_cvref_t<decltype(names[0].first)>;

    static std::optional<Value> read(const DefaultsStore& store, const QString& key) {
        const std::optional<QString> name = store.stringIfPresent(key);
        return name ? named(*name) : std::nullopt;
    }
    static QVariant stored(Value value) { return text(value); }
    static QString text(Value value) {
        for (const auto& [candidate, name] : names) {
            if (candidate == value)
                return name.toString();
        }
        return names[0].second.toString();
    }
    static std::optional<Value> parse(const QString& text) { return named(text.trimmed()); }
    static QString hint() {
        QStringList all;
        for (const auto& entry : names)
            all.append(entry.second.toString());
        return all.join(QStringLiteral(" 或 "));
    }
    static std::optional<Value> named(QStringView name) {
        for (const auto& [value, candidate] : names) {
            if (candidate == name)
                return value;
        }
        return std::nullopt;
    }
};

// An http or https address with a host, and nothing else (no user, query or fragment); a
// trailing "/" is dropped.
struct ServerAddress {
    using Value = QUrl;
    static std::optional<QUrl> read(const DefaultsStore& store, const QString& key);
    static QVariant stored(const QUrl& value) { return value.toString(); }
    static QString text(const QUrl& value) { return value.toString(); }
    static std::optional<QUrl> parse(const QString& text);
    static QString hint();
};

// A name without white space or control characters.
struct ModelName {
    using Value = QString;
    static std::optional<QString> read(const DefaultsStore& store, const QString& key);
    static QVariant stored(const QString& value) { return value; }
    static QString text(const QString& value) { return value; }
    static std::optional<QString> parse(const QString& text);
    static QString hint();
};

// A hot key, or none. Stored as its JSON in data; empty or undecodable data is none, which
// an absent key is not.
struct OptionalHotKey {
    using Value = std::optional<HotKeySpec>;
    static std::optional<Value> read(const DefaultsStore& store, const QString& key);
    static QVariant stored(const Value& value);
    static QString text(const Value& value);
    // The text followed by the name people read, e.g. {"keyCode":2,"modifiers":6400}（…）.
    static QString describe(const Value& value);
    // "none", or JSON naming at least one of control, option and command.
    static std::optional<Value> parse(const QString& text);
    static QString hint();
};

} // namespace Settings
