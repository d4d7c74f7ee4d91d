#include "TextWindow.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <csignal>

using namespace Qt::StringLiterals;

TextWindow::~TextWindow() {
    stop();
}

void TextWindow::stop() {
    if (process.state() == QProcess::NotRunning)
        return;
    resume();
    process.terminate();
    if (!process.waitForFinished(3000)) {
        process.kill();
        process.waitForFinished(3000);
    }
}

QString TextWindow::initialText() {
    return u"The quick brown fox jumps over the lazy dog.\n"
           "Reading in another language is slow at first, and then it is not.\n"
           "A word you look up twice is a word you will remember.\n"_s;
}

QString TextWindow::fieldText() {
    return u"Look it up again tomorrow"_s;
}

bool TextWindow::start() {
    return start(Options{});
}

bool TextWindow::start(const Options& options) {
    QStringList arguments;
    if (!options.windowClass.isEmpty())
        arguments << u"--class"_s << options.windowClass;
    if (!options.accessible)
        arguments << u"--no-accessibility"_s;
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QDir(QCoreApplication::applicationDirPath()).filePath(u"text-window"_s),
                  arguments);
    if (!process.waitForStarted(5000))
        return false;
    const QString ready = nextLine(15000);
    if (!ready.startsWith(u"ready "_s))
        return false;
    window = ready.mid(6).toUInt();
    return window != 0;
}

bool TextWindow::command(const QString& line) {
    return commandAnswer(line) == u"ok"_s;
}

QString TextWindow::commandAnswer(const QString& line) {
    process.write(line.toUtf8() + '\n');
    return nextLine(15000);
}

QString TextWindow::nextLine(int timeoutMs) {
    const QDeadlineTimer deadline(timeoutMs);
    while (!pending.contains('\n')) {
        if (deadline.hasExpired() || process.state() == QProcess::NotRunning)
            return {};
        process.waitForReadyRead(static_cast<int>(std::max<qint64>(1, deadline.remainingTime())));
        pending += process.readAllStandardOutput();
    }
    const qsizetype end = pending.indexOf('\n');
    const QString line = QString::fromUtf8(pending.left(end));
    pending.remove(0, end + 1);
    return line;
}

bool TextWindow::pause() {
    return pid() > 0 && ::kill(static_cast<pid_t>(pid()), SIGSTOP) == 0;
}

bool TextWindow::resume() {
    return pid() > 0 && ::kill(static_cast<pid_t>(pid()), SIGCONT) == 0;
}
