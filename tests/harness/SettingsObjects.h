#pragma once

#include "dictionary/SystemDictionaries.h"
#include "dictionary/SystemDictionaryCatalog.h"
#include "dictionary/WordSourceCatalog.h"
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

// The real settings objects the windows are handed, over one settings file, wired as the
// agent wires them. The dictionaries are the bundled one alone, or those installed under the
// test's home as well.
struct SettingsObjects {
    enum class Dictionaries { bundledOnly, installed };

    explicit SettingsObjects(const QString& settingsFile,
                             Dictionaries dictionaries = Dictionaries::bundledOnly)
        : store(settingsFile), which(dictionaries),
          preferences(
              store,
              dictionaries == Dictionaries::installed
                  ? Preferences::Dictionaries{&SystemDictionaries::activeIdentifiers,
                                              [](const QString& identifier) {
                                                  return SystemDictionaries::givesChineseGloss(
                                                      identifier);
                                              }}
                  : Preferences::Dictionaries{}) {}

    // What the windows see, without the capture services; `translator` defaults to one that
    // says there is no translation.
    SettingsContext context(TranslationEngine* translator = nullptr) {
        return {.preferences = preferences,
                .triggers = triggers,
                .filter = filter,
                .translation = translation,
                .interface = interface,
                .translator = translator ? *translator : unsupported,
                .vocabulary = vocabulary,
                .log = log,
                .dictionaries = which == Dictionaries::installed
                                    ? static_cast<const WordSourceCatalog&>(catalog)
                                    : bundledOnly,
                .store = &store};
    }

    DefaultsStore store;
    Dictionaries which;
    EventLog log{[](const QString&, const QDateTime&) {}, false};
    Preferences preferences;
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
    BundledOnlyCatalog bundledOnly;
};
