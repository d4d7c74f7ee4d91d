#pragma once

#include "core/LookupPresenter.h"

#include <QList>
#include <QObject>
#include <QStringList>
#include <QTimer>
#include <chrono>
#include <memory>
#include <optional>

class LanguagePackView;
class LoadingView;
class NoticeView;
class NotchWindow;
class QStackedWidget;
class QWidget;
class ResultView;

// The lookup panel: a notch at the top centre of the screen that drops down into loading,
// result, failure, notice and language-pack layouts and folds back into a pill by itself.
//
// Showing without force: new content replaces what is on screen unless the user is reading
// it, that is while the pointer is over an open panel showing a result, failure, notice or
// language-pack request, and while a language-pack download is under way. A collapsed
// panel, the empty hover hint and a loading state are always replaced, so automatic lookups
// (copied text) still open the panel. show() returns false when the result was held back.
class NotchPanel : public QObject, public LookupPresenter {
    Q_OBJECT
    Q_PROPERTY(State state READ state NOTIFY stateChanged)
    Q_PROPERTY(QString headlineText READ headlineText NOTIFY contentChanged)
    Q_PROPERTY(QStringList tabIds READ tabIds NOTIFY contentChanged)
    Q_PROPERTY(QString currentTabId READ currentTabId NOTIFY contentChanged)
    Q_PROPERTY(QString message READ message NOTIFY contentChanged)
public:
    // `idle` is the hint shown when the pointer opens a panel that has shown nothing yet.
    enum class State { collapsed, idle, loading, result, failure, notice, languagePack };
    Q_ENUM(State)

    struct Timings {
        // Preferences::autoHideSeconds: how long a result stays open.
        std::chrono::milliseconds autoHide{5000};
        // A pointer brushing past the pill does not open it.
        std::chrono::milliseconds hoverExpand{120};
        // A panel opened by hovering folds this long after the pointer leaves.
        std::chrono::milliseconds hoverLeave{600};
        // Dropping down from the pill; 0 applies every size at once.
        std::chrono::milliseconds animation{120};
    };

    explicit NotchPanel(QObject* parent = nullptr);
    explicit NotchPanel(Timings timings, QObject* parent = nullptr);
    ~NotchPanel() override;

    void setActions(Actions actions) override;
    void showLoading(const QString& query, bool force) override;
    bool show(const LookupResult& result, bool force) override;
    void showFailure(const QString& message, bool force) override;
    void showNotice(const QString& message) override;
    void showRefusal(const QString& message) override;
    void showNeedsLanguagePack(const QString& query, bool force) override;
    void showDownloadProgress(double fraction) override;
    void expand(bool byHover) override;
    void scheduleAutoHide() override;
    void collapse() override;
    std::optional<QString> loadingQuery() const override;
    // Marks the resting pill ("取词") while the hover key is held. An open panel is left as
    // it is: its content matters more, and the mark appears once it folds, if still held.
    void showPointerHint(bool holding) override;

    // Puts the collapsed pill on screen; every layout also shows the window by itself.
    void showAtRest();
    // Whether the collapsed pill stays on screen between lookups.
    void setShowsAtRest(bool shows);

    // For tests and diagnostics. The window's object name is "QuilletPanel"; its buttons are
    // named starButton, copyButton, speakButton, openButton, downloadButton, laterButton,
    // retryButton, fullTranslationButton, and each tab is a "sourceTab" with a "sourceId" property.
    QWidget* window() const;
    State state() const { return m_state; }
    static QString stateName(State state);
    // The headline on screen ("water /ˈwɔːtə/"); empty outside a result or for a sentence.
    QString headlineText() const;
    // Source ids of the result's tabs, in order; empty outside a result.
    QStringList tabIds() const;
    QString currentTabId() const;
    bool selectTab(const QString& id);
    // The failure, notice or hint text on screen; empty otherwise.
    QString message() const;
    // Whether the pill shows that hover lookup is armed.
    bool showsPointerHint() const;
    // What Actions::wordSources answered for the result on screen.
    const QList<LookupResult::Source>& loadedWordSources() const { return m_loadedWordSources; }

Q_SIGNALS:
    void stateChanged(NotchPanel::State state);
    // New content, more tabs, another tab, the star, download progress.
    void contentChanged();

protected:
    void customEvent(QEvent* event) override;

private:
    bool isHeld() const;
    QWidget* viewFor(State state) const;
    void present(State state);
    void fitWindow(State state);
    void setState(State state);
    void loadOtherSources(quint64 generation);
    void pointerEntered();
    void pointerLeft();
    void hideTimerFired();
    void wireActions();

    Timings m_timings;
    Actions m_actions;
    QStackedWidget* m_stack;
    LoadingView* m_loadingView;
    ResultView* m_resultView;
    NoticeView* m_noticeView;
    LanguagePackView* m_packView;
    std::unique_ptr<NotchWindow> m_window;

    State m_state = State::collapsed;
    // What hovering the pill brings back: the last layout other than loading.
    State m_restorable = State::idle;
    std::optional<QString> m_loadingQuery;
    QString m_packQuery;
    QList<LookupResult::Source> m_loadedWordSources;
    quint64 m_generation = 0;

    QTimer m_hideTimer;
    QTimer m_hoverTimer;
    bool m_pointerInside = false;
    bool m_expandedByHover = false;
    bool m_autoHideArmed = false;
};
