#include "capture/PermissionCenter.h"

#include "capture/AccessibilityAuthorization.h"
#include "logs/EventLog.h"
#include "platform/PlatformTexts.h"
#include "settings/DefaultsStore.h"

using namespace Qt::StringLiterals;

namespace {

QString askedKey(SystemPermissions::Kind kind) {
    return u"permission.asked."_s + PermissionCenter::rawName(kind);
}

} // namespace

PermissionCenter::PermissionCenter(Dependencies dependencies, QObject* parent)
    : QObject(parent), m_deps(std::move(dependencies)) {
    for (const Kind kind : {Kind::accessibility, Kind::screenRecording})
        if (m_deps.store.boolValue(askedKey(kind)))
            m_asked.insert(kind);
    connect(&m_deps.accessibility, &AccessibilityAuthorization::trustChanged, this,
            &PermissionCenter::systemChanged);
}

QString PermissionCenter::rawName(Kind kind) {
    return kind == Kind::accessibility ? u"accessibility"_s : u"screenRecording"_s;
}

QString PermissionCenter::displayName(Kind kind) {
    return kind == Kind::accessibility ? u"辅助功能"_s : u"屏幕录制"_s;
}

QString PermissionCenter::rawName(Feature feature) {
    switch (feature) {
    case Feature::hotKeyLookup:
        return u"hotKeyLookup"_s;
    case Feature::selectionLookup:
        return u"selectionLookup"_s;
    case Feature::pointerLookup:
        return u"pointerLookup"_s;
    case Feature::screenSubtitles:
        return u"screenSubtitles"_s;
    }
    return {};
}

PermissionCenter::Kind PermissionCenter::needs(Feature feature) {
    return feature == Feature::hotKeyLookup || feature == Feature::selectionLookup
               ? Kind::accessibility
               : Kind::screenRecording;
}

QString PermissionCenter::waitingText(Feature feature) {
    switch (feature) {
    case Feature::selectionLookup:
        return u"授权后即开启划词查询。"_s;
    case Feature::hotKeyLookup:
        return u"授权后即切换为快捷键查询。"_s;
    case Feature::pointerLookup:
        return u"授权后即开启悬停取词。"_s;
    case Feature::screenSubtitles:
        return u"授权后即开启识别画面中的字幕。"_s;
    }
    return {};
}

QString PermissionCenter::ruleText() {
    return u"快捷键查询与划词查询需要「辅助功能」授权，悬停取词与识别画面中的字幕需要「屏幕录制」授权。"_s;
}

bool PermissionCenter::isGranted(Kind kind) const {
    return m_deps.system.isGranted(kind);
}

QList<PermissionCenter::Kind> PermissionCenter::required(const TriggerSettings& settings) {
    QList<Kind> kinds;
    if (settings.selectionEnabled() || settings.method() == TriggerSettings::Method::hotKey)
        kinds.append(Kind::accessibility);
    if (settings.pointerLookupEnabled() || settings.recognizesScreenSubtitles())
        kinds.append(Kind::screenRecording);
    return kinds;
}

TriggerSettings::PermissionCheck PermissionCenter::checkFor(Feature feature) const {
    return
        [this, feature](const TriggerSettings& proposed) -> std::optional<TriggerSettings::Denial> {
            for (const Kind kind : required(proposed))
                if (kind == needs(feature) && !isGranted(kind))
                    return TriggerSettings::Denial{waitingText(feature)};
            return std::nullopt;
        };
}

void PermissionCenter::refresh() {
    m_deps.system.refresh();
    m_deps.accessibility.refresh();
}

void PermissionCenter::systemChanged() {
    enableGrantedWanted();
    Q_EMIT grantsChanged();
}

void PermissionCenter::awaitGrant(Feature feature) {
    if (!m_wanted.contains(feature))
        m_wanted.append(feature);
    m_deps.accessibility.startPolling();
}

void PermissionCenter::want(Feature feature) {
    awaitGrant(feature);
    if (m_deps.notify) {
        QString message = waitingText(feature);
        if (needs(feature) == Kind::accessibility)
            message += PlatformTexts::accessibilityGrantNote();
        m_deps.notify(message);
    }
    enableGrantedWanted();
}

void PermissionCenter::present(Feature feature) {
    if (m_deps.presentPrompt)
        m_deps.presentPrompt(feature);
    else
        requestAccess(needs(feature));
}

void PermissionCenter::requestAccess(Kind kind) {
    if (!m_asked.contains(kind)) {
        m_asked.insert(kind);
        m_deps.store.setValue(askedKey(kind), true);
    }
    m_deps.system.request(kind);
    openSettingsPane(kind);
}

void PermissionCenter::openSettingsPane(Kind kind) {
    if (m_deps.system.openSettingsPane(kind))
        return;
    if (m_deps.openPermissionsPage) {
        m_deps.openPermissionsPage(kind);
        return;
    }
    m_deps.log.append(EventLog::Kind::trigger,
                      PlatformTexts::permissionSettingsHint(kind == Kind::accessibility));
}

void PermissionCenter::enableGrantedWanted() {
    const QList<Feature> wanted = m_wanted;
    for (const Feature feature : wanted)
        if (isGranted(needs(feature)))
            enable(feature);
}

void PermissionCenter::enable(Feature feature) {
    clearWanted(feature);
    switch (feature) {
    case Feature::selectionLookup:
        m_deps.triggers.setSelectionEnabled(true);
        break;
    case Feature::hotKeyLookup:
        m_deps.triggers.setMethod(TriggerSettings::Method::hotKey);
        break;
    case Feature::pointerLookup:
        m_deps.triggers.setPointerLookupEnabled(true);
        break;
    case Feature::screenSubtitles:
        m_deps.triggers.setRecognizesScreenSubtitles(true);
        break;
    }
}
