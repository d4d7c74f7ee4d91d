#pragma once

#include <QList>
#include <QString>
#include <functional>
#include <optional>

// The dictionaries installed on the system, read one by one. Each OS supplies the functions;
// they may be called from any thread. The list is read once, when first needed, and again
// after a dictionary folder changes, if followChanges() was called.
namespace SystemDictionaryBridge {

struct Handle {
    QString identifier; // e.g. "stardict:langdao-ec-gb", "dictd:gcide"
    QString name;       // full name as the dictionary gives it
    QString shortName;  // the dictionary's own short name, if it has one
    QString version;    // changes whenever the dictionary's files do; empty when unknown

    bool operator==(const Handle& other) const { return identifier == other.identifier; }
};

// What an OS supplies; the program's start-up hands it over (Platform::install). Until then
// nothing is installed.
struct Backend {
    std::function<bool()> isAvailable;
    std::function<QList<Handle>()> activeDictionaries;
    std::function<std::optional<QString>(const QString& word, const Handle& handle)> rawDefinition;
    std::function<void()> followChanges;
};
void use(Backend backend);

// Lists the dictionaries now, off the calling thread, and again whenever one is installed or
// removed. For a long-running program; call on its main thread once its event loop exists.
void followChanges();

// Whether dictionaries can be read one by one; when not, only the whole-system definition
// (the first dictionary's answer) is available.
bool isAvailable();
// The dictionaries currently enabled, in the platform's order.
QList<Handle> activeDictionaries();
// One dictionary's plain-text definition of a word, trimmed; nothing for no or empty text.
std::optional<QString> rawDefinition(const QString& word, const Handle& handle);

} // namespace SystemDictionaryBridge
