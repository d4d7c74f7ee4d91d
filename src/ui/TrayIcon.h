#pragma once

#include <QMenu>
#include <QObject>
#include <QPointer>
#include <QSystemTrayIcon>

class EventLog;
class EventLogWindow;
class TriggerSettings;

// The icon in the tray and its menu: pause or resume automatic lookups, the event log, quit.
class TrayIcon : public QObject {
    Q_OBJECT
public:
    TrayIcon(TriggerSettings& triggers, EventLog& log, QObject* parent = nullptr);
    ~TrayIcon() override;

    void show();
    bool isVisible() const { return m_icon.isVisible(); }
    void showEventLog();

Q_SIGNALS:
    void quitRequested();

private:
    void updatePauseItem();

    TriggerSettings& m_triggers;
    EventLog& m_log;
    QMenu m_menu;
    QAction* m_pause = nullptr;
    QSystemTrayIcon m_icon;
    QPointer<EventLogWindow> m_logWindow;
};
