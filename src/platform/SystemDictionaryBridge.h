#pragma once

#include <QList>
#include <QString>
#include <functional>
#include <optional>

// The dictionaries installed on the system, read one by one. Each OS supplies the functions;
// they may be called from any thread, and the list is re-read on every call so a dictionary
// installed while the program runs answers the next lookup.
namespace SystemDictionaryBridge {

struct Handle {
    QString identifier; // e.g. "stardict:langdao-ec-gb", "dictd:gcide"
    QString name;       // full name as the dictionary gives it
    QString shortName;  // the dictionary's own short name, if it has one

    bool operator==(const Handle& other) const { return identifier == other.identifier; }
};

// What an OS supplies; the program's start-up hands it over (Platform::install). Until then
// nothing is installed.
struct Backend {
    std::function<bool()> isAvailable;
    std::function<QList<Handle>()> activeDictionaries;
    std::function<std::optional<QString>(const QString& word, const Handle& handle)> rawDefinition;
};
void use(Backend backend);

// Whether dictionaries can be read one by one; when not, only the whole-system definition
// (the first dictionary's answer) is available.
bool isAvailable();
// The dictionaries currently enabled, in the platform's order.
QList<Handle> activeDictionaries();
// One dictionary's plain-text definition of a word, trimmed; nothing for no or empty text.
std::optional<QString> rawDefinition(const QString& word, const Handle& handle);

} // namespace SystemDictionaryBridge
