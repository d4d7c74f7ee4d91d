#include "dictionary/SystemDictionaryCatalog.h"

#include "dictionary/DictionaryLookup.h"
#include "dictionary/SystemDictionaries.h"
#include "platform/SystemDictionaryBridge.h"
#include "settings/Preferences.h"

SystemDictionaryCatalog::SystemDictionaryCatalog(const Preferences& preferences)
    : m_preferences(preferences) {}

QStringList SystemDictionaryCatalog::effectiveDictionaryOrder() const {
    return m_preferences.effectiveDictionaryOrder();
}

std::optional<QList<WordSourceCatalog::SystemDictionary>>
SystemDictionaryCatalog::activeDictionaries() const {
    if (!SystemDictionaryBridge::isAvailable())
        return std::nullopt;
    QList<SystemDictionary> dictionaries;
    for (const SystemDictionaryBridge::Handle& handle :
         SystemDictionaryBridge::activeDictionaries()) {
        dictionaries.append(
            {.identifier = handle.identifier,
             .name = handle.name,
             .tabName = SystemDictionaries::tabName(handle.identifier, handle.name)});
    }
    return dictionaries;
}

std::optional<QString> SystemDictionaryCatalog::definition(const SystemDictionary& dictionary,
                                                           const QString& term) const {
    return SystemDictionaryBridge::rawDefinition(
        term, SystemDictionaryBridge::Handle{dictionary.identifier, dictionary.name, {}});
}

std::optional<QString> SystemDictionaryCatalog::wholeSystemDefinition(const QString& term) const {
    return DictionaryLookup::rawDefinition(term);
}

QList<DictionaryEntry>
SystemDictionaryCatalog::parseDefinition(const QString& text,
                                         const QString& fallbackHeadword) const {
    return DictionaryLookup::parse(text, fallbackHeadword);
}

bool SystemDictionaryCatalog::givesChineseGloss(const QString& identifier) const {
    return SystemDictionaries::givesChineseGloss(identifier);
}
