#pragma once

#include <QObject>
#include <QSocketNotifier>

// Turns SIGTERM, SIGINT and SIGHUP into a normal quit of the event loop, so a session
// logout or `kill` still writes the queued log lines and the notebook.
class TerminationSignals : public QObject {
    Q_OBJECT
public:
    explicit TerminationSignals(QObject* parent = nullptr);
    ~TerminationSignals() override;

Q_SIGNALS:
    void received();

private:
    QSocketNotifier* m_notifier = nullptr;
};
