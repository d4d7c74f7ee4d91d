#pragma once

#include <QTimer>
#include <QWidget>

class QLabel;
class QToolButton;

// The row under a result: the source's full name, then star, copy, speak and open in
// dictionary.
class ActionBar : public QWidget {
    Q_OBJECT
public:
    explicit ActionBar(QWidget* parent = nullptr);

    void setSourceName(const QString& name);
    void setStarred(bool starred);
    bool isStarred() const { return m_starred; }
    // Opening in a dictionary only makes sense for a word.
    void setOpenVisible(bool visible);
    // A brief check mark on the copy button, since copying is otherwise invisible.
    void confirmCopied();

Q_SIGNALS:
    void starClicked();
    void copyClicked();
    void speakClicked();
    void openClicked();

private:
    QToolButton* addButton(const QString& objectName, const QString& icon, const QString& tip);

    QLabel* m_source;
    QToolButton* m_star;
    QToolButton* m_copy;
    QToolButton* m_open;
    QTimer m_copiedReset;
    bool m_starred = false;
};
