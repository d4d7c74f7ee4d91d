#pragma once

#include "core/LookupPresenter.h"

#include <QStringList>

// A panel that writes down what the coordinator asks of it ("loading:water!", "show:water",
// "notice:…", "refusal:…", "failure:…", "languagePack:…", "collapse", "hint"/"hint off"), and
// keeps the results shown and the actions it was given. With `tracksLoading` it knows its
// loading query as a real panel does: anything shown after the loading replaces it.
class RecordingPresenter final : public LookupPresenter {
public:
    QStringList calls;
    QList<LookupResult> shown;
    Actions actions;
    bool tracksLoading = false;

    void setActions(Actions given) override { actions = std::move(given); }
    void showLoading(const QString& query, bool force) override {
        record(QStringLiteral("loading:") + query + (force ? QStringLiteral("!") : QString()),
               query);
    }
    bool show(const LookupResult& result, bool) override {
        shown.append(result);
        record(QStringLiteral("show:") + result.term);
        return true;
    }
    void showFailure(const QString& message, bool) override {
        record(QStringLiteral("failure:") + message);
    }
    void showNotice(const QString& message) override {
        record(QStringLiteral("notice:") + message);
    }
    void showRefusal(const QString& message) override {
        record(QStringLiteral("refusal:") + message);
    }
    void showNeedsLanguagePack(const QString& query, bool) override {
        record(QStringLiteral("languagePack:") + query);
    }
    void showDownloadProgress(double) override {}
    void expand(bool) override {}
    void scheduleAutoHide() override {}
    void collapse() override { record(QStringLiteral("collapse")); }
    void showPointerHint(bool holding) override {
        calls.append(holding ? QStringLiteral("hint") : QStringLiteral("hint off"));
    }
    std::optional<QString> loadingQuery() const override {
        return tracksLoading ? m_loading : std::nullopt;
    }
    // What the panel would show as loading, as a test that moves it by hand sets it.
    void setLoading(const QString& query) { m_loading = query; }

private:
    void record(const QString& call, const std::optional<QString>& loading = {}) {
        calls.append(call);
        m_loading = loading;
    }

    std::optional<QString> m_loading;
};
