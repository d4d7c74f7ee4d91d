#pragma once

#include "keys/HotKeySpec.h"
#include "settings/SettingsObject.h"

#include <QString>
#include <functional>
#include <optional>

// Which capture sources run and how. Reads the store when made, carries older settings
// forward, and writes a key back whenever a property changes; a value another process stores
// is taken in and announced like a change made here. Main thread only.
class TriggerSettings : public SettingsObject {
    Q_OBJECT
public:
    using PointerKey = Settings::PointerKey;
    using Method = Settings::TriggerMethod;

    // Why a change was refused: a permission it needs is missing.
    struct Denial {
        QString message;
    };
    // Answers whether the settings as they would be after a change may be applied.
    using PermissionCheck = std::function<std::optional<Denial>(const TriggerSettings& proposed)>;

    static TriggerSettings& shared();
    explicit TriggerSettings(DefaultsStore& defaults, QObject* parent = nullptr);

    bool isMuted() const { return m_isMuted; }
    bool videoSubtitlesEnabled() const { return m_videoSubtitlesEnabled; }
    bool pausesVideoOnPeek() const { return m_pausesVideoOnPeek; }
    bool resumesVideoAfterPeek() const { return m_resumesVideoAfterPeek; }
    bool showsSubtitlesOnPause() const { return m_showsSubtitlesOnPause; }
    bool recognizesScreenSubtitles() const { return m_recognizesScreenSubtitles; }
    bool pointerLookupEnabled() const { return m_pointerLookupEnabled; }
    PointerKey pointerKey() const { return m_pointerKey; }
    bool expandsOnNotchHover() const { return m_expandsOnNotchHover; }
    Method method() const { return m_method; }
    bool selectionEnabled() const { return m_selectionEnabled; }
    const std::optional<HotKeySpec>& hotKey() const { return m_hotKey; }
    // Results expand the panel by themselves only for lookups that start from a copy.
    bool autoExpandApplies() const { return m_method == Method::copy; }

    void setMuted(bool muted);
    void setVideoSubtitlesEnabled(bool enabled);
    void setPausesVideoOnPeek(bool pauses);
    void setResumesVideoAfterPeek(bool resumes);
    void setShowsSubtitlesOnPause(bool shows);
    void setRecognizesScreenSubtitles(bool recognizes);
    void setPointerLookupEnabled(bool enabled);
    void setPointerKey(PointerKey key);
    void setExpandsOnNotchHover(bool expands);
    void setMethod(Method method);
    void setSelectionEnabled(bool enabled);
    void setHotKey(const std::optional<HotKeySpec>& spec);

    // The same changes, refused with a denial when `check` says a permission is missing.
    std::optional<Denial> trySetMethod(Method method, const PermissionCheck& check);
    std::optional<Denial> trySetSelection(bool enabled, const PermissionCheck& check);
    std::optional<Denial> trySetPointerLookup(bool enabled, const PermissionCheck& check);

private:
    void carryPointerLookupForward();
    void carrySelectionForward();
    // Shows `check` the settings with `value` in `field`, and sets it unless refused.
    template <typename Value>
    std::optional<Denial> tryChange(Value& field, Value value,
                                    void (TriggerSettings::*setter)(Value),
                                    const PermissionCheck& check);

    bool m_isMuted = false;
    bool m_videoSubtitlesEnabled = false;
    bool m_pausesVideoOnPeek = true;
    bool m_resumesVideoAfterPeek = true;
    bool m_showsSubtitlesOnPause = false;
    bool m_recognizesScreenSubtitles = false;
    bool m_pointerLookupEnabled = false;
    PointerKey m_pointerKey = PointerKey::option;
    bool m_expandsOnNotchHover = true;
    Method m_method = Method::copy;
    bool m_selectionEnabled = false;
    std::optional<HotKeySpec> m_hotKey;
};
