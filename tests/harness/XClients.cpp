#include "harness/XClients.h"

#include <QFile>
#include <QProcess>
#include <QTest>
#include <cstdio>

using namespace Qt::StringLiterals;

bool runTool(const QString& program, const QStringList& arguments, QByteArray* output) {
    QProcess process;
    process.start(program, arguments);
    const bool done = process.waitForFinished(10000) &&
                      process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    if (!done)
        std::fprintf(stderr, "%s %s: %s\n", qPrintable(program), qPrintable(arguments.join(u' ')),
                     process.readAllStandardError().constData());
    if (output)
        *output = process.readAllStandardOutput();
    return done;
}

bool xdotool(const QStringList& arguments, QByteArray* output) {
    return runTool(u"xdotool"_s, arguments, output);
}

std::optional<QByteArray> readSelection(const QString& selection, const QString& target) {
    QProcess xclip;
    xclip.setStandardErrorFile(QProcess::nullDevice());
    xclip.start(u"xclip"_s, {u"-o"_s, u"-selection"_s, selection, u"-target"_s, target});
    QByteArray output;
    const bool ended = QTest::qWaitFor(
        [&] {
            output += xclip.readAllStandardOutput();
            return xclip.state() == QProcess::NotRunning;
        },
        20'000);
    output += xclip.readAllStandardOutput();
    if (!ended) {
        xclip.kill();
        xclip.waitForFinished();
        return std::nullopt;
    }
    if (xclip.exitStatus() != QProcess::NormalExit || xclip.exitCode() != 0)
        return std::nullopt;
    return output;
}

QMap<QString, QByteArray> clipboardContent() {
    QMap<QString, QByteArray> content;
    const std::optional<QByteArray> listed = readSelection(u"clipboard"_s, u"TARGETS"_s);
    if (!listed)
        return content;
    static const QStringList protocol = {u"TARGETS"_s, u"MULTIPLE"_s, u"TIMESTAMP"_s,
                                         u"SAVE_TARGETS"_s};
    for (const QByteArray& line : listed->split('\n')) {
        const QString target = QString::fromLatin1(line.trimmed());
        if (target.isEmpty() || protocol.contains(target))
            continue;
        content.insert(target, readSelection(u"clipboard"_s, target).value_or("<unreadable>"));
    }
    return content;
}

char processState(qint64 pid) {
    QFile stat(u"/proc/%1/stat"_s.arg(pid));
    if (!stat.open(QIODevice::ReadOnly))
        return 0;
    const QByteArray line = stat.readAll();
    const qsizetype end = line.lastIndexOf(')');
    return end >= 0 && end + 2 < line.size() ? line.at(end + 2) : 0;
}
