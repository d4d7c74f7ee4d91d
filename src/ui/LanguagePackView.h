#pragma once

#include <QWidget>

class QLabel;
class QProgressBar;
class QPushButton;

// The request to download the English-to-Chinese translation assets before a sentence can be
// translated, and the download's progress once the user agreed.
class LanguagePackView : public QWidget {
    Q_OBJECT
public:
    explicit LanguagePackView(QWidget* parent = nullptr);

    // Back to the request for `query`, buttons showing.
    void setQuery(const QString& query);
    // Switches to the progress layout: 0…1, or below 0 while the size is unknown.
    void setProgress(double fraction);
    bool isDownloading() const { return m_downloading; }

Q_SIGNALS:
    void downloadRequested();
    void dismissed();

private:
    QLabel* m_preview;
    QPushButton* m_later;
    QPushButton* m_download;
    QProgressBar* m_progress;
    QLabel* m_status;
    bool m_downloading = false;
};
