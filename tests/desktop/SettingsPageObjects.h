#pragma once

#include "dictionary/SystemDictionaries.h"
#include "dictionary/SystemDictionaryCatalog.h"
#include "logs/EventLog.h"
#include "lookup/UnsupportedTranslationEngine.h"
#include "notebook/Vocabulary.h"
#include "settings/DefaultsStore.h"
#include "settings/FilterPreferences.h"
#include "settings/InterfaceSettings.h"
#include "settings/Preferences.h"
#include "settings/TranslationSettings.h"
#include "settings/TriggerSettings.h"
#include "ui/settings/SettingsContext.h"

// The real settings objects a settings page is handed, over one settings file and the
// dictionaries installed under the test's home, wired as the agent wires them.
struct SettingsPageObjects {
    explicit SettingsPageObjects(const QString& settingsFile) : store(settingsFile) {}

    // What the pages see; `translator` defaults to one that says there is no translation.
    SettingsContext context(TranslationEngine* translator = nullptr) {
        return {.preferences = preferences,
                .triggers = triggers,
                .filter = filter,
                .translation = translation,
                .interface = interface,
                .translator = translator ? *translator : unsupported,
                .vocabulary = vocabulary,
                .log = log,
                .dictionaries = catalog,
                .store = &store};
    }

    DefaultsStore store;
    EventLog log{[](const QString&, const QDateTime&) {}, false};
    Preferences preferences{store,
                            {&SystemDictionaries::activeIdentifiers, [](const QString& identifier) {
                                 return SystemDictionaries::givesChineseGloss(identifier);
                             }}};
    TriggerSettings triggers{store};
    FilterPreferences filter{store, log};
    TranslationSettings translation{store};
    InterfaceSettings interface { store };
    UnsupportedTranslationEngine unsupported{log};
    Vocabulary vocabulary{{.store = store,
                           .recordingEnabled = [this] { return preferences.vocabularyEnabled(); },
                           .log = [](const QString&) {},
                           .folder = std::nullopt,
                           .gloss = {}}};
    SystemDictionaryCatalog catalog{preferences};
};
