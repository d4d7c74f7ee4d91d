#include "settings/TriggerSettings.h"

#include "settings/DefaultsStore.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

const QString kMuted = u"triggerSuspended"_s;
const QString kVideoSubtitles = u"trigger.videoSubtitles"_s;
const QString kPausesVideo = u"trigger.pausesVideoOnPeek"_s;
const QString kResumesVideo = u"trigger.resumesVideoAfterPeek"_s;
const QString kSubtitlesOnPause = u"trigger.showsSubtitlesOnPause"_s;
const QString kScreenSubtitles = u"trigger.screenSubtitles"_s;
const QString kPointerLookup = u"trigger.pointerLookupEnabled"_s;
const QString kPointerKey = u"trigger.pointerKey"_s;
const QString kExpandsOnHover = u"trigger.expandsOnNotchHover"_s;
const QString kMethod = u"trigger.method"_s;
const QString kSelection = u"trigger.selectionEnabled"_s;
const QString kHotKey = u"trigger.hotKey"_s;

} // namespace

TriggerSettings::TriggerSettings(DefaultsStore& defaults, QObject* parent)
    : QObject(parent), m_store(defaults) {
    m_isMuted = m_store.boolValue(kMuted);
    m_videoSubtitlesEnabled = m_store.boolValue(kVideoSubtitles);
    // These two default to on, also when the stored value is not a boolean.
    m_pausesVideoOnPeek = m_store.boolIfPresent(kPausesVideo).value_or(true);
    m_resumesVideoAfterPeek = m_store.boolIfPresent(kResumesVideo).value_or(true);
    m_showsSubtitlesOnPause = m_store.boolValue(kSubtitlesOnPause);
    m_recognizesScreenSubtitles = m_store.boolValue(kScreenSubtitles);
    m_store.remove(u"trigger.translatesSubtitles"_s);

    // Region lookup and hover lookup became one switch.
    m_pointerLookupEnabled = m_store.boolValue(kPointerLookup);
    const QString olderPointerKeys[] = {u"trigger.pointerTrigger"_s, u"trigger.pointerHotKey"_s,
                                        u"trigger.regionLookupEnabled"_s,
                                        u"trigger.regionHotKey"_s};
    if (std::any_of(std::begin(olderPointerKeys), std::end(olderPointerKeys),
                    [this](const QString& key) { return m_store.contains(key); })) {
        if (!m_pointerLookupEnabled)
            m_pointerLookupEnabled = m_store.boolValue(u"trigger.regionLookupEnabled"_s);
        m_store.setValue(kPointerLookup, m_pointerLookupEnabled);
        for (const QString& key : olderPointerKeys)
            m_store.remove(key);
    }

    m_pointerKey =
        pointerKeyFromRawValue(m_store.stringValue(kPointerKey)).value_or(PointerKey::option);
    m_expandsOnNotchHover = m_store.boolIfPresent(kExpandsOnHover).value_or(true);
    m_method = m_store.stringValue(kMethod) == u"hotKey"_s ? Method::hotKey : Method::copy;

    // The older three-way mode became the selection switch plus the mute switch.
    if (m_store.contains(u"trigger.mode"_s)) {
        const QString mode = m_store.stringValue(u"trigger.mode"_s);
        m_selectionEnabled = mode == u"active"_s;
        if (mode == u"quiet"_s)
            setMuted(true);
        m_store.remove(u"trigger.mode"_s);
    } else if (m_store.contains(kSelection)) {
        m_selectionEnabled = m_store.boolValue(kSelection);
    } else {
        m_selectionEnabled = m_store.boolValue(u"selectionEnabled"_s);
    }

    // The stored form is kept current from the first start on.
    m_hotKey = loadHotKey(kHotKey);
    store(m_hotKey, kHotKey);
    Q_EMIT hotKeyChanged();

    for (const QString& obsolete :
         {u"triggerBindings"_s, u"selectionEnabled"_s, u"trigger.previousSubtitleHotKey"_s,
          u"trigger.nextSubtitleHotKey"_s})
        m_store.remove(obsolete);
    connect(&m_store, &DefaultsStore::valueChanged, this, &TriggerSettings::adoptStoredValue);
}

void TriggerSettings::adoptStoredValue(const QString& key) {
    const auto adopt = [this](auto& field, auto value, const QString& property) {
        if (field == value)
            return false;
        field = std::move(value);
        Q_EMIT changed(property);
        return true;
    };
    const std::pair<const QString&, std::pair<bool*, const char16_t*>> flags[] = {
        {kMuted, {&m_isMuted, u"isMuted"}},
        {kVideoSubtitles, {&m_videoSubtitlesEnabled, u"videoSubtitlesEnabled"}},
        {kSubtitlesOnPause, {&m_showsSubtitlesOnPause, u"showsSubtitlesOnPause"}},
        {kScreenSubtitles, {&m_recognizesScreenSubtitles, u"recognizesScreenSubtitles"}},
        {kPointerLookup, {&m_pointerLookupEnabled, u"pointerLookupEnabled"}},
        {kSelection, {&m_selectionEnabled, u"selectionEnabled"}},
    };
    for (const auto& [flagKey, flag] : flags) {
        if (key == flagKey)
            adopt(*flag.first, m_store.boolValue(flagKey), QString::fromUtf16(flag.second));
    }
    if (key == kPausesVideo) {
        adopt(m_pausesVideoOnPeek, m_store.boolIfPresent(kPausesVideo).value_or(true),
              u"pausesVideoOnPeek"_s);
    } else if (key == kResumesVideo) {
        adopt(m_resumesVideoAfterPeek, m_store.boolIfPresent(kResumesVideo).value_or(true),
              u"resumesVideoAfterPeek"_s);
    } else if (key == kExpandsOnHover) {
        adopt(m_expandsOnNotchHover, m_store.boolIfPresent(kExpandsOnHover).value_or(true),
              u"expandsOnNotchHover"_s);
    } else if (key == kPointerKey) {
        adopt(m_pointerKey,
              pointerKeyFromRawValue(m_store.stringValue(kPointerKey)).value_or(PointerKey::option),
              u"pointerKey"_s);
    } else if (key == kMethod) {
        adopt(m_method, m_store.stringValue(kMethod) == u"hotKey"_s ? Method::hotKey : Method::copy,
              u"method"_s);
    } else if (key == kHotKey) {
        if (adopt(m_hotKey, loadHotKey(kHotKey), u"hotKey"_s))
            Q_EMIT hotKeyChanged();
    }
}

QString TriggerSettings::rawValue(PointerKey key) {
    switch (key) {
    case PointerKey::control:
        return u"control"_s;
    case PointerKey::command:
        return u"command"_s;
    case PointerKey::option:
        break;
    }
    return u"option"_s;
}

QString TriggerSettings::rawValue(Method method) {
    return method == Method::hotKey ? u"hotKey"_s : u"copy"_s;
}

std::optional<TriggerSettings::PointerKey>
TriggerSettings::pointerKeyFromRawValue(const QString& raw) {
    for (PointerKey key : {PointerKey::option, PointerKey::control, PointerKey::command}) {
        if (rawValue(key) == raw)
            return key;
    }
    return std::nullopt;
}

std::optional<TriggerSettings::Method> TriggerSettings::methodFromRawValue(const QString& raw) {
    for (Method method : {Method::copy, Method::hotKey}) {
        if (rawValue(method) == raw)
            return method;
    }
    return std::nullopt;
}

std::optional<HotKeySpec> TriggerSettings::loadHotKey(const QString& key) const {
    if (!m_store.contains(key))
        return HotKeySpec::defaultLookup();
    const std::optional<QByteArray> data = m_store.dataIfPresent(key);
    return data ? HotKeySpec::fromJson(*data) : std::nullopt;
}

void TriggerSettings::store(const std::optional<HotKeySpec>& spec, const QString& key) {
    // No hot key is stored as empty data, which reads back as "none" rather than the default.
    m_store.setValue(key, spec ? spec->toJson() : QByteArray(""));
}

void TriggerSettings::setBool(bool& field, bool value, const QString& key,
                              const QString& property) {
    field = value;
    m_store.setValue(key, value);
    Q_EMIT changed(property);
}

void TriggerSettings::setMuted(bool muted) {
    setBool(m_isMuted, muted, kMuted, u"isMuted"_s);
}

void TriggerSettings::setVideoSubtitlesEnabled(bool enabled) {
    setBool(m_videoSubtitlesEnabled, enabled, kVideoSubtitles, u"videoSubtitlesEnabled"_s);
}

void TriggerSettings::setPausesVideoOnPeek(bool pauses) {
    setBool(m_pausesVideoOnPeek, pauses, kPausesVideo, u"pausesVideoOnPeek"_s);
}

void TriggerSettings::setResumesVideoAfterPeek(bool resumes) {
    setBool(m_resumesVideoAfterPeek, resumes, kResumesVideo, u"resumesVideoAfterPeek"_s);
}

void TriggerSettings::setShowsSubtitlesOnPause(bool shows) {
    setBool(m_showsSubtitlesOnPause, shows, kSubtitlesOnPause, u"showsSubtitlesOnPause"_s);
}

void TriggerSettings::setRecognizesScreenSubtitles(bool recognizes) {
    setBool(m_recognizesScreenSubtitles, recognizes, kScreenSubtitles,
            u"recognizesScreenSubtitles"_s);
}

void TriggerSettings::setPointerLookupEnabled(bool enabled) {
    setBool(m_pointerLookupEnabled, enabled, kPointerLookup, u"pointerLookupEnabled"_s);
}

void TriggerSettings::setPointerKey(PointerKey key) {
    m_pointerKey = key;
    m_store.setValue(kPointerKey, rawValue(key));
    Q_EMIT changed(u"pointerKey"_s);
}

void TriggerSettings::setExpandsOnNotchHover(bool expands) {
    setBool(m_expandsOnNotchHover, expands, kExpandsOnHover, u"expandsOnNotchHover"_s);
}

void TriggerSettings::setMethod(Method method) {
    m_method = method;
    m_store.setValue(kMethod, rawValue(method));
    Q_EMIT changed(u"method"_s);
}

void TriggerSettings::setSelectionEnabled(bool enabled) {
    setBool(m_selectionEnabled, enabled, kSelection, u"selectionEnabled"_s);
}

void TriggerSettings::setHotKey(const std::optional<HotKeySpec>& spec) {
    m_hotKey = spec;
    store(spec, kHotKey);
    Q_EMIT changed(u"hotKey"_s);
    Q_EMIT hotKeyChanged();
}

std::optional<TriggerSettings::Denial> TriggerSettings::trySetMethod(Method method,
                                                                     const PermissionCheck& check) {
    const Method previous = m_method;
    m_method = method;
    std::optional<Denial> denial = check ? check(*this) : std::nullopt;
    m_method = previous;
    if (!denial)
        setMethod(method);
    return denial;
}

std::optional<TriggerSettings::Denial>
TriggerSettings::trySetSelection(bool enabled, const PermissionCheck& check) {
    const bool previous = m_selectionEnabled;
    m_selectionEnabled = enabled;
    std::optional<Denial> denial = check ? check(*this) : std::nullopt;
    m_selectionEnabled = previous;
    if (!denial)
        setSelectionEnabled(enabled);
    return denial;
}
