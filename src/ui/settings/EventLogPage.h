#pragma once

#include <QWidget>

class EventLog;
class QListWidget;

// The 「事件日志」 page: the recent entries, newest first, as the user sees them (with the
// looked-up text, which never reaches the disk), kept current while the page is open.
class EventLogPage : public QWidget {
    Q_OBJECT
public:
    explicit EventLogPage(EventLog& log, QWidget* parent = nullptr);

private:
    void reload();

    EventLog& m_log;
    QListWidget* m_list;
};
