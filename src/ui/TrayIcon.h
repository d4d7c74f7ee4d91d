#pragma once

#include <QMenu>
#include <QObject>
#include <QSystemTrayIcon>

class TriggerSettings;

// The icon in the tray and the program's actions in its menu: look up the selection, draw a
// box to look up the text in it, the settings, the event log, pause or resume automatic lookups
// (the icon fades while paused), quit. The actions are signals; the agent decides what each opens.
class TrayIcon : public QObject {
    Q_OBJECT
public:
    explicit TrayIcon(TriggerSettings& triggers, QObject* parent = nullptr);

    void show();
    bool isVisible() const { return m_icon.isVisible(); }
    QMenu& menu() { return m_menu; }

Q_SIGNALS:
    void lookUpSelectionRequested();
    void regionLookupRequested();
    void settingsRequested();
    void eventLogRequested();
    void quitRequested();

private:
    void showPauseState();

    TriggerSettings& m_triggers;
    QMenu m_menu;
    QAction* m_pause = nullptr;
    QSystemTrayIcon m_icon;
};
