#pragma once

#include <QListWidget>
#include <QWidget>

class EventLog;

// The recent event-log entries, newest first, as the user sees them (with looked-up text).
class EventLogWindow : public QWidget {
    Q_OBJECT
public:
    explicit EventLogWindow(EventLog& log, QWidget* parent = nullptr);

private:
    void reload();

    EventLog& m_log;
    QListWidget m_list;
};
