#include "cli/LogCommand.h"

#include "cli/CommandLine.h"
#include "cli/Output.h"
#include "logs/DiagnosticLog.h"
#include "platform/SafeFiles.h"

#include <variant>

using namespace Qt::StringLiterals;

namespace LogCommand {
namespace {

constexpr qsizetype kDefaultLines = 50;

// The log rotates past a million bytes; anything far larger is not a log of ours.
constexpr qint64 kMaxFileBytes = 16 * 1024 * 1024;

// A missing file has no lines; one that cannot be read (a FIFO planted in its place, no
// permission) is said so, and the other file is still shown.
QStringList linesOf(const QString& path) {
    const std::variant<QByteArray, SafeFiles::Failure> read =
        SafeFiles::readRegularFile(path, kMaxFileBytes);
    if (const auto* failure = std::get_if<SafeFiles::Failure>(&read)) {
        if (failure->kind != SafeFiles::Failure::Kind::missing)
            Output::line(stderr, u"无法读取 %1：%2"_s.arg(path, failure->reason));
        return {};
    }
    QStringList lines = QString::fromUtf8(std::get<QByteArray>(read)).split(u'\n');
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

} // namespace

int run(const QStringList& arguments) {
    qsizetype wanted = kDefaultLines;
    if (!arguments.isEmpty()) {
        const auto problem = [](const QString& text) {
            return CommandLine::usageError(text, u"log"_s);
        };
        if (arguments[0] != u"--lines"_s)
            return problem(u"未知选项："_s + arguments[0]);
        if (arguments.size() < 2)
            return problem(u"--lines 需要一个数字"_s);
        if (arguments.size() > 2)
            return problem(u"多余的参数："_s + arguments.mid(2).join(u' '));
        bool isNumber = false;
        wanted = arguments[1].toLongLong(&isNumber);
        if (!isNumber)
            return problem(u"--lines 需要一个数字，收到「%1」"_s.arg(arguments[1]));
        if (wanted < 1)
            return problem(u"--lines 至少是 1，收到 %1"_s.arg(arguments[1]));
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
