#include "settings/SettingsCatalog.h"

#include "settings/FilterPreferences.h"
#include "settings/Preferences.h"
#include "settings/TranslationSettings.h"
#include "settings/TriggerSettings.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <cmath>

using namespace Qt::StringLiterals;

namespace {

using Setting = SettingsCatalog::Setting;

bool isHanOrFullWidth(QChar character) {
    return character.unicode() >= 0x2E80;
}

bool isLatinOrDigit(QChar character) {
    return character.unicode() < 0x80 && character.isLetterOrNumber();
}

// Chinese text meets numbers and Latin words with a space between them.
QString spacedJoin(const QString& first, const QString& second) {
    if (first.isEmpty() || second.isEmpty())
        return first + second;
    const QChar last = first.back();
    const QChar next = second.front();
    const bool needsSpace = (isHanOrFullWidth(last) && isLatinOrDigit(next)) ||
                            (isLatinOrDigit(last) && isHanOrFullWidth(next));
    return needsSpace ? first + u' ' + second : first + second;
}

std::optional<QString> refusal(const QString& key, const QString& hint, const QString& value) {
    return spacedJoin(u"「%1」需要"_s.arg(key), hint) + u"，收到「%1」。"_s.arg(value);
}

// A plain decimal number of seconds: no sign, exponent, hexadecimal, "nan" or "inf", which
// the general number parser would take.
std::optional<double> plainDecimal(const QString& text) {
    qsizetype digits = 0;
    qsizetype points = 0;
    for (const QChar character : text) {
        if (character == u'.')
            ++points;
        else if (character >= u'0' && character <= u'9')
            ++digits;
        else
            return std::nullopt;
    }
    bool isNumber = false;
    const double value = text.toDouble(&isNumber);
    if (digits == 0 || points > 1 || !isNumber || !std::isfinite(value))
        return std::nullopt;
    return value;
}

Setting boolSetting(const QString& key, std::function<bool()> get, std::function<void(bool)> set) {
    const QString hint = u"布尔值（true 或 false）"_s;
    return {key, hint, [get] { return get() ? u"true"_s : u"false"_s; },
            [=](const QString& value) -> std::optional<QString> {
                const QString lower = value.trimmed().toLower();
                if (lower == u"true"_s || lower == u"on"_s || lower == u"1"_s)
                    set(true);
                else if (lower == u"false"_s || lower == u"off"_s || lower == u"0"_s)
                    set(false);
                else
                    return refusal(key, hint, value);
                return std::nullopt;
            }};
}

Setting choiceSetting(const QString& key, const QStringList& choices, std::function<QString()> get,
                      std::function<void(const QString&)> set) {
    const QString hint = choices.join(u" 或 "_s);
    return {key, hint, get, [=](const QString& value) -> std::optional<QString> {
                if (!choices.contains(value.trimmed()))
                    return refusal(key, hint, value);
                set(value.trimmed());
                return std::nullopt;
            }};
}

// Nothing when a list may be stored, else why not.
using ListCheck = std::function<std::optional<QString>(const QStringList&)>;

Setting listSetting(const QString& key, std::function<QStringList()> get,
                    std::function<void(const QStringList&)> set, ListCheck check = {}) {
    const QString hint = u"文本的 JSON 数组（如 [\"bundled\"]）"_s;
    return {
        key, hint,
        [get] {
            return QString::fromUtf8(
                QJsonDocument(QJsonArray::fromStringList(get())).toJson(QJsonDocument::Compact));
        },
        [=](const QString& value) -> std::optional<QString> {
            const QJsonDocument document = QJsonDocument::fromJson(value.toUtf8());
            if (!document.isArray())
                return refusal(key, hint, value);
            QStringList list;
            for (const QJsonValue& member : document.array()) {
                if (!member.isString())
                    return refusal(key, hint, value);
                list.append(member.toString());
            }
            if (check) {
                if (std::optional<QString> problem = check(list))
                    return problem;
            }
            set(list);
            return std::nullopt;
        }};
}

Setting secondsSetting(const QString& key, std::function<double()> get,
                       std::function<void(double)> set) {
    const QString hint = u"0 到 10 之间的秒数"_s;
    return {key, hint, [get] { return QString::number(get()); },
            [=](const QString& value) -> std::optional<QString> {
                const std::optional<double> seconds = plainDecimal(value.trimmed());
                if (!seconds || *seconds > 10)
                    return refusal(key, hint, value);
                set(*seconds);
                return std::nullopt;
            }};
}

// Only dictionaries that are there, each once, and at least one.
ListCheck dictionaryOrderCheck(std::function<QStringList()> installed) {
    return [installed = std::move(installed)](const QStringList& order) -> std::optional<QString> {
        const QStringList present = installed();
        const QString listing = u"已安装的词典："_s + present.join(u"、"_s);
        if (order.isEmpty())
            return u"「dictionaryOrder」不能是空列表；"_s + listing;
        QStringList missing;
        for (const QString& identifier : order) {
            if (!present.contains(identifier) && !missing.contains(identifier))
                missing.append(identifier);
        }
        if (!missing.isEmpty())
            return u"「dictionaryOrder」里的 %1 没有安装；"_s.arg(missing.join(u"、"_s)) + listing;
        for (const QString& identifier : order) {
            if (order.count(identifier) > 1)
                return u"「dictionaryOrder」里的 %1 出现了不止一次"_s.arg(identifier);
        }
        return std::nullopt;
    };
}

// The translation server: where it is, which protocol it speaks, which model answers.
QList<Setting> translationSettings(TranslationSettings& translation) {
    TranslationSettings* t = &translation;
    const QString endpointKey = u"translation.endpoint"_s;
    const QString endpointHint = u"以 http:// 或 https:// 开头、带主机名的网址"_s;
    const QString modelKey = u"translation.model"_s;
    const QString modelHint = u"不含空白的模型名称"_s;
    return {
        {endpointKey, endpointHint, [t] { return t->endpoint().toString(); },
         [=](const QString& value) -> std::optional<QString> {
             const std::optional<QUrl> url = TranslationSettings::parseEndpoint(value);
             if (!url)
                 return refusal(endpointKey, endpointHint, value);
             t->setEndpoint(*url);
             return std::nullopt;
         }},
        choiceSetting(
            u"translation.api"_s, {u"ollama"_s, u"openai"_s},
            [t] { return TranslationSettings::rawValue(t->api()); },
            [t](const QString& v) {
                t->setApi(TranslationSettings::apiFromRawValue(v).value_or(
                    TranslationSettings::Api::ollama));
            }),
        {modelKey, modelHint, [t] { return t->model(); },
         [=](const QString& value) -> std::optional<QString> {
             const std::optional<QString> model = TranslationSettings::parseModel(value);
             if (!model)
                 return refusal(modelKey, modelHint, value);
             t->setModel(*model);
             return std::nullopt;
         }},
    };
}

Setting hotKeySetting(TriggerSettings& triggers) {
    const QString key = u"trigger.hotKey"_s;
    const QString hint = u"{\"keyCode\": 数字, \"modifiers\": 数字} 或 none"_s;
    return {key, hint,
            [&triggers] {
                const auto& spec = triggers.hotKey();
                return spec ? QString::fromUtf8(spec->toJson()) + u"（"_s + spec->displayName() +
                                  u"）"_s
                            : u"none"_s;
            },
            [&triggers, key, hint](const QString& value) -> std::optional<QString> {
                if (value.trimmed() == u"none"_s) {
                    triggers.setHotKey(std::nullopt);
                    return std::nullopt;
                }
                const auto decoded = HotKeySpec::fromJson(value.toUtf8());
                const auto spec =
                    decoded ? HotKeySpec::fromKeyPress(decoded->keyCode, decoded->modifiers)
                            : std::nullopt;
                if (!spec)
                    return refusal(key, hint + u"，且至少含一个修饰键"_s, value);
                triggers.setHotKey(spec);
                return std::nullopt;
            }};
}

} // namespace

SettingsCatalog::SettingsCatalog(Preferences& preferences, TriggerSettings& triggers,
                                 FilterPreferences& filter, TranslationSettings& translation,
                                 std::function<QStringList()> installedDictionaries) {
    using PointerKey = TriggerSettings::PointerKey;
    using Method = TriggerSettings::Method;
    Preferences* p = &preferences;
    TriggerSettings* t = &triggers;
    m_settings = {
        boolSetting(
            u"historyEnabled"_s, [p] { return p->vocabularyEnabled(); },
            [p](bool v) { p->setVocabularyEnabled(v); }),
        listSetting(
            u"dictionaryOrder"_s, [p] { return p->dictionaryOrder(); },
            [p](const QStringList& v) { p->setDictionaryOrder(v); },
            dictionaryOrderCheck(std::move(installedDictionaries))),
        listSetting(
            u"removedDictionaries"_s, [p] { return p->removedDictionaries(); },
            [p](const QStringList& v) { p->setRemovedDictionaries(v); }),
        boolSetting(
            u"speaksOnLookup"_s, [p] { return p->speaksOnLookup(); },
            [p](bool v) { p->setSpeaksOnLookup(v); }),
        secondsSetting(
            u"hoverDwellSeconds"_s, [p] { return p->hoverDwellSeconds(); },
            [p](double v) { p->setHoverDwellSeconds(v); }),
        choiceSetting(
            u"reopenTarget"_s, {u"settings"_s, u"notebook"_s},
            [p] { return Preferences::rawValue(p->reopenTarget()); },
            [p](const QString& v) {
                p->setReopenTarget(v == u"notebook"_s ? Preferences::ReopenTarget::notebook
                                                      : Preferences::ReopenTarget::settings);
            }),
        boolSetting(
            u"launchAtLogin"_s, [p] { return p->launchAtLogin(); },
            [p](bool v) { p->setLaunchAtLogin(v); }),
        boolSetting(
            u"triggerSuspended"_s, [t] { return t->isMuted(); }, [t](bool v) { t->setMuted(v); }),
        boolSetting(
            u"trigger.videoSubtitles"_s, [t] { return t->videoSubtitlesEnabled(); },
            [t](bool v) { t->setVideoSubtitlesEnabled(v); }),
        boolSetting(
            u"trigger.pausesVideoOnPeek"_s, [t] { return t->pausesVideoOnPeek(); },
            [t](bool v) { t->setPausesVideoOnPeek(v); }),
        boolSetting(
            u"trigger.resumesVideoAfterPeek"_s, [t] { return t->resumesVideoAfterPeek(); },
            [t](bool v) { t->setResumesVideoAfterPeek(v); }),
        boolSetting(
            u"trigger.showsSubtitlesOnPause"_s, [t] { return t->showsSubtitlesOnPause(); },
            [t](bool v) { t->setShowsSubtitlesOnPause(v); }),
        boolSetting(
            u"trigger.screenSubtitles"_s, [t] { return t->recognizesScreenSubtitles(); },
            [t](bool v) { t->setRecognizesScreenSubtitles(v); }),
        boolSetting(
            u"trigger.pointerLookupEnabled"_s, [t] { return t->pointerLookupEnabled(); },
            [t](bool v) { t->setPointerLookupEnabled(v); }),
        choiceSetting(
            u"trigger.pointerKey"_s, {u"option"_s, u"control"_s, u"command"_s},
            [t] { return TriggerSettings::rawValue(t->pointerKey()); },
            [t](const QString& v) {
                t->setPointerKey(
                    TriggerSettings::pointerKeyFromRawValue(v).value_or(PointerKey::option));
            }),
        boolSetting(
            u"trigger.expandsOnNotchHover"_s, [t] { return t->expandsOnNotchHover(); },
            [t](bool v) { t->setExpandsOnNotchHover(v); }),
        choiceSetting(
            u"trigger.method"_s, {u"copy"_s, u"hotKey"_s},
            [t] { return TriggerSettings::rawValue(t->method()); },
            [t](const QString& v) {
                t->setMethod(TriggerSettings::methodFromRawValue(v).value_or(Method::copy));
            }),
        boolSetting(
            u"trigger.selectionEnabled"_s, [t] { return t->selectionEnabled(); },
            [t](bool v) { t->setSelectionEnabled(v); }),
        hotKeySetting(triggers),
        boolSetting(
            u"filter.showsEverything"_s, [&filter] { return filter.showsEverything(); },
            [&filter](bool v) { filter.setShowsEverything(v); }),
    };
    m_settings.append(translationSettings(translation));
}

const SettingsCatalog::Setting* SettingsCatalog::find(const QString& key) const {
    for (const Setting& setting : m_settings) {
        if (setting.key == key)
            return &setting;
    }
    return nullptr;
}
