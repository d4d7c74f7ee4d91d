#pragma once

#include <QList>
#include <QString>
#include <functional>
#include <optional>

class QObject;

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

// A folder dictionaries are read from, and the format of the files it holds.
struct Folder {
    QString path;
    QString format;        // "StarDict", "dictd"
    bool personal = false; // the user's own, as opposed to the system's
};

// What an OS supplies; the program's start-up hands it over (Platform::install). Until then
// nothing is installed.
struct Backend {
    std::function<bool()> isAvailable;
    std::function<QList<Handle>()> activeDictionaries;
    std::function<std::optional<QString>(const QString& word, const Handle& handle)> rawDefinition;
    std::function<void()> followChanges;
    std::function<void(QObject* context, std::function<void()> listener)> whenListed;
    std::function<QList<Folder>()> folders;
};
void use(Backend backend);

// Lists the dictionaries now, off the calling thread, and again whenever one is installed or
// removed. For a long-running program; call on its main thread once its event loop exists.
void followChanges();

// Calls `listener` on `context`'s thread each time the list has been read again after a
// change, for as long as `context` lives. Only while changes are followed.
void whenListed(QObject* context, std::function<void()> listener);

// The folders dictionaries are read from, the user's first; empty where the OS keeps its
// dictionaries elsewhere.
QList<Folder> folders();

// Whether dictionaries can be read one by one; when not, only the whole-system definition
// (the first dictionary's answer) is available.
bool isAvailable();
// The dictionaries currently enabled, in the platform's order.
QList<Handle> activeDictionaries();
// One dictionary's plain-text definition of a word, trimmed; nothing for no or empty text.
std::optional<QString> rawDefinition(const QString& word, const Handle& handle);

} // namespace SystemDictionaryBridge
