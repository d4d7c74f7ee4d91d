#pragma once

#include "settings/SettingId.h"
#include "settings/SettingTypes.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>
#include <tuple>

// Every user setting, declared once: its stored key, the kind of value it holds, its default
// and the keys older versions kept it under. The settings objects load, store and take in
// their settings from here, and `quillet settings` lists and checks them from here.
namespace Settings {

enum class ReopenTarget { settings, notebook };
enum class PointerKey { option, control, command };
enum class TriggerMethod { copy, hotKey };
enum class TranslationApi { ollama, openAi };

inline constexpr ChoiceNames<ReopenTarget, 2> reopenTargetNames{{
    {ReopenTarget::settings, u"settings"},
    {ReopenTarget::notebook, u"notebook"},
}};
inline constexpr ChoiceNames<PointerKey, 3> pointerKeyNames{{
    {PointerKey::option, u"option"},
    {PointerKey::control, u"control"},
    {PointerKey::command, u"command"},
}};
inline constexpr ChoiceNames<TriggerMethod, 2> triggerMethodNames{{
    {TriggerMethod::copy, u"copy"},
    {TriggerMethod::hotKey, u"hotKey"},
}};
inline constexpr ChoiceNames<TranslationApi, 2> translationApiNames{{
    {TranslationApi::ollama, u"ollama"},
    {TranslationApi::openAi, u"openai"},
}};

// Where a setting lives: in the settings file, or with the system (the login item), which
// the settings object asks.
enum class Storage { file, system };

template <typename K> struct Setting {
    using Kind = K;
    using Value = typename Kind::Value;

    Id id;
    QStringView key;
    // What the setting holds when nothing usable is stored. Nothing when there is no fixed
    // default: the first start works one out, and a stored value that goes away leaves the
    // one in use as it is.
    std::optional<Value> fallback;
    // Keys older versions kept this setting under: read once to carry it forward, then removed.
    QStringList formerKeys = {};
    Storage storage = Storage::file;
};

inline const Setting<Flag> vocabularyEnabled{Id::vocabularyEnabled, u"historyEnabled", true};
inline const Setting<NonEmptyTextList> dictionaryOrder{
    Id::dictionaryOrder, u"dictionaryOrder", std::nullopt, {QStringLiteral("dictionarySource")}};
inline const Setting<TextList> removedDictionaries{Id::removedDictionaries, u"removedDictionaries",
                                                   QStringList()};
inline const Setting<Flag> speaksOnLookup{Id::speaksOnLookup, u"speaksOnLookup", false};
inline const Setting<Seconds> hoverDwellSeconds{Id::hoverDwellSeconds, u"hoverDwellSeconds", 0.3};
inline const Setting<Choice<reopenTargetNames>> reopenTarget{Id::reopenTarget, u"reopenTarget",
                                                             ReopenTarget::settings};
inline const Setting<Flag> launchAtLogin{
    Id::launchAtLogin, u"launchAtLogin", false, {}, Storage::system};

inline const Setting<Flag> isMuted{Id::isMuted, u"triggerSuspended", false};
inline const Setting<Flag> videoSubtitlesEnabled{Id::videoSubtitlesEnabled,
                                                 u"trigger.videoSubtitles", false};
inline const Setting<Flag> pausesVideoOnPeek{Id::pausesVideoOnPeek, u"trigger.pausesVideoOnPeek",
                                             true};
inline const Setting<Flag> resumesVideoAfterPeek{Id::resumesVideoAfterPeek,
                                                 u"trigger.resumesVideoAfterPeek", true};
inline const Setting<Flag> showsSubtitlesOnPause{Id::showsSubtitlesOnPause,
                                                 u"trigger.showsSubtitlesOnPause", false};
inline const Setting<Flag> recognizesScreenSubtitles{Id::recognizesScreenSubtitles,
                                                     u"trigger.screenSubtitles", false};
// Region lookup and hover lookup became this one switch.
inline const Setting<Flag> pointerLookupEnabled{
    Id::pointerLookupEnabled,
    u"trigger.pointerLookupEnabled",
    false,
    {QStringLiteral("trigger.pointerTrigger"), QStringLiteral("trigger.pointerHotKey"),
     QStringLiteral("trigger.regionLookupEnabled"), QStringLiteral("trigger.regionHotKey")}};
inline const Setting<Choice<pointerKeyNames>> pointerKey{Id::pointerKey, u"trigger.pointerKey",
                                                         PointerKey::option};
inline const Setting<Flag> expandsOnNotchHover{Id::expandsOnNotchHover,
                                               u"trigger.expandsOnNotchHover", true};
inline const Setting<Choice<triggerMethodNames>> method{Id::method, u"trigger.method",
                                                        TriggerMethod::copy};
// The older three-way mode became this switch plus the mute switch.
inline const Setting<Flag> selectionEnabled{
    Id::selectionEnabled,
    u"trigger.selectionEnabled",
    false,
    {QStringLiteral("trigger.mode"), QStringLiteral("selectionEnabled")}};
inline const Setting<OptionalHotKey> hotKey{Id::hotKey, u"trigger.hotKey",
                                            HotKeySpec::defaultLookup()};

inline const Setting<Flag> showsEverything{Id::showsEverything, u"filter.showsEverything", false};

inline const Setting<ServerAddress> endpoint{
    Id::endpoint, u"translation.endpoint",
    ServerAddress::parse(QStringLiteral("http://127.0.0.1:11434"))};
inline const Setting<Choice<translationApiNames>> api{Id::api, u"translation.api",
                                                      TranslationApi::ollama};
// Small enough to download in minutes and answer in seconds on a laptop CPU, trained on a
// large share of Chinese text, and under a licence that lets anyone run it.
inline const Setting<ModelName> model{Id::model, u"translation.model",
                                      QStringLiteral("qwen2.5:1.5b")};

// The window's first-run state, and whether the panel stays on screen as a small notch between
// lookups.
inline const Setting<Flag> sawOnboarding{Id::sawOnboarding, u"firstRun.sawOnboarding", false};
inline const Setting<Flag> showsIdleNotch{Id::showsIdleNotch, u"panel.showsIdleNotch", true};

// Every setting, in the order `quillet settings list` shows them.
inline auto all() {
    return std::tie(vocabularyEnabled, dictionaryOrder, removedDictionaries, speaksOnLookup,
                    hoverDwellSeconds, reopenTarget, launchAtLogin, isMuted, videoSubtitlesEnabled,
                    pausesVideoOnPeek, resumesVideoAfterPeek, showsSubtitlesOnPause,
                    recognizesScreenSubtitles, pointerLookupEnabled, pointerKey,
                    expandsOnNotchHover, method, selectionEnabled, hotKey, showsEverything,
                    endpoint, api, model, sawOnboarding, showsIdleNotch);
}

// A setting without its type, for lists.
struct Entry {
    Id id;
    QString key;
    QString hint; // what a valid text looks like, for messages
    QStringList formerKeys;
};
QList<Entry> entries();

// Keys of settings that are gone. Each settings object removes those that were its own.
inline const QStringList retiredPreferenceKeys{
    QStringLiteral("reclaimNotchBandOnExternalScreens"), QStringLiteral("ignoresRemoteClipboard"),
    QStringLiteral("resultRetentionSeconds"), QStringLiteral("autoHideSeconds"),
    QStringLiteral("textLengthLimit")};
inline const QStringList retiredTriggerKeys{
    QStringLiteral("trigger.translatesSubtitles"), QStringLiteral("triggerBindings"),
    QStringLiteral("trigger.previousSubtitleHotKey"), QStringLiteral("trigger.nextSubtitleHotKey")};
// The text filter's rules used to be switchable one by one.
inline const QStringList retiredFilterKeys{
    QStringLiteral("filter.blocksURLOrPath"), QStringLiteral("filter.blocksCodeIdentifier"),
    QStringLiteral("filter.blocksNonEnglish"), QStringLiteral("filter.blocksRemoteClipboard")};

} // namespace Settings
