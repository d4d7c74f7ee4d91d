#include "cli/LogCommand.h"

#include "cli/CommandLine.h"
#include "cli/Output.h"
#include "settings/DiagnosticLog.h"

#include <QFile>

using namespace Qt::StringLiterals;

namespace LogCommand {
namespace {

constexpr qsizetype kDefaultLines = 50;

QStringList linesOf(const QString& path) {
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QStringList lines = QString::fromUtf8(file.readAll()).split(u'\n');
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

} // namespace

int run(const QStringList& arguments) {
    qsizetype wanted = kDefaultLines;
    if (!arguments.isEmpty()) {
        bool isNumber = false;
        if (arguments.size() == 2 && arguments[0] == u"--lines"_s)
            wanted = arguments[1].toLongLong(&isNumber);
        if (!isNumber || wanted < 1)
            return CommandLine::reportUsage();
    }
    const std::optional<QString> folder = DiagnosticLog::directory();
    if (!folder) {
        Output::line(stdout, u"没有可用的日志文件夹（未设置主目录）。"_s);
        return CommandLine::success;
    }
    const QString current = *folder + u'/' + DiagnosticLog::currentFileName();
    const QString previous = *folder + u'/' + DiagnosticLog::previousFileName();
    QStringList lines = linesOf(previous) + linesOf(current);
    if (lines.isEmpty()) {
        Output::line(stdout, u"还没有日志：%1 尚不存在。"_s.arg(current));
        return CommandLine::success;
    }
    for (const QString& line : lines.mid(qMax<qsizetype>(0, lines.size() - wanted)))
        Output::line(stdout, line);
    return CommandLine::success;
}

} // namespace LogCommand
