#include "dictionary/SystemDictionaries.h"
#include "logs/EventLog.h"
#include "platform/DictionarySettingsOpener.h"

using namespace Qt::StringLiterals;

// Apart from the rest of SystemDictionaries: opening needs the desktop, the command line
// must not load it.
void SystemDictionaries::openDictionarySettings() {
    if (!DictionarySettingsOpener::open())
        EventLog::shared().append(EventLog::Kind::error, u"找不到「词典」App"_s);
}
