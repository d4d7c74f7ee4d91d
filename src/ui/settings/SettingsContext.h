#pragma once

#include "ui/settings/SettingsPage.h"

#include <QStringList>
#include <functional>

class AccessibilityAuthorization;
class DefaultsStore;
class EventLog;
class FilterPreferences;
class HotKeyCenter;
class InterfaceSettings;
class PermissionCenter;
class ScreenText;
class Preferences;
class TranslationEngine;
class TranslationSettings;
class TriggerSettings;
class Vocabulary;
class WordSourceCatalog;

// What the settings pages show and change. Every change goes through the settings objects,
// so the coordinator follows at once. The capture services are missing where there is no
// desktop to capture from (and in tests that leave them out).
struct SettingsContext {
    Preferences& preferences;
    TriggerSettings& triggers;
    FilterPreferences& filter;
    TranslationSettings& translation;
    InterfaceSettings& interface;
    TranslationEngine& translator;
    Vocabulary& vocabulary;
    EventLog& log;
    const WordSourceCatalog& dictionaries;
    HotKeyCenter* hotKeys = nullptr;
    PermissionCenter* permissions = nullptr;
    AccessibilityAuthorization* accessibility = nullptr;
    const ScreenText* screenText = nullptr;
    // Shows the folder the user adds dictionaries to; the button is left out without it.
    std::function<void()> openDictionaryFolder = {};
    // The settings file, which the diagnostics export reads.
    DefaultsStore* store = nullptr;
    // One line per capability with its state ("辅助功能：已开启"), for the diagnostics export.
    std::function<QStringList()> capabilityStates = {};
    // Turns the window to another page (a page's button that leads elsewhere); the window
    // fills it in when it is left empty.
    std::function<void(SettingsPage page)> showPage = {};
};
