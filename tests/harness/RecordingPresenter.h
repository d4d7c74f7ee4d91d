#pragma once

#include "core/LookupPresenter.h"

#include <QStringList>

// A panel that writes down what the coordinator asks of it ("loading:water!", "show:water",
// "notice:…", "refusal:…", "failure:…", "hint"/"hint off"), for tests of capture that look
// only at what would be shown.
class RecordingPresenter final : public LookupPresenter {
public:
    QStringList calls;

    void setActions(Actions) override {}
    void showLoading(const QString& query, bool force) override {
        calls.append(QStringLiteral("loading:") + query +
                     (force ? QStringLiteral("!") : QString()));
    }
    bool show(const LookupResult& result, bool) override {
        calls.append(QStringLiteral("show:") + result.term);
        return true;
    }
    void showFailure(const QString& message, bool) override {
        calls.append(QStringLiteral("failure:") + message);
    }
    void showNotice(const QString& message) override {
        calls.append(QStringLiteral("notice:") + message);
    }
    void showRefusal(const QString& message) override {
        calls.append(QStringLiteral("refusal:") + message);
    }
    void showNeedsLanguagePack(const QString&, bool) override {}
    void showDownloadProgress(double) override {}
    void expand(bool) override {}
    void scheduleAutoHide() override {}
    void collapse() override {}
    void showPointerHint(bool holding) override {
        calls.append(holding ? QStringLiteral("hint") : QStringLiteral("hint off"));
    }
    std::optional<QString> loadingQuery() const override { return {}; }
};
