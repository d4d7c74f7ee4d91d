#pragma once

#include "ui/settings/SettingsContext.h"
#include "ui/settings/SettingsPage.h"

#include <QHash>
#include <QWidget>

class QListWidget;
class QStackedWidget;

// The settings window: a side bar of pages and the page chosen. A page is built the first
// time it is shown, so opening the window costs one page. Closing only hides the window, so
// a download on the translation page goes on.
class SettingsWindow : public QWidget {
    Q_OBJECT
public:
    explicit SettingsWindow(SettingsContext context, QWidget* parent = nullptr);

    // Shows the window in front at `page`, or brings it there when it is open.
    void present(SettingsPage page);
    // Shows the window in front at the page last shown.
    void present();
    void showPage(SettingsPage page);
    SettingsPage currentPage() const { return m_current; }
    // The page, built now if it was not yet.
    QWidget* page(SettingsPage page);

Q_SIGNALS:
    void pageShown(SettingsPage page);

private:
    SettingsContext m_context;
    QListWidget* m_sidebar;
    QStackedWidget* m_stack;
    QHash<SettingsPage, QWidget*> m_pages;
    SettingsPage m_current = SettingsPage::general;
};
