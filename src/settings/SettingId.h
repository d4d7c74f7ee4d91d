#pragma once

#include <QObject>

namespace Settings {
Q_NAMESPACE

// Every user setting, named as the settings objects name it (the stored key may differ:
// vocabularyEnabled is kept as "historyEnabled"). SettingTable.h says what each one is.
enum class Id {
    vocabularyEnabled,
    dictionaryOrder,
    removedDictionaries,
    speaksOnLookup,
    hoverDwellSeconds,
    reopenTarget,
    launchAtLogin,
    isMuted,
    videoSubtitlesEnabled,
    pausesVideoOnPeek,
    resumesVideoAfterPeek,
    showsSubtitlesOnPause,
    recognizesScreenSubtitles,
    pointerLookupEnabled,
    pointerKey,
    expandsOnNotchHover,
    method,
    selectionEnabled,
    hotKey,
    showsEverything,
    endpoint,
    api,
    model,
    sawOnboarding,
    showsIdleNotch,
};
Q_ENUM_NS(Id)

} // namespace Settings
