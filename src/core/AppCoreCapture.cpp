// The coordinator's side of selection capture, the lookup hot key and the accessibility
// grant.
#include "base/UnicodeText.h"
#include "capture/AccessibilityAuthorization.h"
#include "capture/HotKeyCenter.h"
#include "capture/SelectionCoordinator.h"
#include "capture/SelectionMonitor.h"
#include "core/AppCore.h"
#include "core/LookupPresenter.h"
#include "logs/EventLog.h"
#include "platform/CaptureAdapters.h"
#include "platform/SystemPermissions.h"
#include "settings/Preferences.h"
#include "settings/TriggerSettings.h"

#include <QPointer>

using namespace Qt::StringLiterals;

QString AppCore::selectionFeature() {
    return u"划词"_s;
}

QString AppCore::hotKeyFeature() {
    return u"快捷键"_s;
}

void AppCore::makeCaptureSources() {
    const CaptureAdapters* adapters = m_deps.capture;
    if (!adapters || !m_deps.store)
        return;
    m_accessibility = std::make_unique<AccessibilityAuthorization>(*adapters->permissions,
                                                                   m_deps.log, *m_deps.timers);
    m_permissions = std::make_unique<PermissionCenter>(PermissionCenter::Dependencies{
        .system = *adapters->permissions,
        .accessibility = *m_accessibility,
        .store = *m_deps.store,
        .triggers = m_deps.triggers,
        .log = m_deps.log,
        .notify = [this](const QString& message) { m_deps.presenter.showNotice(message); },
        .presentPrompt = m_deps.presentPermissionPrompt,
        .openPermissionsPage = m_deps.openPermissionsPage});
    m_selection = std::make_unique<SelectionCoordinator>(SelectionCoordinator::Dependencies{
        .reading = {.accessible = *adapters->accessible,
                    .primary = *adapters->primary,
                    .keys = *adapters->keys,
                    .pasteboard = m_deps.pasteboard,
                    .snapshots = *adapters->snapshots,
                    .permissions = *adapters->permissions,
                    .timers = *m_deps.timers,
                    .pauseClipboard = {},
                    .resumeClipboard = {},
                    .typesNotRestored =
                        [this](const QStringList& types) {
                            m_deps.log.append(
                                EventLog::Kind::error,
                                u"划词｜剪贴板有 %1 种内容未能还原：%2"_s.arg(types.size())
                                    .arg(types.join(u"、"_s)));
                        }},
        .frontmost = *adapters->frontmost,
        .authorization = *m_accessibility,
        .triggers = m_deps.triggers,
        .preferences = m_deps.preferences,
        .log = m_deps.log,
        .now = m_deps.now,
        .copyFromOwnWindow = m_deps.copyFromOwnWindow});
    m_selectionMonitor = std::make_unique<SelectionMonitor>(
        *adapters->pointer, [this](quint64 pressTime) { m_selection->captureNow(pressTime); });
    m_hotKeys = std::make_unique<HotKeyCenter>(*adapters->hotKeys, m_deps.log);
    makePointerSources();
    makeActivitySources();
}

void AppCore::wireCaptureSources() {
    if (!m_selection)
        return;
    m_deps.capture->permissions->setChangeHandler([this] {
        m_accessibility->systemChanged();
        checkScreenRecordingStillGranted();
        m_permissions->systemChanged();
    });
    m_selection->start({
        .pauseClipboard = [this] { m_clipboard.pause(); },
        .resumeClipboard = [this] { applyRunState(); },
        .run = [this](const QString& text) { run(text, true); },
        .showNotice = [this](const QString& message) { m_deps.presenter.showNotice(message); },
        .showRejection =
            [this](const QString& text, RejectReason reason, bool keepsNoCopy) {
                showOnDemandRefusal({.reason = reason, .holdsSecrets = keepsNoCopy}, text);
            },
    });
    connect(m_accessibility.get(), &AccessibilityAuthorization::trustChanged, this,
            [this] { checkAccessibilityStillGranted(); });
    // Turned on where no prompt could stop it (the command line, the settings file) while the
    // grant is missing: not a silent nothing.
    connect(&m_deps.triggers, &TriggerSettings::changed, this, [this](Settings::Id setting) {
        if (setting == Settings::Id::selectionEnabled && m_deps.triggers.selectionEnabled() &&
            !accessibilityGranted())
            m_deps.log.append(EventLog::Kind::error, u"划词查询需要「辅助功能」授权，尚未启动"_s);
    });
}

bool AppCore::accessibilityGranted() const {
    return m_accessibility && m_accessibility->isTrusted();
}

void AppCore::applyCaptureRunState() {
    if (!m_selectionMonitor)
        return;
    // Features whose grant is missing do not run; their settings stay as the user left them.
    const bool selectionRuns = !m_systemPaused && !m_deps.triggers.isMuted() &&
                               m_deps.triggers.selectionEnabled() && accessibilityGranted();
    if (selectionRuns && !m_selectionMonitor->isRunning()) {
        if (!m_selectionMonitor->start())
            m_deps.log.append(EventLog::Kind::error, u"划词｜无法监听鼠标，划词查询不可用"_s);
    } else if (!selectionRuns && m_selectionMonitor->isRunning()) {
        m_selectionMonitor->stop();
    }
    rebindHotKey();
    applyPointerRunState();
}

void AppCore::rebindHotKey() {
    if (!m_hotKeys)
        return;
    const bool hotKeyRuns = !m_systemPaused &&
                            m_deps.triggers.method() == TriggerSettings::Method::hotKey &&
                            accessibilityGranted();
    const std::optional<HotKeySpec> wanted =
        hotKeyRuns ? m_deps.triggers.hotKey() : std::optional<HotKeySpec>();
    // Bound once per change: every bind writes a line to the log.
    if (m_hotKeyBindAttempted && wanted == m_boundHotKey)
        return;
    m_hotKeyBindAttempted = true;
    m_boundHotKey = wanted;
    m_hotKeys->bind(HotKeySlotID::lookup, wanted, true, [this] { lookupSelection(); });
}

void AppCore::checkAccessibilityStillGranted() {
    if (!m_accessibility)
        return;
    if (m_accessibility->isTrusted()) {
        applyRunState();
        return;
    }
    bool lost = false;
    if (m_deps.triggers.selectionEnabled()) {
        lost = true;
        m_permissions->awaitGrant(PermissionCenter::Feature::selectionLookup);
        m_deps.triggers.setSelectionEnabled(false);
        m_deps.log.append(EventLog::Kind::error, u"划词查询已停用"_s);
    }
    if (m_deps.triggers.method() == TriggerSettings::Method::hotKey) {
        lost = true;
        m_permissions->awaitGrant(PermissionCenter::Feature::hotKeyLookup);
        m_deps.triggers.setMethod(TriggerSettings::Method::copy);
        m_deps.log.append(EventLog::Kind::error, u"快捷键查询已停用"_s);
    }
    if (lost)
        m_deps.presenter.showNotice(u"「辅助功能」授权不在了，重新授权即可恢复。"_s);
    applyRunState();
}

QCoro::Task<void> AppCore::lookupSelection() {
    if (!m_selection)
        co_return;
    const QPointer<AppCore> self(this);
    const SelectionCoordinator::OnDemand read = co_await m_selection->captureOnDemand();
    if (!self)
        co_return;
    if (const auto* outcome = std::get_if<SelectionCaptureOutcome>(&read)) {
        if (outcome->isConcealed) {
            reportOnDemandFailure(OnDemandFailure::secretLike);
            co_return;
        }
        if (passesOnDemandFilter(outcome->text, false, hotKeyFeature()))
            run(outcome->text, true);
    } else if (const auto* failure = std::get_if<SelectionCaptureFailure>(&read)) {
        reportOnDemandFailure(OnDemandFailures::from(*failure));
    } else if (std::holds_alternative<SelectionCoordinator::BlockedApplication>(read)) {
        reportOnDemandFailure(OnDemandFailure::passwordManager);
    } else {
        reportOnDemandFailure(OnDemandFailure::unreadable);
    }
}

void AppCore::reportOnDemandFailure(OnDemandFailure failure) {
    const QString text = OnDemandFailures::text(failure);
    m_deps.log.append(EventLog::Kind::reject, hotKeyFeature() + u"｜"_s + text);
    m_deps.presenter.showNotice(text);
}
