#include "core/CapabilityModel.h"

#include "capture/AccessibilityAuthorization.h"
#include "capture/PermissionCenter.h"
#include "lookup/TranslationEngine.h"
#include "platform/PlatformTexts.h"
#include "platform/ScreenText.h"

using namespace Qt::StringLiterals;

namespace {

using Id = Capability::Id;
using Kind = SystemPermissions::Kind;

const QString unknownState = u"无法检测"_s;

Capability notYetAvailable(Id id, const QString& name, const QString& explanation) {
    return {.id = id, .name = name, .state = u"尚未提供"_s, .explanation = explanation};
}

} // namespace

CapabilityModel::CapabilityModel(Sources sources, QObject* parent)
    : QObject(parent), m_sources(sources) {
    // The permission center passes on every change the accessibility watcher sees.
    if (m_sources.permissions)
        connect(m_sources.permissions, &PermissionCenter::grantsChanged, this,
                &CapabilityModel::changed);
    if (m_sources.translator)
        connect(m_sources.translator, &TranslationEngine::assetStatusChanged, this,
                &CapabilityModel::changed);
}

QString CapabilityModel::rawName(Id id) {
    switch (id) {
    case Id::accessibility:
        return u"accessibility"_s;
    case Id::screenRecording:
        return u"screenRecording"_s;
    case Id::session:
        return u"session"_s;
    case Id::translationModel:
        return u"translationModel"_s;
    case Id::browserConnector:
        return u"browserConnector"_s;
    case Id::recognitionData:
        return u"recognitionData"_s;
    }
    return {};
}

QList<Capability> CapabilityModel::all() const {
    return {accessibility(),
            screenRecording(),
            session(),
            translationModel(),
            capability(Id::browserConnector),
            capability(Id::recognitionData)};
}

Capability CapabilityModel::capability(Id id) const {
    switch (id) {
    case Id::accessibility:
        return accessibility();
    case Id::screenRecording:
        return screenRecording();
    case Id::session:
        return session();
    case Id::translationModel:
        return translationModel();
    case Id::browserConnector:
        return notYetAvailable(
            id, u"浏览器连接器"_s,
            u"让 Quillet 读取浏览器里视频字幕的连接器，会在以后的版本中提供。"_s);
    case Id::recognitionData:
        return recognitionData();
    }
    return {};
}

QStringList CapabilityModel::lines() const {
    QStringList lines;
    for (const Capability& capability : all())
        lines.append(capability.name + u"："_s + capability.state);
    return lines;
}

void CapabilityModel::askForGrant(Id id) {
    if (!m_sources.permissions || (id != Id::accessibility && id != Id::screenRecording))
        return;
    m_sources.permissions->requestAccess(id == Id::accessibility ? Kind::accessibility
                                                                 : Kind::screenRecording);
    // Having asked changes what the page says, even when the system does not answer.
    Q_EMIT changed();
}

Capability CapabilityModel::accessibility() const {
    Capability capability{.id = Id::accessibility,
                          .name = PermissionCenter::displayName(Kind::accessibility)};
    const QString use = u"划词查询和快捷键查询要通过它读取其他应用中选中的文字。"_s;
    if (!m_sources.permissions) {
        capability.state = unknownState;
        capability.explanation =
            u"没有可以读取的桌面，划词查询和快捷键查询不可用；复制查询不受影响。"_s;
    } else if (m_sources.accessibility && m_sources.accessibility->isSandboxed()) {
        capability.state = u"受沙盒限制"_s;
        capability.explanation = u"Quillet 在沙盒中运行，读不到其他应用中的文字，划词查询和"
                                 u"快捷键查询不可用；复制查询不受影响。"_s;
    } else if (m_sources.permissions->isGranted(Kind::accessibility)) {
        capability.state = u"已开启"_s;
        capability.works = true;
        capability.explanation = use + PlatformTexts::accessibilityGrantNote();
    } else {
        capability.state = u"未开启"_s;
        capability.explanation = use + PlatformTexts::accessibilityRequestNote(
                                           m_sources.permissions->wasAsked(Kind::accessibility));
        capability.fix = Capability::Fix::askForGrant;
        capability.fixLabel = u"开启"_s;
    }
    return capability;
}

Capability CapabilityModel::screenRecording() const {
    Capability capability{.id = Id::screenRecording,
                          .name = PermissionCenter::displayName(Kind::screenRecording)};
    const QString use = u"悬停取词与识别画面中的字幕要通过它读取屏幕上的文字。"_s;
    if (m_sources.session == DesktopSession::wayland) {
        capability.state = u"不可用"_s;
        capability.explanation = u"Wayland 不允许应用读取其他窗口的画面，悬停取词与识别画面中"
                                 u"的字幕无法使用。"_s;
    } else if (!m_sources.permissions) {
        capability.state = unknownState;
        capability.explanation = use;
    } else if (m_sources.permissions->isGranted(Kind::screenRecording)) {
        capability.works = true;
        if (m_sources.session == DesktopSession::x11) {
            capability.state = u"无需授权"_s;
            capability.explanation = u"X11 桌面允许直接读取屏幕，悬停取词与识别画面中的字幕"
                                     u"无需另行授权。"_s;
        } else {
            capability.state = u"已授权"_s;
            capability.explanation = use;
        }
    } else {
        capability.state = u"未授权"_s;
        capability.explanation = use;
        capability.fix = Capability::Fix::askForGrant;
        capability.fixLabel = u"授权"_s;
    }
    return capability;
}

Capability CapabilityModel::session() const {
    Capability capability{.id = Id::session, .name = u"桌面会话"_s};
    switch (m_sources.session) {
    case DesktopSession::x11:
        capability.state = u"X11"_s;
        capability.works = true;
        capability.explanation = u"复制查询、划词查询、快捷键查询和模拟复制都可以使用。"_s;
        break;
    case DesktopSession::wayland:
        capability.state = u"Wayland"_s;
        capability.explanation =
            u"Wayland 下无法全局监听选中的文字，快捷键和模拟复制也不起作用；复制查询照常可用。"
            u"要用划词和快捷键查询，请在登录时选择 X11（Xorg）会话。"_s;
        break;
    case DesktopSession::other:
        capability.state = u"未识别"_s;
        capability.explanation = u"无法判断桌面的类型；复制查询总是可用。"_s;
        break;
    }
    return capability;
}

Capability CapabilityModel::translationModel() const {
    Capability capability{.id = Id::translationModel, .name = u"翻译模型"_s};
    if (!m_sources.translator) {
        capability.state = unknownState;
        return capability;
    }
    const TranslationAssetStatus status = m_sources.translator->assetStatus();
    capability.state = assetStatusWords(status);
    switch (status) {
    case TranslationAssetStatus::installed:
        capability.works = true;
        capability.explanation = u"句子由本机的翻译服务整句翻译。"_s;
        return capability;
    case TranslationAssetStatus::supportedNotDownloaded:
        capability.explanation = u"翻译服务已连上，但还没有所需的模型；下载后即可整句翻译。"_s;
        break;
    case TranslationAssetStatus::unsupported:
        capability.explanation = u"整句翻译要连上本机的翻译服务；连上之前，句子逐词给出释义。"_s;
        break;
    }
    capability.fix = Capability::Fix::showTranslationSettings;
    capability.fixLabel = u"前往「词典与翻译」"_s;
    return capability;
}

Capability CapabilityModel::recognitionData() const {
    Capability capability{.id = Id::recognitionData, .name = u"文字识别数据"_s};
    if (!m_sources.screenText) {
        capability.state = unknownState;
        capability.explanation = u"框选查询要用它识别屏幕上的英文；悬停取词在不支持辅助功能的"
                                 u"程序里也靠它。"_s;
    } else if (m_sources.screenText->hasEngine()) {
        capability.works = true;
        capability.state = u"已安装"_s;
        capability.explanation = u"框选查询用它识别屏幕上的英文；悬停取词在不支持辅助功能的"
                                 u"程序里也靠它。"_s;
    } else {
        capability.state = u"未安装"_s;
        capability.explanation = PlatformTexts::recognitionDataMissing();
    }
    return capability;
}
