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

bool SystemDictionaryCatalog::bundledComesFirst() const {
    return m_preferences.bundledLeadsOrder();
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
    std::optional<SystemDictionaryBridge::Handle> handle;
    for (const SystemDictionaryBridge::Handle& each : SystemDictionaryBridge::activeDictionaries())
        if (each.identifier == identifier)
            handle = each;
    const QString version = handle ? handle->version : QString();
    {
        const std::lock_guard lock(m_verdictsMutex);
        const auto known = m_verdicts.constFind(identifier);
        if (known != m_verdicts.constEnd() && known->version == version)
            return known->chineseGloss;
    }
    const bool verdict = handle ? SystemDictionaries::givesChineseGloss(*handle)
                                : SystemDictionaries::givesChineseGloss(identifier);
    const std::lock_guard lock(m_verdictsMutex);
    m_verdicts.insert(identifier, {version, verdict});
    return verdict;
}

void SystemDictionaryCatalog::whenChanged(QObject* context, std::function<void()> listener) const {
    SystemDictionaryBridge::whenListed(context, std::move(listener));
}
