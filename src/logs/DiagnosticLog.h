#pragma once

#include <QDateTime>
#include <QString>
#include <optional>

// The on-disk copy of the event log: one time-stamped line per event in "Quillet.log",
// rotated once to "Quillet.1.log" past a million bytes. It only ever receives redacted
// lines. Writes are queued to one worker thread; the caller never waits and every failure
// is swallowed.
namespace DiagnosticLog {

inline constexpr qint64 rotationBytes = 1'000'000;
QString currentFileName();  // "Quillet.log"
QString previousFileName(); // "Quillet.1.log"

// The log folder, or nothing when the system gives the user none.
std::optional<QString> directory();

// Queues `line` (one line, no line breaks) stamped with `date`. Callable from any thread.
void write(const QString& line, const QDateTime& date);
// Blocks until every line queued so far has been handled.
void flush();

// "2024-03-05 09:07:01.042" in local time, whatever the user's regional settings.
QString timeStamp(const QDateTime& date);

// What the diagnostics export says about the running system.
struct Environment {
    QString appVersion;
    QString systemVersion;
    QString displayVersion;
    QString locale;
    QString hardwareModel;
    QString permissions;
    QString oneLine;

    // `permissions` is the permission tracker's summary, when there is one.
    static Environment current(const QString& permissions = {});
};

} // namespace DiagnosticLog
