#include "platform/linux/session/ProcFsProcesses.h"

#include <fcntl.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace {

// Whole small files: stat is one line, comm one word; a command line past 4 KiB only loses
// arguments the helper test does not need.
QByteArray readProcFile(qint32 pid, const char* name) {
    if (pid <= 0)
        return {};
    char path[64];
    std::snprintf(path, sizeof path, "/proc/%d/%s", pid, name);
    const int fd = ::open(path, O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return {};
    QByteArray content(4096, Qt::Uninitialized);
    qsizetype filled = 0;
    while (filled < content.size()) {
        const ssize_t got = ::read(fd, content.data() + filled, size_t(content.size() - filled));
        if (got <= 0)
            break;
        filled += got;
    }
    ::close(fd);
    content.truncate(filled);
    return content;
}

// The longest path a process's ancestry can take before it is a loop (a pid reused while
// we walked).
constexpr int lineageLimit = 64;

} // namespace

qint32 ProcFsProcesses::parentOf(qint32 pid) {
    // "pid (name) state ppid …": the name may hold spaces and parentheses, so the fields
    // start after the last ')'.
    const QByteArray stat = readProcFile(pid, "stat");
    const qsizetype close = stat.lastIndexOf(')');
    if (close < 0)
        return 0;
    const QList<QByteArray> fields = stat.mid(close + 2).split(' ');
    return fields.size() > 1 ? fields[1].toInt() : 0;
}

QString ProcFsProcesses::commandName(qint32 pid) {
    return QString::fromUtf8(readProcFile(pid, "comm").trimmed());
}

QByteArrayList ProcFsProcesses::arguments(qint32 pid) {
    QByteArray line = readProcFile(pid, "cmdline");
    if (line.endsWith('\0'))
        line.chop(1);
    return line.isEmpty() ? QByteArrayList{} : line.split('\0');
}

QList<qint32> ProcFsProcesses::lineage(qint32 pid) {
    QList<qint32> chain;
    for (qint32 at = pid; at > 0 && chain.size() < lineageLimit && !chain.contains(at);
         at = parentOf(at))
        chain.append(at);
    return chain;
}

bool ProcFsProcesses::isMediaHelperCommand(const QByteArrayList& arguments,
                                           const QString& commandName) {
    const QByteArray program = arguments.isEmpty() ? QByteArray() : arguments.first();
    if (commandName.contains(u"WebKit"_s) ||
        program.mid(program.lastIndexOf('/') + 1).contains("WebKit"))
        return true;
    for (const QByteArray& argument : arguments) {
        if (argument == "-contentproc")
            return true;
        if (argument.startsWith("--type=")) {
            const QByteArray type = argument.mid(7);
            if (type == "renderer" || type == "gpu-process" || type == "utility")
                return true;
        }
    }
    return false;
}
