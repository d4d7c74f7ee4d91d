#pragma once

#include "base/Cancellation.h"

#include <QCoroTask>
#include <QWidget>

class QLabel;
class QProgressBar;
class QPushButton;
class TranslationEngine;
class TranslationSettings;

// What the model server says about the configured model, one line, with what to do next:
// download a missing model (with its progress and a way to cancel), or how to start a server
// that does not answer. Every request runs in the background; only the newest check or
// download updates the view.
class TranslationStatusView : public QWidget {
    Q_OBJECT
public:
    TranslationStatusView(const TranslationSettings& settings, TranslationEngine& translator,
                          QWidget* parent = nullptr);
    ~TranslationStatusView() override;

    // Asks the server again; does nothing while a download runs, which ends with a check.
    QCoro::Task<void> recheck();

private:
    enum class Activity { idle, checking, downloading };

    QCoro::Task<void> download();
    void cancelDownload();
    void showProgress(double fraction);
    void render();

    const TranslationSettings& m_settings;
    TranslationEngine& m_translator;
    Activity m_activity = Activity::idle;
    // Each check or download takes the next round; an older one ending changes nothing.
    quint64 m_round = 0;
    CancellationToken m_download;
    // How the last download ended, until the next check.
    QString m_outcome;

    QLabel* m_status;
    QPushButton* m_recheck;
    QLabel* m_hint;
    QProgressBar* m_progress;
    QLabel* m_progressText;
    QPushButton* m_startDownload;
    QPushButton* m_cancel;
};
