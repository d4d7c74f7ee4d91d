#include "platform/SystemDictionaryBridge.h"

#include "platform/linux/dictionaries/DictionaryShelf.h"

// On Linux the system's dictionaries are the StarDict and dictd files in the standard
// folders, read by one shelf shared by the whole process.
namespace SystemDictionaryBridge {
namespace {

DictionaryShelf& shelf() {
    static DictionaryShelf shared(&DictionaryShelf::standardFolders,
                                  &DictionaryShelf::reportToEventLog);
    return shared;
}

} // namespace

bool isAvailable() {
    return true;
}

QList<Handle> activeDictionaries() {
    return shelf().dictionaries();
}

std::optional<QString> rawDefinition(const QString& word, const Handle& handle) {
    return shelf().definition(word, handle.identifier);
}

} // namespace SystemDictionaryBridge
