#include "capture/SelectionReader.h"

#include "base/Delay.h"
#include "base/UnicodeText.h"
#include "capture/ConcealedContent.h"
#include "platform/AccessibleSelectionReader.h"
#include "platform/ClipboardSnapshots.h"
#include "platform/KeySynthesizer.h"
#include "platform/Pasteboard.h"
#include "platform/PrimarySelection.h"
#include "platform/SystemPermissions.h"

using namespace std::chrono_literals;

namespace {

// Waits of the simulated copy: modifiers looked at every 20 ms for at most 500 ms, the
// clipboard every 20 ms for at most 400 ms, the announcement of the restored content for at
// most 200 ms.
constexpr auto kLookInterval = 20ms;
constexpr int kModifierLooks = 25;
constexpr int kCopyLooks = 20;
constexpr int kRestoreLooks = 10;

SelectionCaptureOutcome outcome(const SelectionReader::Request& request, QString text,
                                SelectionCaptureMethod method, bool isConcealed = false) {
    SelectionCaptureOutcome result;
    result.text = std::move(text);
    result.method = method;
    if (!request.appName.isEmpty())
        result.appName = request.appName;
    if (!request.appBundleID.isEmpty())
        result.appBundleID = request.appBundleID;
    result.isConcealed = isConcealed;
    return result;
}

} // namespace

SelectionReader::SelectionReader(Dependencies dependencies) : m_deps(std::move(dependencies)) {}

QCoro::Task<SelectionCaptureResult> SelectionReader::capture(Request request,
                                                             CancellationToken token) {
    if (m_deps.permissions.isSandboxed())
        co_return SelectionCaptureFailure::sandboxed;
    if (!m_deps.permissions.isGranted(SystemPermissions::Kind::accessibility))
        co_return SelectionCaptureFailure::notTrusted;

    const AccessibleSelectionReader::Outcome read = co_await m_deps.accessible.read(messagingLimit);
    SelectionCaptureFailure accessibleFailure = SelectionCaptureFailure::noFocused;
    if (const auto* text = std::get_if<AccessibleSelectionReader::Read>(&read)) {
        const QString trimmed = UnicodeText::trimmed(text->text);
        if (!trimmed.isEmpty())
            co_return outcome(request, trimmed,
                              text->throughRange ? SelectionCaptureMethod::axStringForRange
                                                 : SelectionCaptureMethod::axSelectedText);
        accessibleFailure = SelectionCaptureFailure::emptyFromAX;
    } else {
        switch (std::get<AccessibleSelectionReader::Miss>(read)) {
        case AccessibleSelectionReader::Miss::passwordField:
            // Nothing else is tried in a password field: no copy is ever simulated there.
            co_return SelectionCaptureFailure::secureField;
        case AccessibleSelectionReader::Miss::noSelection:
            accessibleFailure = SelectionCaptureFailure::emptyFromAX;
            break;
        case AccessibleSelectionReader::Miss::noFocused:
            break;
        }
    }

    if (request.gestureServerTime && !token.isCancelled() &&
        m_deps.primary.ownerChangedSince(*request.gestureServerTime)) {
        const std::optional<QString> text = co_await m_deps.primary.read(messagingLimit);
        const QString trimmed = text ? UnicodeText::trimmed(*text) : QString();
        if (!trimmed.isEmpty())
            co_return outcome(request, trimmed, SelectionCaptureMethod::primarySelection);
    }
    if (request.refusesSimulatedCopy)
        co_return accessibleFailure;
    co_return co_await captureViaSimulatedCopy(std::move(request), std::move(token));
}

QCoro::Task<SelectionCaptureResult>
SelectionReader::captureViaSimulatedCopy(Request request, CancellationToken token) {
    co_await waitForModifierRelease();
    if (token.isCancelled())
        co_return SelectionCaptureFailure::cancelled;

    const PasteboardSnapshot snapshot = co_await m_deps.snapshots.take(messagingLimit);
    const qint64 before = m_deps.pasteboard.changeCount();
    if (m_deps.pauseClipboard)
        m_deps.pauseClipboard();
    std::optional<QString> copied;
    bool isConcealed = false;
    if (m_deps.keys.sendCopy() && co_await waitForClipboardChange(before, kCopyLooks)) {
        copied = m_deps.pasteboard.plainText().value_or(QString());
        isConcealed = isConcealedContent(m_deps.pasteboard, m_deps.pasteboard.types());
        m_deps.pasteboard.forgetLastRead();
        const qint64 copiedCount = m_deps.pasteboard.changeCount();
        m_deps.snapshots.restore(snapshot);
        if (!snapshot.unreadable.isEmpty() && m_deps.typesNotRestored)
            m_deps.typesNotRestored(snapshot.unreadable);
        // The restored content is announced like any copy; the monitor resumes after it.
        co_await waitForClipboardChange(copiedCount, kRestoreLooks);
    }
    if (m_deps.resumeClipboard)
        m_deps.resumeClipboard();

    if (!copied)
        co_return SelectionCaptureFailure::copyNoChange;
    const QString trimmed = UnicodeText::trimmed(*copied);
    if (trimmed.isEmpty())
        co_return SelectionCaptureFailure::copyEmpty;
    co_return outcome(request, trimmed, SelectionCaptureMethod::simulatedCopy, isConcealed);
}

QCoro::Task<void> SelectionReader::waitForModifierRelease() {
    for (int look = 0; look < kModifierLooks && m_deps.keys.modifiersHeld(); ++look)
        co_await Delay(m_deps.timers, kLookInterval);
}

QCoro::Task<bool> SelectionReader::waitForClipboardChange(qint64 from, int looks) {
    for (int look = 0; look < looks; ++look) {
        co_await Delay(m_deps.timers, kLookInterval);
        if (m_deps.pasteboard.changeCount() != from)
            co_return true;
    }
    co_return false;
}
