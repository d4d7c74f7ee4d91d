#include "settings/TriggerSettings.h"

#include <algorithm>

using namespace Qt::StringLiterals;

TriggerSettings::TriggerSettings(DefaultsStore& defaults, QObject* parent)
    : SettingsObject(defaults, parent) {
    bind(Settings::isMuted, m_isMuted, &TriggerSettings::setMuted);
    bind(Settings::videoSubtitlesEnabled, m_videoSubtitlesEnabled,
         &TriggerSettings::setVideoSubtitlesEnabled);
    bind(Settings::pausesVideoOnPeek, m_pausesVideoOnPeek, &TriggerSettings::setPausesVideoOnPeek);
    bind(Settings::resumesVideoAfterPeek, m_resumesVideoAfterPeek,
         &TriggerSettings::setResumesVideoAfterPeek);
    bind(Settings::showsSubtitlesOnPause, m_showsSubtitlesOnPause,
         &TriggerSettings::setShowsSubtitlesOnPause);
    bind(Settings::recognizesScreenSubtitles, m_recognizesScreenSubtitles,
         &TriggerSettings::setRecognizesScreenSubtitles);
    bind(Settings::pointerLookupEnabled, m_pointerLookupEnabled,
         &TriggerSettings::setPointerLookupEnabled);
    carryPointerLookupForward();
    bind(Settings::pointerKey, m_pointerKey, &TriggerSettings::setPointerKey);
    bind(Settings::expandsOnNotchHover, m_expandsOnNotchHover,
         &TriggerSettings::setExpandsOnNotchHover);
    bind(Settings::method, m_method, &TriggerSettings::setMethod);
    bind(Settings::selectionEnabled, m_selectionEnabled, &TriggerSettings::setSelectionEnabled);
    carrySelectionForward();

    // The stored form is kept current from the first start on.
    bind(Settings::hotKey, m_hotKey, &TriggerSettings::setHotKey);
    m_store.setValue(Settings::hotKey.key.toString(), Settings::OptionalHotKey::stored(m_hotKey));

    for (const QString& retired : Settings::retiredTriggerKeys)
        m_store.remove(retired);
}

void TriggerSettings::carryPointerLookupForward() {
    const QStringList& former = Settings::pointerLookupEnabled.formerKeys;
    if (std::none_of(former.begin(), former.end(),
                     [this](const QString& key) { return m_store.contains(key); }))
        return;
    // Of the older keys only the region switch ("trigger.regionLookupEnabled") was a boolean.
    if (!m_pointerLookupEnabled)
        m_pointerLookupEnabled = m_store.boolValue(former.at(2));
    m_store.setValue(Settings::pointerLookupEnabled.key.toString(), m_pointerLookupEnabled);
    for (const QString& key : former)
        m_store.remove(key);
}

void TriggerSettings::carrySelectionForward() {
    // The older three-way mode ("trigger.mode") and the older switch ("selectionEnabled").
    const QString& mode = Settings::selectionEnabled.formerKeys.at(0);
    const QString& olderSwitch = Settings::selectionEnabled.formerKeys.at(1);
    if (m_store.contains(mode)) {
        const QString value = m_store.stringValue(mode);
        m_selectionEnabled = value == u"active"_s;
        if (value == u"quiet"_s)
            setMuted(true);
    } else if (!m_store.contains(Settings::selectionEnabled.key.toString())) {
        m_selectionEnabled = m_store.boolValue(olderSwitch);
    }
    m_store.remove(mode);
    m_store.remove(olderSwitch);
}

void TriggerSettings::setMuted(bool muted) {
    assign(Settings::isMuted, m_isMuted, muted);
}

void TriggerSettings::setVideoSubtitlesEnabled(bool enabled) {
    assign(Settings::videoSubtitlesEnabled, m_videoSubtitlesEnabled, enabled);
}

void TriggerSettings::setPausesVideoOnPeek(bool pauses) {
    assign(Settings::pausesVideoOnPeek, m_pausesVideoOnPeek, pauses);
}

void TriggerSettings::setResumesVideoAfterPeek(bool resumes) {
    assign(Settings::resumesVideoAfterPeek, m_resumesVideoAfterPeek, resumes);
}

void TriggerSettings::setShowsSubtitlesOnPause(bool shows) {
    assign(Settings::showsSubtitlesOnPause, m_showsSubtitlesOnPause, shows);
}

void TriggerSettings::setRecognizesScreenSubtitles(bool recognizes) {
    assign(Settings::recognizesScreenSubtitles, m_recognizesScreenSubtitles, recognizes);
}

void TriggerSettings::setPointerLookupEnabled(bool enabled) {
    assign(Settings::pointerLookupEnabled, m_pointerLookupEnabled, enabled);
}

void TriggerSettings::setPointerKey(PointerKey key) {
    assign(Settings::pointerKey, m_pointerKey, key);
}

void TriggerSettings::setExpandsOnNotchHover(bool expands) {
    assign(Settings::expandsOnNotchHover, m_expandsOnNotchHover, expands);
}

void TriggerSettings::setMethod(Method method) {
    assign(Settings::method, m_method, method);
}

void TriggerSettings::setSelectionEnabled(bool enabled) {
    assign(Settings::selectionEnabled, m_selectionEnabled, enabled);
}

void TriggerSettings::setHotKey(const std::optional<HotKeySpec>& spec) {
    assign(Settings::hotKey, m_hotKey, spec);
}

template <typename Value>
std::optional<TriggerSettings::Denial>
TriggerSettings::tryChange(Value& field, Value value, void (TriggerSettings::*setter)(Value),
                           const PermissionCheck& check) {
    const Value previous = field;
    field = value;
    std::optional<Denial> denial = check ? check(*this) : std::nullopt;
    field = previous;
    if (!denial)
        (this->*setter)(value);
    return denial;
}

std::optional<TriggerSettings::Denial> TriggerSettings::trySetMethod(Method method,
                                                                     const PermissionCheck& check) {
    return tryChange(m_method, method, &TriggerSettings::setMethod, check);
}

std::optional<TriggerSettings::Denial>
TriggerSettings::trySetSelection(bool enabled, const PermissionCheck& check) {
    return tryChange(m_selectionEnabled, enabled, &TriggerSettings::setSelectionEnabled, check);
}

std::optional<TriggerSettings::Denial>
TriggerSettings::trySetPointerLookup(bool enabled, const PermissionCheck& check) {
    return tryChange(m_pointerLookupEnabled, enabled, &TriggerSettings::setPointerLookupEnabled,
                     check);
}
