#pragma once

#include "base/Cancellation.h"
#include "base/TimerSource.h"
#include "capture/ClipboardMonitor.h"
#include "capture/PermissionCenter.h"
#include "capture/PointerWordFinder.h"
#include "core/OnDemandFailure.h"
#include "filter/CaptureFilter.h"
#include "filter/RejectReason.h"
#include "lookup/LookupEngine.h"
#include "lookup/LookupResult.h"
#include "subtitles/PlaybackMonitor.h"

#include <QCoroTask>
#include <QDateTime>
#include <QObject>
#include <QPointF>
#include <QRect>
#include <QString>
#include <functional>
#include <optional>

class AccessibilityAuthorization;
class DefaultsStore;
class EventLog;
class FilterPreferences;
class HotKeyCenter;
class PointerDwellMonitor;
class RegionPicker;
class ScreenText;
class SelectionCoordinator;
class SelectionMonitor;
class SystemActivityMonitor;
struct CaptureAdapters;
class LookupPresenter;
class Pasteboard;
class Preferences;
class TranslationEngine;
class TriggerSettings;
class Vocabulary;

// The coordinator: owns the capture sources, decides whether captured text is looked up,
// runs one lookup at a time and hands its outcome to the panel, the notebook and the event
// log. Main thread only.
class AppCore : public QObject {
    Q_OBJECT
public:
    // The last refused text, for the panel's "look it up anyway". Concealed and secret texts
    // are never kept.
    struct Rejection {
        std::optional<QString> text;
        RejectReason reason = RejectReason::empty;
        QDateTime date;
        bool operator==(const Rejection&) const = default;
    };

    struct Dependencies {
        LookupPresenter& presenter;
        Pasteboard& pasteboard;
        TranslationEngine& translator;
        const LookupEngine& engine;
        Vocabulary& vocabulary;
        EventLog& log;
        Preferences& preferences;
        TriggerSettings& triggers;
        FilterPreferences& filter;
        std::function<void(const QString& text)> speak;
        // Opens a word in the dictionary application; logs by itself when it cannot.
        std::function<void(const QString& word)> openInDictionary;
        // Opens the settings of sentence translation (where a model server is set up).
        std::function<void()> openTranslationSettings;
        std::function<QDateTime()> now = [] {
            return QDateTime::currentDateTimeUtc();
        };
        bool wordDatabaseMissing = false;
        int clipboardPollMs = 400;
        // This OS's capture adapters: without them only copies are looked up.
        const CaptureAdapters* capture = nullptr;
        // Where the permission center remembers which grants it asked for.
        DefaultsStore* store = nullptr;
        TimerSource* timers = &TimerSource::system();
        // The selection of the program's own window in front, for the hot key.
        std::function<std::optional<QString>()> copyFromOwnWindow;
        // The program's own prompt for a feature's grant, and its settings at the permissions
        // page; either may be empty (then the permission center writes what to do into the
        // event log).
        std::function<void(PermissionCenter::Feature feature)> presentPermissionPrompt;
        std::function<void(SystemPermissions::Kind kind)> openPermissionsPage;
        // Lets the user draw a box for box lookup; none, and box lookup is not offered.
        RegionPicker* regionPicker = nullptr;
        // A steady clock in seconds, for the pointer key's timing.
        std::function<double()> steadySeconds;
        // This process, never reported as playing video; 0 reads it from the system.
        qint32 ownPid = 0;
    };

    explicit AppCore(Dependencies dependencies, QObject* parent = nullptr);
    ~AppCore() override;

    void start();
    // Looks up text that has already passed the filter.
    void run(const QString& query, bool userInitiated);
    void handleClipboard(const ClipboardChange& change);
    // Selection, region and hover text: the full filter, a refusal shown as a notice.
    bool passesOnDemandFilter(const QString& text, bool isConcealed, const QString& feature);
    void retryLastRejection();
    // The hot key: reads the current selection and looks it up.
    QCoro::Task<void> lookupSelection();
    // The onboarding's sample text, looked up as if the user had selected it.
    void lookUpOnboardingCopy(const QString& text);
    void reportOnDemandFailure(OnDemandFailure failure);
    // Hover lookup: the pointer came to rest at `point` with the pointer key held.
    void handleDwell(QPointF point);
    // Finds the word at `point` and looks it up; a miss is shown.
    QCoro::Task<void> lookUpWord(QPointF point);
    // A word found under the pointer: the 15-second rule, the word check, the filter.
    void lookUpPointerWord(const QString& word);
    // Box lookup: the user draws a box, its text is recognised and looked up.
    QCoro::Task<void> beginRegionLookup();
    QCoro::Task<void> lookUpRegion(std::optional<QRect> region);
    void checkScreenRecordingStillGranted();
    // A grant that went away turns off what needs it, until it comes back.
    void checkAccessibilityStillGranted();
    // Binds the lookup hot key as the settings and the run state want it.
    void rebindHotKey();
    void copyToClipboard(const QString& text);
    void openInDictionary(const QString& word);
    // Starts or stops the sources the settings and the system state allow.
    void applyRunState();
    void setSystemPaused(bool paused);
    bool isSystemPaused() const { return m_systemPaused; }
    void noteDisplayLayout(const QString& screenName, bool hasNotch);
    // The user agreed to fetch the translation assets for this query.
    void downloadLanguagePack(const QString& query);
    // Asks the translator whether its model is there. Until it knows, a sentence waits for
    // the answer, which decides whether the language pack is offered first.
    QCoro::Task<void> learnTranslatorStatus();

    const std::optional<Rejection>& lastRejection() const { return m_lastRejection; }
    const std::optional<QString>& pendingWord() const { return m_pendingWord; }
    ClipboardMonitor& clipboard() { return m_clipboard; }
    // Nothing without capture adapters.
    PermissionCenter* permissions() { return m_permissions.get(); }
    HotKeyCenter* hotKeys() { return m_hotKeys.get(); }
    AccessibilityAuthorization* accessibility() { return m_accessibility.get(); }
    // Nothing where hover lookup is not offered.
    PointerDwellMonitor* pointerDwell() { return m_dwell.get(); }
    // Nothing where this OS's adapters do not report them.
    SystemActivityMonitor* activity() { return m_activity.get(); }
    PlaybackMonitor* playback() { return m_playback.get(); }
    // Reads text off the screen; nothing where this OS's adapters offer none.
    const ScreenText* screenText() const;
    bool isLookupInFlight() const { return m_inFlight.has_value(); }

    // The feature names of copied, selected and hot-key text in event-log lines.
    static QString clipboardFeature();
    static QString selectionFeature();
    static QString hotKeyFeature();
    static QString pointerFeature();
    static QString regionFeature();

Q_SIGNALS:
    void lastRejectionChanged();
    // A lookup ended: shown, failed or dropped. For observers that wait on it.
    void lookupSettled(const QString& query);
    // The set of applications playing video changed (also to none when the monitor stops).
    void playbackChanged(const PlaybackMonitor::Playing& from, const PlaybackMonitor::Playing& to);

private:
    QCoro::Task<void> perform(QString query, bool userInitiated, CancellationToken token,
                              quint64 generation);
    // Hands a lookup's outcome to the panel, the notebook and the log; true when the
    // translation service's state should be refreshed afterwards.
    bool conclude(const QString& query, bool userInitiated, const CancellationToken& token,
                  const LookupOutcome& outcome);
    // The lookup is no longer in flight.
    void settle(const QString& query, quint64 generation);
    QCoro::Task<void> prepareAndRun(QString query);
    std::optional<CaptureFilter::Refusal> filter(const CaptureFilter::Capture& capture) const;
    void refuse(const QString& feature, const CaptureFilter::Refusal& refusal, const QString& text);
    void note(const CaptureFilter::Refusal& refusal, const QString& text);
    void collapseIfStillLoading(const QString& query);
    void wirePresenterActions();
    void makeCaptureSources();
    void wireCaptureSources();
    // Shows a refused selection: a notice, with "look it up anyway" when the text was kept.
    void showOnDemandRefusal(const CaptureFilter::Refusal& refusal, const QString& text);
    bool accessibilityGranted() const;
    void applyCaptureRunState();
    void makePointerSources();
    void applyPointerRunState();
    bool screenRecordingGranted() const;
    void showPointerMiss(PointerWordFinder::Miss miss);
    // Says once what to install for recognition; true when it said so now.
    bool noteRecognitionMissing();
    void makeActivitySources();
    void applyPlaybackRunState();
    void notePlayback(const PlaybackMonitor::Playing& playing);

    Dependencies m_deps;
    ClipboardMonitor m_clipboard;
    std::optional<PreviousQuery> m_lastQuery;
    std::optional<CancellationToken> m_inFlight;
    quint64 m_generation = 0; // which run the in-flight token belongs to
    std::optional<Rejection> m_lastRejection;
    std::optional<QString> m_pendingWord;
    bool m_systemPaused = false;
    bool m_languagePackConsented = false;
    bool m_learningTranslatorStatus = false;
    struct WaitingSentence {
        QString query;
        bool userInitiated;
    };
    std::optional<WaitingSentence> m_sentenceAwaitingStatus;
    bool m_started = false;

    std::unique_ptr<AccessibilityAuthorization> m_accessibility;
    std::unique_ptr<PermissionCenter> m_permissions;
    std::unique_ptr<SelectionCoordinator> m_selection;
    std::unique_ptr<SelectionMonitor> m_selectionMonitor;
    std::unique_ptr<HotKeyCenter> m_hotKeys;
    // What the lookup slot is bound to now (nothing while unbound).
    std::optional<HotKeySpec> m_boundHotKey;
    bool m_hotKeyBindAttempted = false;

    std::unique_ptr<PointerDwellMonitor> m_dwell;
    std::unique_ptr<PointerWordFinder> m_wordFinder;
    struct PointerWord {
        QString word;
        QDateTime date;
    };
    std::optional<PointerWord> m_lastPointerWord;
    // Which dwell the running word read belongs to; a newer dwell supersedes it.
    quint64 m_pointerGeneration = 0;
    std::unique_ptr<TimerSource::Timer> m_dwellDelay;
    bool m_regionOpen = false;
    bool m_recognitionMissingNoted = false;
    bool m_screenRecordingSeen = false;

    std::unique_ptr<SystemActivityMonitor> m_activity;
    std::unique_ptr<PlaybackMonitor> m_playback;
};
