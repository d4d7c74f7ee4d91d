#include "core/AppCore.h"

#include "base/UnicodeText.h"
#include "capture/AccessibilityAuthorization.h"
#include "capture/HotKeyCenter.h"
#include "capture/PointerDwellMonitor.h"
#include "capture/SelectionCoordinator.h"
#include "capture/SelectionMonitor.h"
#include "capture/SystemActivityMonitor.h"
#include "core/LookupPresenter.h"
#include "filter/TextFilter.h"
#include "logs/EventLog.h"
#include "lookup/LookupEngine.h"
#include "lookup/LookupLogLines.h"
#include "lookup/TranslationEngine.h"
#include "notebook/Vocabulary.h"
#include "platform/Pasteboard.h"
#include "settings/FilterPreferences.h"
#include "settings/Preferences.h"
#include "settings/TriggerSettings.h"

#include <QPointer>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

// Translated and glossed sentences are kept as sentences; everything else the panel shows
// is a word.
Vocabulary::Kind notebookKind(const LookupResult& result) {
    return !result.isDictionaryAnswer() && TextFilter::kind(result.term) != QueryKind::word
               ? Vocabulary::Kind::sentence
               : Vocabulary::Kind::word;
}

QString wordOrSentence(const QString& trimmed) {
    return TextFilter::kind(trimmed) == QueryKind::word ? u"单词"_s : u"句子"_s;
}

} // namespace

QString AppCore::clipboardFeature() {
    return u"复制查词"_s;
}

AppCore::AppCore(Dependencies dependencies, QObject* parent)
    : QObject(parent), m_deps(std::move(dependencies)),
      m_clipboard(m_deps.pasteboard, std::chrono::milliseconds(m_deps.clipboardPollMs)) {
    makeCaptureSources();
}

AppCore::~AppCore() {
    if (m_inFlight)
        m_inFlight->cancel();
}

void AppCore::start() {
    if (m_started)
        return;
    m_started = true;
    m_clipboard.onChange = [this](const ClipboardChange& change) {
        handleClipboard(change);
    };
    wirePresenterActions();
    wireCaptureSources();
    connect(&m_deps.triggers, &TriggerSettings::changed, this, [this] { applyRunState(); });
    m_deps.log.append(EventLog::Kind::trigger, u"Quillet 已启动"_s);
    if (m_deps.wordDatabaseMissing)
        m_deps.log.append(EventLog::Kind::error, u"内置词库缺失，单词只能走系统词典和翻译"_s);
    // Listening first: a screen already locked keeps every source from starting.
    if (m_activity)
        m_activity->start();
    applyRunState();
}

void AppCore::wirePresenterActions() {
    LookupPresenter::Actions actions;
    actions.copy = [this](const QString& text) {
        copyToClipboard(text);
    };
    actions.speak = [this](const QString& word) {
        if (m_deps.speak)
            m_deps.speak(word);
    };
    actions.openInDictionary = [this](const QString& word) {
        openInDictionary(word);
    };
    actions.isStarred = [this](const LookupResult& result) {
        const auto entry = m_deps.vocabulary.entry(result.term, notebookKind(result));
        return entry && entry->starred;
    };
    actions.toggleStar = [this](const LookupResult& result) {
        const Vocabulary::Kind kind = notebookKind(result);
        return m_deps.vocabulary.toggleStar(
            result.term, kind,
            kind == Vocabulary::Kind::sentence ? std::optional(result.translation) : std::nullopt);
    };
    actions.wordSources = [this](const QString& term) {
        return m_deps.engine.wordSources(term);
    };
    actions.downloadLanguagePack = [this](const QString& query) {
        downloadLanguagePack(query);
    };
    actions.openTranslationSettings = [this] {
        if (m_deps.openTranslationSettings)
            m_deps.openTranslationSettings();
    };
    actions.retryLastRejection = [this] {
        retryLastRejection();
    };
    m_deps.presenter.setActions(std::move(actions));
}

void AppCore::applyRunState() {
    const bool clipboardRuns = !m_systemPaused && !m_deps.triggers.isMuted() &&
                               m_deps.triggers.method() == TriggerSettings::Method::copy;
    if (clipboardRuns && !m_clipboard.isRunning())
        m_clipboard.start();
    else if (!clipboardRuns && m_clipboard.isRunning())
        m_clipboard.pause();
    applyCaptureRunState();
    applyPlaybackRunState();
}

void AppCore::setSystemPaused(bool paused) {
    if (m_systemPaused == paused)
        return;
    m_systemPaused = paused;
    applyRunState();
}

void AppCore::noteDisplayLayout(const QString& screenName, bool hasNotch) {
    if (hasNotch)
        return;
    m_deps.log.append(EventLog::Kind::trigger,
                      u"未检测到刘海屏（当前："_s + screenName + u"），已在屏幕顶部中央模拟刘海"_s);
}

// --- Filtering -------------------------------------------------------------------------

std::optional<CaptureFilter::Refusal> AppCore::filter(const CaptureFilter::Capture& capture) const {
    const CaptureFilter::Settings settings{
        .lengthLimit = m_deps.preferences.lengthLimit(),
        .showsEverything = m_deps.filter.showsEverything(),
    };
    return CaptureFilter::firstRejection(capture, settings, m_lastQuery, m_deps.now());
}

void AppCore::note(const CaptureFilter::Refusal& refusal, const QString& text) {
    // A concealed or secret text must not outlive the check.
    m_lastRejection =
        Rejection{.text = refusal.keepsNoCopy() ? std::nullopt : std::optional<QString>(text),
                  .reason = refusal.reason,
                  .date = m_deps.now()};
    Q_EMIT lastRejectionChanged();
}

void AppCore::refuse(const QString& feature, const CaptureFilter::Refusal& refusal,
                     const QString& text) {
    QString content = feature + u"｜"_s + RejectReasons::description(refusal.reason);
    if (!refusal.keepsNoCopy())
        content += u"｜"_s + EventLog::privateSegment(UnicodeText::trimmed(text));
    m_deps.log.append(EventLog::Kind::reject, content);
    note(refusal, text);
}

void AppCore::handleClipboard(const ClipboardChange& change) {
    const CaptureFilter::Capture capture{.text = change.text,
                                         .channel = CaptureFilter::Channel::clipboard,
                                         .isConcealed = change.isConcealed,
                                         .isRemote = change.isRemote};
    if (const std::optional<CaptureFilter::Refusal> refusal = filter(capture)) {
        refuse(clipboardFeature(), *refusal, change.text);
        return;
    }
    const QString trimmed = UnicodeText::trimmed(change.text);
    m_lastQuery = PreviousQuery{.text = trimmed, .date = m_deps.now()};
    m_deps.log.append(EventLog::Kind::trigger, clipboardFeature() + u"｜"_s +
                                                   wordOrSentence(trimmed) + u"｜"_s +
                                                   EventLog::privateSegment(trimmed));
    run(trimmed, false);
}

bool AppCore::passesOnDemandFilter(const QString& text, bool isConcealed, const QString& feature) {
    const CaptureFilter::Capture capture{
        .text = text, .channel = CaptureFilter::Channel::onDemand, .isConcealed = isConcealed};
    if (const std::optional<CaptureFilter::Refusal> refusal = filter(capture)) {
        refuse(feature, *refusal, text);
        showOnDemandRefusal(*refusal, text);
        return false;
    }
    m_lastQuery = PreviousQuery{.text = UnicodeText::trimmed(text), .date = m_deps.now()};
    return true;
}

void AppCore::showOnDemandRefusal(const CaptureFilter::Refusal& refusal, const QString& text) {
    note(refusal, text);
    // Only a text that was kept can be looked up anyway.
    const QString userFacing = RejectReasons::userFacing(refusal.reason);
    if (m_lastRejection && m_lastRejection->text)
        m_deps.presenter.showRefusal(userFacing);
    else
        m_deps.presenter.showNotice(userFacing);
}

void AppCore::retryLastRejection() {
    if (!m_lastRejection || !m_lastRejection->text)
        return;
    const QString text = *m_lastRejection->text;
    m_deps.log.append(EventLog::Kind::trigger,
                      u"悬停重查｜原因 "_s + RejectReasons::description(m_lastRejection->reason) +
                          u"｜"_s + EventLog::privateSegment(UnicodeText::trimmed(text)));
    run(text, true);
}

void AppCore::lookUpOnboardingCopy(const QString& text) {
    const QString trimmed = UnicodeText::trimmed(text);
    if (trimmed.isEmpty())
        return;
    m_deps.log.append(EventLog::Kind::trigger,
                      u"新手引导｜试查 "_s + EventLog::privateSegment(trimmed));
    run(trimmed, true);
}

// --- Lookups ---------------------------------------------------------------------------

void AppCore::run(const QString& query, bool userInitiated) {
    // Whatever comes next replaces a sentence still waiting.
    m_sentenceAwaitingStatus.reset();
    if (m_learningTranslatorStatus && !m_languagePackConsented &&
        TextFilter::kind(UnicodeText::trimmed(query)) == QueryKind::sentence) {
        m_sentenceAwaitingStatus = WaitingSentence{query, userInitiated};
        return;
    }
    if (!m_languagePackConsented &&
        m_deps.translator.assetStatus() == TranslationAssetStatus::supportedNotDownloaded &&
        TextFilter::kind(UnicodeText::trimmed(query)) == QueryKind::sentence) {
        // Asked once per run; later sentences go ahead and end in the engine's message.
        m_languagePackConsented = true;
        m_deps.log.append(EventLog::Kind::reject, u"整句｜语言包未下载，已询问"_s);
        m_deps.presenter.showNeedsLanguagePack(query, userInitiated);
        return;
    }
    if (m_inFlight)
        m_inFlight->cancel();
    m_deps.presenter.showLoading(query, userInitiated);
    const CancellationToken token;
    m_inFlight = token;
    perform(query, userInitiated, token, ++m_generation);
}

QCoro::Task<void> AppCore::learnTranslatorStatus() {
    const QPointer<AppCore> self(this);
    m_learningTranslatorStatus = true;
    co_await m_deps.translator.refreshAssetStatus();
    if (!self)
        co_return;
    m_learningTranslatorStatus = false;
    if (const std::optional<WaitingSentence> waiting = std::exchange(m_sentenceAwaitingStatus, {}))
        run(waiting->query, waiting->userInitiated);
}

QCoro::Task<void> AppCore::perform(QString query, bool userInitiated, CancellationToken token,
                                   quint64 generation) {
    const QPointer<AppCore> self(this);
    const LookupOutcome outcome = co_await m_deps.engine.lookup(query, token);
    if (!self)
        co_return;
    const bool refreshesStatus = conclude(query, userInitiated, token, outcome);
    settle(query, generation);
    // The lookup is over: a newer one may start while the settings catch up, and observers
    // of the settling may have ended the coordinator.
    if (!self || !refreshesStatus)
        co_return;
    co_await m_deps.translator.refreshAssetStatus();
}

bool AppCore::conclude(const QString& query, bool userInitiated, const CancellationToken& token,
                       const LookupOutcome& outcome) {
    if (token.isCancelled() || std::holds_alternative<Cancelled>(outcome)) {
        collapseIfStillLoading(query);
        return false;
    }
    if (const auto* error = std::get_if<LookupError>(&outcome)) {
        m_deps.presenter.showFailure(error->localizedDescription(), userInitiated);
        m_deps.log.append(EventLog::Kind::error, LookupLogLines::failure(*error));
        return false;
    }
    const LookupResult& result = std::get<LookupResult>(outcome);
    const bool shown = m_deps.presenter.show(result, userInitiated);
    if (shown)
        m_deps.presenter.scheduleAutoHide();
    if (result.isDictionaryAnswer()) {
        if (shown) {
            m_pendingWord.reset();
            m_deps.vocabulary.record(result.term);
            if (m_deps.preferences.speaksOnLookup() && m_deps.speak)
                m_deps.speak(result.term);
        } else {
            m_pendingWord = result.term;
        }
    }
    m_deps.log.append(EventLog::Kind::result, LookupLogLines::summary(result));
    // So that the settings show what the translation taught about the model.
    return !result.isDictionaryAnswer() &&
           m_deps.translator.assetStatus() != TranslationAssetStatus::installed;
}

void AppCore::settle(const QString& query, quint64 generation) {
    if (generation == m_generation)
        m_inFlight.reset();
    Q_EMIT lookupSettled(query);
}

void AppCore::collapseIfStillLoading(const QString& query) {
    if (m_deps.presenter.loadingQuery() != query)
        return;
    m_deps.presenter.collapse();
    m_deps.log.append(EventLog::Kind::result,
                      u"查询中断，收起面板｜"_s +
                          EventLog::privateSegment(UnicodeText::trimmed(query)));
}

void AppCore::downloadLanguagePack(const QString& query) {
    m_languagePackConsented = true;
    prepareAndRun(query);
}

QCoro::Task<void> AppCore::prepareAndRun(QString query) {
    const QPointer<AppCore> self(this);
    const auto progress =
        connect(&m_deps.translator, &TranslationEngine::preparationProgress, this,
                [this](double fraction) { m_deps.presenter.showDownloadProgress(fraction); });
    // A named token: GCC 12 destroys a temporary in a co_await's operand twice.
    CancellationToken token;
    const PreparationOutcome outcome =
        co_await m_deps.translator.prepareInteractively(std::move(token));
    if (!self)
        co_return;
    disconnect(progress);
    if (const auto* failure = std::get_if<TranslationFailure>(&outcome)) {
        m_deps.presenter.showFailure(u"语言包检查失败："_s + failure->message, true);
        co_return;
    }
    if (std::holds_alternative<Cancelled>(outcome))
        co_return;
    run(query, true);
}

// --- Panel actions ---------------------------------------------------------------------

void AppCore::copyToClipboard(const QString& text) {
    // Written through the monitor so our own copy is never looked up.
    m_clipboard.writeText(text);
}

void AppCore::openInDictionary(const QString& word) {
    if (m_deps.openInDictionary)
        m_deps.openInDictionary(word);
}
