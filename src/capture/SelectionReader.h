#pragma once

#include "base/Cancellation.h"
#include "capture/SelectionCaptureResult.h"

#include <QCoroTask>
#include <chrono>
#include <functional>
#include <optional>

class AccessibleSelectionReader;
class ClipboardSnapshots;
class KeySynthesizer;
class Pasteboard;
class PrimarySelection;
class SystemPermissions;
class TimerSource;

// Reads the selected text of the application in front: through accessibility first; then,
// after a selection gesture, the desktop's own selection when it changed during the gesture;
// then a simulated copy with the clipboard saved before and put back after. A password field
// ends the read at once, and no copy is simulated where the copy keys mean something else.
class SelectionReader {
public:
    // Each call to another application gets this long.
    static constexpr std::chrono::milliseconds messagingLimit{250};

    struct Dependencies {
        AccessibleSelectionReader& accessible;
        PrimarySelection& primary;
        KeySynthesizer& keys;
        Pasteboard& pasteboard;
        ClipboardSnapshots& snapshots;
        SystemPermissions& permissions;
        TimerSource& timers;
        // Around a simulated copy, so the program's own copy is never taken for the user's.
        std::function<void()> pauseClipboard;
        std::function<void()> resumeClipboard;
        // Told which types of the clipboard could not be put back after a simulated copy.
        std::function<void(const QStringList& types)> typesNotRestored;
    };

    struct Request {
        QString appName;
        QString appBundleID;
        // When the selection gesture began (window-system time); nothing for the hot key.
        std::optional<quint64> gestureServerTime;
        // The application in front takes the copy keys for something else.
        bool refusesSimulatedCopy = false;
    };

    explicit SelectionReader(Dependencies dependencies);

    QCoro::Task<SelectionCaptureResult> capture(Request request, CancellationToken token);

private:
    QCoro::Task<SelectionCaptureResult> captureViaSimulatedCopy(Request request,
                                                                CancellationToken token);
    QCoro::Task<void> waitForModifierRelease();
    QCoro::Task<bool> waitForClipboardChange(qint64 from, int looks);

    Dependencies m_deps;
};
