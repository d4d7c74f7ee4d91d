#pragma once

#include "lookup/LookupResult.h"

#include <QList>
#include <QString>
#include <functional>
#include <optional>

// What the coordinator asks of the panel that shows lookups. `force` opens the panel even
// where an automatic lookup would leave it closed (the user asked explicitly).
class LookupPresenter {
public:
    // What the panel's buttons ask of the coordinator.
    struct Actions {
        std::function<void(const QString& text)> copy;
        std::function<void(const QString& word)> speak;
        std::function<void(const QString& word)> openInDictionary;
        std::function<bool(const LookupResult& result)> isStarred;
        // Returns the new starred state.
        std::function<bool(const LookupResult& result)> toggleStar;
        // Every dictionary's answer for a word, to fill the other tabs.
        std::function<QList<LookupResult::Source>(const QString& term)> wordSources;
        // The user agreed to fetch the translation assets for this query; the coordinator
        // downloads them and then looks the query up.
        std::function<void(const QString& query)> downloadLanguagePack;
        // The user asked how to get whole-sentence translations instead of a gloss.
        std::function<void()> openTranslationSettings;
        // Look up the last refused text anyway.
        std::function<void()> retryLastRejection;
    };

    virtual ~LookupPresenter() = default;

    virtual void setActions(Actions actions) = 0;
    virtual void showLoading(const QString& query, bool force) = 0;
    // Returns whether the result was shown.
    virtual bool show(const LookupResult& result, bool force) = 0;
    virtual void showFailure(const QString& message, bool force) = 0;
    // A short notice (a capture failure, a refusal that cannot be retried): shown expanded,
    // then hidden after the automatic delay.
    virtual void showNotice(const QString& message) = 0;
    // A refusal of on-demand text that can be looked up anyway: a notice that also offers
    // Actions::retryLastRejection. A presenter without such a button shows a plain notice.
    virtual void showRefusal(const QString& message) { showNotice(message); }
    virtual void showNeedsLanguagePack(const QString& query, bool force) = 0;
    // Progress of the asset download started from the language-pack request, 0…1 (below 0
    // while the size is not known yet). A failed download is reported with showFailure,
    // which replaces the progress even without force.
    virtual void showDownloadProgress(double fraction) = 0;
    virtual void expand(bool byHover) = 0;
    virtual void scheduleAutoHide() = 0;
    virtual void collapse() = 0;
    // The hover key has been held long enough to look up what the pointer rests on (true),
    // or was let go (false): a quiet sign on the notch, never a panel of its own.
    virtual void showPointerHint(bool holding) { (void)holding; }
    // The query whose loading state is on screen, if the panel shows one.
    virtual std::optional<QString> loadingQuery() const = 0;
};
