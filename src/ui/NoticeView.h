#pragma once

#include <QWidget>

class QLabel;
class QPushButton;

// A short message with an icon: a failed lookup, a notice about refused or unreadable text,
// or the hint shown when the empty notch is hovered. A refusal offers to look the text up
// anyway.
class NoticeView : public QWidget {
    Q_OBJECT
public:
    enum class Tone { failure, notice, hint };

    explicit NoticeView(QWidget* parent = nullptr);

    void setMessage(Tone tone, const QString& message, bool offersRetry);
    QString message() const;

Q_SIGNALS:
    void retryRequested();

private:
    QLabel* m_icon;
    QLabel* m_text;
    QPushButton* m_retry;
};
