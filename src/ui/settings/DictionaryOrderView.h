#pragma once

#include <QWidget>

class Preferences;
class QLabel;
class QListWidget;
class QPushButton;
class WordSourceCatalog;

// The order in which word lookups ask the dictionaries, as a list the user rearranges by
// dragging a row or with the move buttons, each row with its name and a mark when it glosses
// English in Chinese; below it the dictionaries the user removed, to put back. Every change
// is saved through the preferences at once; changes made elsewhere (a command, another
// window, a dictionary installed or removed) show up as they happen.
class DictionaryOrderView : public QWidget {
    Q_OBJECT
public:
    DictionaryOrderView(Preferences& preferences, const WordSourceCatalog& catalog,
                        QWidget* parent = nullptr);

    // Reads the order, the removed dictionaries and what is installed again.
    void reload();

private:
    void saveShownOrder();
    void queueSave();
    void move(int by);
    void removeCurrent();
    void restoreCurrent();
    void updateButtons();

    Preferences& m_preferences;
    const WordSourceCatalog& m_catalog;
    QListWidget* m_order;
    QPushButton* m_up;
    QPushButton* m_down;
    QPushButton* m_remove;
    QLabel* m_removedTitle;
    QListWidget* m_removed;
    QPushButton* m_restore;
    QLabel* m_wholeSystemNote;
    // Set while the lists are filled, so that filling is not taken for a rearrangement.
    bool m_filling = false;
    bool m_saveQueued = false;
};
