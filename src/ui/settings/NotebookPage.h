#pragma once

#include "ui/settings/SettingsContext.h"

#include <QWidget>

class QCheckBox;
class QLabel;
class QPushButton;

// The 「单词本」 page: whether lookups are recorded, how many records there are and how many
// are kept, and clearing them. What removes records asks first, on the page itself.
class NotebookPage : public QWidget {
    Q_OBJECT
public:
    NotebookPage(SettingsContext& context, QWidget* parent = nullptr);

private:
    enum class Removal { none, clear, switchOff };

    void showState();
    void ask(Removal removal);
    void confirm();
    qsizetype historyCount() const;

    SettingsContext& m_context;
    QCheckBox* m_history;
    QLabel* m_size;
    QPushButton* m_clear;
    QWidget* m_confirmation;
    QLabel* m_question;
    QPushButton* m_confirm;
    Removal m_asked = Removal::none;
};
