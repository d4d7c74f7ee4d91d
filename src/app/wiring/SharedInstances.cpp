// The program's shared instances and how they are wired together: the one place where a
// settings object meets its store, the notebook its gloss, and the gloss its dictionaries.
// Both programs link this; the libraries below only receive what they use.
#include "dictionary/BundledDictionary.h"
#include "dictionary/SystemDictionaries.h"
#include "dictionary/SystemDictionaryCatalog.h"
#include "logs/EventLog.h"
#include "lookup/LookupEngine.h"
#include "lookup/UnsupportedTranslationEngine.h"
#include "notebook/InlineGloss.h"
#include "notebook/Vocabulary.h"
#include "platform/PlatformPaths.h"
#include "settings/DefaultsStore.h"
#include "settings/FilterPreferences.h"
#include "settings/InterfaceSettings.h"
#include "settings/Preferences.h"
#include "settings/TranslationSettings.h"
#include "settings/TriggerSettings.h"

Preferences& Preferences::shared() {
    static Preferences preferences(
        DefaultsStore::shared(),
        Dictionaries{&SystemDictionaries::activeIdentifiers, [](const QString& identifier) {
                         return SystemDictionaries::givesChineseGloss(identifier);
                     }});
    return preferences;
}

TriggerSettings& TriggerSettings::shared() {
    static TriggerSettings settings(DefaultsStore::shared());
    return settings;
}

TranslationSettings& TranslationSettings::shared() {
    static TranslationSettings settings(DefaultsStore::shared());
    return settings;
}

FilterPreferences& FilterPreferences::shared() {
    static FilterPreferences preferences(DefaultsStore::shared(), EventLog::shared());
    return preferences;
}

InterfaceSettings& InterfaceSettings::shared() {
    static InterfaceSettings settings(DefaultsStore::shared());
    return settings;
}

InlineGloss& InlineGloss::shared() {
    static InlineGloss gloss([](const QString& word) {
        static const SystemDictionaryCatalog catalog(Preferences::shared());
        static UnsupportedTranslationEngine translator(EventLog::shared());
        static const LookupEngine engine({.bundled = BundledDictionary::shared(),
                                          .catalog = catalog,
                                          .translator = translator,
                                          .logError = {}});
        return engine.firstWordSource(word);
    });
    return gloss;
}

Vocabulary& Vocabulary::shared() {
    static Vocabulary vocabulary(Dependencies{
        .store = DefaultsStore::shared(),
        .recordingEnabled = [] { return Preferences::shared().vocabularyEnabled(); },
        .log =
            [](const QString& content) {
                EventLog::shared().append(EventLog::Kind::result, content);
            },
        .folder = PlatformPaths::dataDirectory(),
        .gloss = [](const QString& text) { return InlineGloss::shared().gloss(text); },
    });
    return vocabulary;
}
