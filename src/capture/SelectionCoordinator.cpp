#include "capture/SelectionCoordinator.h"

#include "capture/AccessibilityAuthorization.h"
#include "filter/CaptureFilter.h"
#include "platform/CaptureLists.h"
#include "platform/FrontmostApplication.h"
#include "settings/Preferences.h"
#include "settings/TriggerSettings.h"

#include <QPointer>

using namespace Qt::StringLiterals;

namespace {

SelectionReader::Dependencies withClipboardCallbacks(SelectionReader::Dependencies reading,
                                                     SelectionCoordinator::Callbacks& callbacks) {
    reading.pauseClipboard = [&callbacks] {
        if (callbacks.pauseClipboard)
            callbacks.pauseClipboard();
    };
    reading.resumeClipboard = [&callbacks] {
        if (callbacks.resumeClipboard)
            callbacks.resumeClipboard();
    };
    return reading;
}

} // namespace

SelectionCoordinator::SelectionCoordinator(Dependencies dependencies, QObject* parent)
    : QObject(parent), m_deps(std::move(dependencies)),
      m_reader(withClipboardCallbacks(m_deps.reading, m_callbacks)) {}

SelectionCoordinator::~SelectionCoordinator() {
    if (m_inFlight)
        m_inFlight->cancel();
}

void SelectionCoordinator::start(Callbacks callbacks) {
    m_callbacks = std::move(callbacks);
}

void SelectionCoordinator::note(EventLog::Kind kind, const QString& text) {
    m_deps.log.append(kind, text);
}

SelectionCoordinator::Application SelectionCoordinator::frontApplication() const {
    Application app{.name = u"未知"_s, .bundleID = u"unknown"_s};
    if (const auto front = m_deps.frontmost.current()) {
        if (!front->name.isEmpty())
            app.name = front->name;
        if (!front->identifier.isEmpty())
            app.bundleID = front->identifier;
        app.isOwn = front->isOwn;
        app.refusesSimulatedCopy = CaptureLists::refusesSimulatedCopy(front->identifier);
    }
    return app;
}

void SelectionCoordinator::captureNow(std::optional<quint64> gestureServerTime) {
    if (!m_deps.triggers.selectionEnabled())
        return;
    m_deps.authorization.refresh();
    const QDateTime now = m_deps.now();
    if (m_lastCaptureAt && m_lastCaptureAt->msecsTo(now) < debounceMs)
        return;
    const Application app = frontApplication();
    if (app.isOwn)
        return;
    if (CaptureLists::passwordManagers().contains(app.bundleID)) {
        note(EventLog::Kind::reject, u"已跳过 "_s + app.name + u"（密码管理器）"_s);
        return;
    }
    m_lastCaptureAt = now;
    if (m_inFlight)
        m_inFlight->cancel();
    const CancellationToken token;
    m_inFlight = token;
    runCapture(app,
               {.appName = app.name,
                .appBundleID = app.bundleID,
                .gestureServerTime = gestureServerTime,
                .refusesSimulatedCopy = app.refusesSimulatedCopy},
               token);
}

QCoro::Task<void> SelectionCoordinator::runCapture(Application app,
                                                   SelectionReader::Request request,
                                                   CancellationToken token) {
    const QPointer<SelectionCoordinator> self(this);
    const SelectionCaptureResult result = co_await m_reader.capture(std::move(request), token);
    // A newer gesture took over, or the coordinator is gone: the result is dropped.
    if (!self || token.isCancelled())
        co_return;
    m_inFlight.reset();
    if (const auto* outcome = std::get_if<SelectionCaptureOutcome>(&result)) {
        consume(*outcome);
    } else {
        const SelectionCaptureFailure failure = std::get<SelectionCaptureFailure>(result);
        note(EventLog::Kind::error, app.name + u"："_s + SelectionCapture::text(failure));
        reportFailure(failure, app);
    }
}

void SelectionCoordinator::consume(const SelectionCaptureOutcome& outcome) {
    const QString& name = outcome.appName;
    if (outcome.text.size() < 2) {
        note(EventLog::Kind::reject, name + u"：选中文本过短"_s);
        return;
    }
    const QDateTime now = m_deps.now();
    const std::optional<PreviousQuery> previous =
        m_lastCaptured ? std::optional(PreviousQuery{m_lastCaptured->text, m_lastCaptured->date})
                       : std::nullopt;
    const CaptureFilter::Capture capture{.text = outcome.text,
                                         .channel = CaptureFilter::Channel::onDemand,
                                         .isConcealed = outcome.isConcealed};
    if (const auto refusal = CaptureFilter::firstRejection(
            capture, {.lengthLimit = m_deps.preferences.lengthLimit()}, previous, now)) {
        // The same selection again within a minute is simply not looked up again.
        if (refusal->reason == RejectReason::duplicate)
            return;
        note(EventLog::Kind::reject,
             name + u"：被「"_s + RejectReasons::description(refusal->reason) + u"」拦下"_s);
        if (m_callbacks.showRejection)
            m_callbacks.showRejection(outcome.text, refusal->reason, refusal->keepsNoCopy());
        return;
    }
    m_failureStreak.reset();
    m_lastCaptured = Captured{outcome.text, now};
    note(EventLog::Kind::trigger, u"划词｜"_s + name + u"｜"_s +
                                      SelectionCapture::methodWord(outcome.method) + u"｜"_s +
                                      EventLog::privateSegment(outcome.text));
    if (m_callbacks.run)
        m_callbacks.run(outcome.text);
}

void SelectionCoordinator::reportFailure(SelectionCaptureFailure failure, const Application& app) {
    switch (failure) {
    case SelectionCaptureFailure::secureField:
    case SelectionCaptureFailure::emptyFromAX:
    case SelectionCaptureFailure::cancelled:
    case SelectionCaptureFailure::copyEmpty:
        return;
    case SelectionCaptureFailure::notTrusted:
    case SelectionCaptureFailure::sandboxed:
        m_deps.authorization.startPolling();
        if (m_callbacks.showNotice)
            m_callbacks.showNotice(
                failure == SelectionCaptureFailure::sandboxed
                    ? u"当前版本受沙盒限制，划词不可用"_s
                    : u"辅助功能授权已失效，划词无法取词。到「设置 › 通用」重新授权"_s);
        return;
    case SelectionCaptureFailure::noFocused:
    case SelectionCaptureFailure::copyNoChange: {
        if (m_failureStreak && m_failureStreak->bundleID == app.bundleID)
            ++m_failureStreak->count;
        else
            m_failureStreak = Streak{app.bundleID, 1};
        if (m_failureStreak->count == failuresBeforeNotice && m_callbacks.showNotice)
            m_callbacks.showNotice(u"多次未能读取 "_s + app.name +
                                   u" 中选中的文本，可以改用复制查词"_s);
        return;
    }
    }
}

QCoro::Task<SelectionCoordinator::OnDemand> SelectionCoordinator::captureOnDemand() {
    m_deps.authorization.refresh();
    const Application app = frontApplication();
    if (app.isOwn) {
        const std::optional<QString> text =
            m_deps.copyFromOwnWindow ? m_deps.copyFromOwnWindow() : std::nullopt;
        if (!text || text->trimmed().isEmpty())
            co_return NothingInOwnWindow{};
        SelectionCaptureOutcome outcome;
        outcome.text = text->trimmed();
        outcome.method = SelectionCaptureMethod::simulatedCopy;
        outcome.appName = app.name;
        outcome.appBundleID = app.bundleID;
        co_return outcome;
    }
    if (CaptureLists::passwordManagers().contains(app.bundleID))
        co_return BlockedApplication{app.name};

    const QPointer<SelectionCoordinator> self(this);
    // Named, not temporaries: GCC 12 destroys a temporary in a co_await's operand twice.
    SelectionReader::Request request{.appName = app.name,
                                     .appBundleID = app.bundleID,
                                     .refusesSimulatedCopy = app.refusesSimulatedCopy};
    CancellationToken token;
    const SelectionCaptureResult result =
        co_await m_reader.capture(std::move(request), std::move(token));
    if (const auto* outcome = std::get_if<SelectionCaptureOutcome>(&result)) {
        if (self)
            note(EventLog::Kind::trigger, u"快捷键｜"_s + outcome->appName + u"｜"_s +
                                              SelectionCapture::methodWord(outcome->method) +
                                              u"｜"_s + EventLog::privateSegment(outcome->text));
        co_return *outcome;
    }
    co_return std::get<SelectionCaptureFailure>(result);
}
