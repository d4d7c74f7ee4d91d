#include "platform/DictionarySettingsOpener.h"
#include "platform/linux/dictionaries/StarDictDictdShelf.h"

#include <QDesktopServices>
#include <QDir>
#include <QUrl>

namespace DictionarySettingsOpener {

// Until the program has a dictionary list of its own, the user's StarDict folder is where
// dictionaries are added and removed.
bool open() {
    const QStringList folders = StarDictDictdShelf::standardFolders().starDict;
    if (folders.isEmpty() || !QDir().mkpath(folders.first()))
        return false;
    // Without a GUI application object Qt has no opener and says no.
    return QDesktopServices::openUrl(QUrl::fromLocalFile(folders.first()));
}

} // namespace DictionarySettingsOpener
