#pragma once

#include <QByteArrayList>
#include <QList>
#include <QString>

// What /proc tells of a process: its parent, its name and its command line. Each answer is
// one small read of a file the kernel writes on demand; nothing when the process is gone.
namespace ProcFsProcesses {

// The parent's process identifier; 0 when unknown.
qint32 parentOf(qint32 pid);
// The executable's name as the kernel keeps it (at most 15 bytes); empty when unknown.
QString commandName(qint32 pid);
// The command line, one entry per argument.
QByteArrayList arguments(qint32 pid);
// The process, its parent, the parent's parent… up to the first process; `pid` first.
QList<qint32> lineage(qint32 pid);

// A browser's or web engine's helper process: the Chromium family's renderer, GPU and
// utility processes (--type=…), Firefox's content processes (-contentproc), WebKitGTK's web
// processes (an executable named with "WebKit").
bool isMediaHelperCommand(const QByteArrayList& arguments, const QString& commandName);

} // namespace ProcFsProcesses
