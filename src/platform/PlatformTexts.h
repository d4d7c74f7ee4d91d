#pragma once

#include <QString>

// User-visible texts that name a platform's own facility; each OS supplies its wording.
namespace PlatformTexts {

// Shown when a sentence cannot be translated because the on-device translation assets
// are missing.
QString translationAssetsMissing();

// Added to the text shown while a feature waits for the accessibility grant: what the user
// should know about how this OS gives it (empty where there is nothing to add).
QString accessibilityGrantNote();
// What asking for the accessibility grant does, or, once asked without effect, where the user
// gives it.
QString accessibilityRequestNote(bool asked);
// Where the grant is given, for the event log when no settings pane can be opened.
QString permissionSettingsHint(bool accessibility);

// Shown once when text on the screen cannot be recognised because the engine or its English
// data is not installed: what to install, and that accessible text still works.
QString recognitionDataMissing();

// How the user adds a dictionary to those the lookups ask, for the dictionary settings.
QString addingDictionaries();

} // namespace PlatformTexts
