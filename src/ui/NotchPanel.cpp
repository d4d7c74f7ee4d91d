#include "ui/NotchPanel.h"

#include "ui/ActionBar.h"
#include "ui/LanguagePackView.h"
#include "ui/LoadingView.h"
#include "ui/NotchWindow.h"
#include "ui/NoticeView.h"
#include "ui/PanelStyle.h"
#include "ui/ResultView.h"

#include <QCoreApplication>
#include <QMetaEnum>
#include <QScreen>
#include <QStackedWidget>
#include <algorithm>

using namespace Qt::StringLiterals;

namespace {

// Asks the other dictionaries about the result of one generation.
struct OtherSourcesEvent : QEvent {
    static constexpr auto kType = static_cast<QEvent::Type>(QEvent::User + 1);
    explicit OtherSourcesEvent(quint64 generation) : QEvent(kType), generation(generation) {}
    quint64 generation;
};

// Fits the window to the loading layout, if that is still the state.
constexpr auto kFitLoadingEvent = static_cast<QEvent::Type>(QEvent::User + 2);

int windowWidthFor(NotchPanel::State state) {
    switch (state) {
    case NotchPanel::State::result:
        return PanelStyle::resultWidth;
    case NotchPanel::State::loading:
        return PanelStyle::loadingWidth;
    case NotchPanel::State::languagePack:
        return PanelStyle::languagePackWidth;
    default:
        return PanelStyle::compactWidth;
    }
}

} // namespace

NotchPanel::NotchPanel(QObject* parent) : NotchPanel(Timings{}, parent) {}

NotchPanel::NotchPanel(Timings timings, QObject* parent)
    : QObject(parent), m_timings(timings), m_stack(new QStackedWidget),
      m_loadingView(new LoadingView(m_stack)), m_resultView(new ResultView(m_stack)),
      m_noticeView(new NoticeView(m_stack)), m_packView(new LanguagePackView(m_stack)),
      m_window(std::make_unique<NotchWindow>(m_stack)) {
    for (QWidget* view : {static_cast<QWidget*>(m_loadingView), static_cast<QWidget*>(m_resultView),
                          static_cast<QWidget*>(m_noticeView), static_cast<QWidget*>(m_packView)})
        m_stack->addWidget(view);

    m_hideTimer.setSingleShot(true);
    m_hoverTimer.setSingleShot(true);
    connect(&m_hideTimer, &QTimer::timeout, this, &NotchPanel::hideTimerFired);
    connect(&m_hoverTimer, &QTimer::timeout, this, [this] {
        if (m_pointerInside)
            expand(true);
    });
    connect(m_window.get(), &NotchWindow::pointerEntered, this, &NotchPanel::pointerEntered);
    connect(m_window.get(), &NotchWindow::pointerLeft, this, &NotchPanel::pointerLeft);
    wireActions();
}

NotchPanel::~NotchPanel() {
    // The window's widgets are connected to this panel: let them go while it is whole.
    m_window.reset();
}

void NotchPanel::wireActions() {
    ActionBar* bar = m_resultView->actionBar();
    connect(bar, &ActionBar::starClicked, this, [this, bar] {
        if (!m_actions.toggleStar)
            return;
        bar->setStarred(m_actions.toggleStar(m_resultView->result()));
        Q_EMIT contentChanged();
    });
    connect(bar, &ActionBar::copyClicked, this, [this, bar] {
        if (!m_actions.copy)
            return;
        // What is on screen: the selected tab's dictionary, not necessarily the first.
        LookupResult shown = m_resultView->result();
        if (shown.isDictionaryAnswer())
            shown.source = m_resultView->currentSource();
        m_actions.copy(shown.copyAllText().value_or(shown.term));
        bar->confirmCopied();
    });
    connect(bar, &ActionBar::speakClicked, this, [this] {
        if (m_actions.speak)
            m_actions.speak(m_resultView->result().term);
    });
    connect(bar, &ActionBar::openClicked, this, [this] {
        if (m_actions.openInDictionary)
            m_actions.openInDictionary(m_resultView->result().term);
    });
    connect(m_resultView, &ResultView::tabChanged, this, [this] {
        if (m_state == State::result)
            fitWindow(State::result);
        Q_EMIT contentChanged();
    });
    connect(m_resultView, &ResultView::fullTranslationRequested, this, [this] {
        if (m_actions.openTranslationSettings)
            m_actions.openTranslationSettings();
    });
    connect(m_noticeView, &NoticeView::retryRequested, this, [this] {
        if (m_actions.retryLastRejection)
            m_actions.retryLastRejection();
    });
    connect(m_packView, &LanguagePackView::downloadRequested, this, [this] {
        m_hideTimer.stop();
        fitWindow(State::languagePack);
        if (m_actions.downloadLanguagePack)
            m_actions.downloadLanguagePack(m_packQuery);
    });
    connect(m_packView, &LanguagePackView::dismissed, this, &NotchPanel::collapse);
}

void NotchPanel::setActions(Actions actions) {
    m_actions = std::move(actions);
}

bool NotchPanel::isHeld() const {
    if (m_state == State::languagePack && m_packView->isDownloading())
        return true;
    const bool reading =
        m_state != State::collapsed && m_state != State::idle && m_state != State::loading;
    return reading && m_pointerInside;
}

void NotchPanel::showLoading(const QString& query, bool force) {
    if (!force && isHeld())
        return;
    m_loadingView->setQuery(query);
    present(State::loading);
    m_loadingQuery = query;
}

bool NotchPanel::show(const LookupResult& result, bool force) {
    if (!force && isHeld())
        return false;
    m_resultView->setResult(result, m_actions.isStarred && m_actions.isStarred(result));
    m_loadedWordSources.clear();
    const quint64 generation = ++m_generation;
    present(State::result);
    scheduleAutoHide();
    // The first answer goes up at once; the other dictionaries are asked only after it has
    // been painted, since asking them all takes a moment. The window paints the answer as it
    // drops, and anything else Qt repaints is posted at low priority, ahead of this.
    if (result.isDictionaryAnswer() && m_actions.wordSources)
        QCoreApplication::postEvent(this, new OtherSourcesEvent(generation),
                                    Qt::LowEventPriority - 1);
    return true;
}

void NotchPanel::customEvent(QEvent* event) {
    if (event->type() == kFitLoadingEvent) {
        if (m_state == State::loading)
            fitWindow(State::loading);
    } else if (event->type() == OtherSourcesEvent::kType) {
        loadOtherSources(static_cast<OtherSourcesEvent*>(event)->generation);
    }
}

void NotchPanel::loadOtherSources(quint64 generation) {
    if (generation != m_generation)
        return; // a newer result replaced the one these sources were for
    m_loadedWordSources = m_actions.wordSources(m_resultView->result().term);
    const qsizetype before = m_resultView->tabIds().size();
    m_resultView->addSources(m_loadedWordSources);
    if (m_resultView->tabIds().size() == before)
        return;
    if (m_state == State::result)
        fitWindow(State::result);
    Q_EMIT contentChanged();
}

void NotchPanel::showFailure(const QString& message, bool force) {
    // A failure while the download runs is the download's own, and always shows.
    const bool downloadFailed = m_state == State::languagePack && m_packView->isDownloading();
    if (!force && !downloadFailed && isHeld())
        return;
    m_noticeView->setMessage(NoticeView::Tone::failure, message, false);
    present(State::failure);
    scheduleAutoHide();
}

void NotchPanel::showNotice(const QString& message) {
    m_noticeView->setMessage(NoticeView::Tone::notice, message, false);
    present(State::notice);
    scheduleAutoHide();
}

void NotchPanel::showRefusal(const QString& message) {
    m_noticeView->setMessage(NoticeView::Tone::notice, message,
                             static_cast<bool>(m_actions.retryLastRejection));
    present(State::notice);
    scheduleAutoHide();
}

void NotchPanel::showNeedsLanguagePack(const QString& query, bool force) {
    if (!force && isHeld())
        return;
    m_packQuery = query;
    m_packView->setQuery(query);
    present(State::languagePack);
    scheduleAutoHide();
}

void NotchPanel::showDownloadProgress(double fraction) {
    const bool wasDownloading = m_packView->isDownloading();
    m_packView->setProgress(fraction);
    if (m_state != State::languagePack)
        return;
    m_hideTimer.stop();
    if (!wasDownloading)
        fitWindow(State::languagePack); // the buttons gave way to the progress bar
    if (!m_packView->isDownloading())
        scheduleAutoHide(); // finished; the coordinator's lookup normally replaces this first
    Q_EMIT contentChanged();
}

void NotchPanel::expand(bool byHover) {
    if (m_state != State::collapsed)
        return;
    if (m_restorable == State::idle)
        m_noticeView->setMessage(NoticeView::Tone::hint, u"复制或选中英文，释义会出现在这里"_s,
                                 false);
    m_stack->setCurrentWidget(viewFor(m_restorable));
    fitWindow(m_restorable);
    setState(m_restorable);
    m_expandedByHover = byHover;
    // Opened for a pointer that is not over the window (the coordinator's own hover
    // detection): there will be no leave event, so start the fold now.
    if (byHover && !m_pointerInside)
        m_hideTimer.start(m_timings.hoverLeave);
    Q_EMIT contentChanged();
}

void NotchPanel::scheduleAutoHide() {
    if (m_state == State::collapsed)
        return;
    m_autoHideArmed = true;
    // While the pointer is inside, the countdown starts when it leaves.
    if (!m_pointerInside)
        m_hideTimer.start(m_timings.autoHide);
}

void NotchPanel::collapse() {
    m_hideTimer.stop();
    m_hoverTimer.stop();
    m_autoHideArmed = false;
    m_expandedByHover = false;
    m_loadingQuery.reset();
    if (m_state == State::collapsed)
        return;
    m_window->collapse(static_cast<int>(m_timings.animation.count()));
    setState(State::collapsed);
    Q_EMIT contentChanged();
}

std::optional<QString> NotchPanel::loadingQuery() const {
    return m_loadingQuery;
}

void NotchPanel::showPointerHint(bool holding) {
    m_window->setMarked(holding);
}

bool NotchPanel::showsPointerHint() const {
    return m_window->showsMark();
}

void NotchPanel::showAtRest() {
    m_window->show();
}

void NotchPanel::setShowsAtRest(bool shows) {
    m_window->setShowsWhenCollapsed(shows);
}

QWidget* NotchPanel::window() const {
    return m_window.get();
}

QString NotchPanel::stateName(State state) {
    return QString::fromLatin1(QMetaEnum::fromType<State>().valueToKey(static_cast<int>(state)));
}

QString NotchPanel::headlineText() const {
    return m_state == State::result ? m_resultView->headlineText() : QString();
}

QStringList NotchPanel::tabIds() const {
    return m_state == State::result ? m_resultView->tabIds() : QStringList();
}

QString NotchPanel::currentTabId() const {
    return m_state == State::result ? m_resultView->currentTabId() : QString();
}

bool NotchPanel::selectTab(const QString& id) {
    if (m_state != State::result || !m_resultView->selectTab(id))
        return false;
    fitWindow(State::result);
    Q_EMIT contentChanged();
    return true;
}

QString NotchPanel::message() const {
    switch (m_state) {
    case State::idle:
    case State::failure:
    case State::notice:
        return m_noticeView->message();
    default:
        return QString();
    }
}

QWidget* NotchPanel::viewFor(State state) const {
    switch (state) {
    case State::loading:
        return m_loadingView;
    case State::result:
        return m_resultView;
    case State::languagePack:
        return m_packView;
    default:
        return m_noticeView;
    }
}

void NotchPanel::present(State state) {
    m_stack->setCurrentWidget(viewFor(state));
    m_hideTimer.stop();
    m_autoHideArmed = false;
    m_expandedByHover = false;
    m_loadingQuery.reset();
    if (state != State::loading)
        m_restorable = state;
    // The state first: the window follows it. A dictionary answer mostly replaces the
    // loading state before the event loop comes round, so the window is reshaped and painted
    // for that state only if it is still on by then.
    setState(state);
    if (state == State::loading)
        QCoreApplication::postEvent(this, new QEvent(kFitLoadingEvent));
    else
        fitWindow(state);
    Q_EMIT contentChanged();
}

void NotchPanel::fitWindow(State state) {
    const int sides = 2 * (PanelStyle::shoulder + PanelStyle::horizontalPadding);
    const int width = windowWidthFor(state) - sides;
    const QScreen* screen = m_window->screen();
    const int screenLimit = screen ? screen->availableGeometry().height() * 3 / 5 : 10000;
    const int maxHeight = std::min(PanelStyle::maxHeight, screenLimit) - PanelStyle::topPadding -
                          PanelStyle::bottomPadding;
    QWidget* view = viewFor(state);
    view->ensurePolished();
    int height = 0;
    if (state == State::result)
        height = m_resultView->fitHeight(width, maxHeight);
    else if (view->hasHeightForWidth())
        height = view->heightForWidth(width);
    else
        height = view->sizeHint().height();
    m_window->expandTo(QSize(width, std::min(height, maxHeight)),
                       static_cast<int>(m_timings.animation.count()));
}

void NotchPanel::setState(State state) {
    if (m_state == state)
        return;
    m_state = state;
    Q_EMIT stateChanged(state);
}

void NotchPanel::pointerEntered() {
    m_pointerInside = true;
    m_hideTimer.stop();
    if (m_state == State::collapsed)
        m_hoverTimer.start(m_timings.hoverExpand);
}

void NotchPanel::pointerLeft() {
    m_pointerInside = false;
    m_hoverTimer.stop();
    if (m_state == State::collapsed)
        return;
    if (m_expandedByHover)
        m_hideTimer.start(m_timings.hoverLeave);
    else if (m_autoHideArmed)
        m_hideTimer.start(m_timings.autoHide);
}

void NotchPanel::hideTimerFired() {
    if (isHeld())
        return;
    collapse();
}
