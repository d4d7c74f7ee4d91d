#pragma once

#include <QByteArray>
#include <QProcess>
#include <QString>
#include <QStringList>
#include <optional>

// A stand-in service from tests/harness/dbus, run with Debian's Python (which has the D-Bus
// bindings) as a child of the test: started, waited for until it says "ready", told things a
// line at a time, and stopped by its process id. It inherits the buses of the test's desktop
// session.
class StandInProcess {
public:
    StandInProcess() = default;
    StandInProcess(const StandInProcess&) = delete;
    StandInProcess& operator=(const StandInProcess&) = delete;
    ~StandInProcess() { stop(); }

    // The words after "ready" (a cookie, say); nothing when it did not come up.
    std::optional<QByteArray> start(const QString& script, const QStringList& arguments = {});
    // Another program that says "ready" the same way (a shell running a stand-in as its child).
    std::optional<QByteArray> startProgram(const QString& program, const QStringList& arguments);
    // Sends a line and waits for the answer; empty when none came.
    QByteArray ask(const QByteArray& line);

    qint32 pid() const { return qint32(process.processId()); }
    bool isRunning() const { return process.state() != QProcess::NotRunning; }
    // SIGTERM to its process id, then waits for it to be gone (SIGKILL after 5 s).
    void stop();

    // Where the stand-ins' scripts are.
    static QString folder();

private:
    QByteArray readLine();

    QProcess process;
};
