#pragma once

#include "base/Cancellation.h"
#include "capture/SelectionCaptureResult.h"
#include "capture/SelectionReader.h"
#include "filter/RejectReason.h"
#include "logs/EventLog.h"

#include <QCoroTask>
#include <QDateTime>
#include <QObject>
#include <functional>
#include <optional>
#include <variant>

class AccessibilityAuthorization;
class FrontmostApplication;
class Preferences;
class TriggerSettings;

// Decides when a finished selection is read, reads one at a time, and turns what it read
// into a lookup, a logged skip or a notice. Also reads the selection on demand for the hot
// key. Main thread only.
class SelectionCoordinator : public QObject {
    Q_OBJECT
public:
    static constexpr qint64 debounceMs = 600;
    static constexpr qint64 repeatWindowMs = 60'000;
    static constexpr int failuresBeforeNotice = 3;

    struct Dependencies {
        SelectionReader::Dependencies reading; // its clipboard callbacks are filled in here
        FrontmostApplication& frontmost;
        AccessibilityAuthorization& authorization;
        TriggerSettings& triggers;
        Preferences& preferences;
        EventLog& log;
        std::function<QDateTime()> now = [] {
            return QDateTime::currentDateTimeUtc();
        };
        // The selection of the program's own window in front (its focused text control).
        std::function<std::optional<QString>()> copyFromOwnWindow;
    };

    struct Callbacks {
        std::function<void()> pauseClipboard;
        std::function<void()> resumeClipboard;
        std::function<void(const QString& text)> run;
        std::function<void(const QString& message)> showNotice;
        std::function<void(const QString& text, RejectReason reason, bool keepsNoCopy)>
            showRejection;
    };

    // The hot key's read: the text, why it failed, a password manager in front, or the
    // program's own window with nothing to copy.
    struct BlockedApplication {
        QString name;
    };
    struct NothingInOwnWindow {};
    using OnDemand = std::variant<SelectionCaptureOutcome, SelectionCaptureFailure,
                                  BlockedApplication, NothingInOwnWindow>;

    explicit SelectionCoordinator(Dependencies dependencies, QObject* parent = nullptr);
    ~SelectionCoordinator() override;

    void start(Callbacks callbacks);
    // A selection gesture ended; it began at `gestureServerTime` (window-system time).
    void captureNow(std::optional<quint64> gestureServerTime = std::nullopt);
    QCoro::Task<OnDemand> captureOnDemand();

private:
    struct Application {
        QString name;
        QString bundleID;
        bool isOwn = false;
        bool refusesSimulatedCopy = false;
    };
    Application frontApplication() const;
    QCoro::Task<void> runCapture(Application app, SelectionReader::Request request,
                                 CancellationToken token);
    void consume(const SelectionCaptureOutcome& outcome);
    void reportFailure(SelectionCaptureFailure failure, const Application& app);
    void note(EventLog::Kind kind, const QString& text);

    Dependencies m_deps;
    SelectionReader m_reader;
    Callbacks m_callbacks;
    std::optional<QDateTime> m_lastCaptureAt;
    std::optional<CancellationToken> m_inFlight;
    struct Streak {
        QString bundleID;
        int count = 0;
    };
    std::optional<Streak> m_failureStreak;
    struct Captured {
        QString text;
        QDateTime date;
    };
    std::optional<Captured> m_lastCaptured;
};
