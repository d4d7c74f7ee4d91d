#include "harness/ForeignClipboard.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

QString ownerProgram() {
    return QCoreApplication::applicationDirPath() + u"/clipboard-owner"_s;
}

} // namespace

ForeignClipboard::ForeignClipboard() = default;

ForeignClipboard::~ForeignClipboard() {
    bool stoppedAny = false;
    for (const auto& process : m_processes) {
        if (process->state() == QProcess::NotRunning)
            continue;
        stoppedAny = true;
        process->terminate();
        if (!process->waitForFinished(2000)) {
            process->kill();
            process->waitForFinished(2000);
        }
    }
    // An owner that ends leaves the clipboard empty, and the X server says so to everyone a
    // moment later: let that reach this test's listeners rather than the next test's.
    if (stoppedAny)
        QTest::qWait(100);
}

QProcess& ForeignClipboard::launch(const QString& program, const QStringList& arguments,
                                   bool readsOutput) {
    // Owners that lost the clipboard have ended by themselves.
    std::erase_if(m_processes,
                  [](const auto& process) { return process->state() == QProcess::NotRunning; });
    auto process = std::make_unique<QProcess>();
    if (readsOutput) {
        process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
    } else {
        // xclip in the foreground narrates every request on its error output.
        process->setStandardOutputFile(QProcess::nullDevice());
        process->setStandardErrorFile(QProcess::nullDevice());
    }
    process->start(program, arguments);
    process->waitForStarted();
    return *m_processes.emplace_back(std::move(process));
}

bool ForeignClipboard::copy(const QByteArray& bytes, const QString& type) {
    return offer(u"clipboard"_s, bytes, type);
}

bool ForeignClipboard::select(const QByteArray& bytes, const QString& type) {
    return offer(u"primary"_s, bytes, type);
}

bool ForeignClipboard::offer(const QString& selection, const QByteArray& bytes,
                             const QString& type) {
    // In the foreground (-quiet), so the process stays ours and is reaped.
    QProcess& xclip = launch(
        u"xclip"_s, {u"-quiet"_s, u"-selection"_s, selection, u"-target"_s, type, u"-in"_s}, false);
    if (xclip.state() != QProcess::Running)
        return false;
    xclip.write(bytes);
    while (xclip.bytesToWrite() > 0) {
        if (!xclip.waitForBytesWritten(10'000))
            return false;
    }
    xclip.closeWriteChannel();
    return true;
}

bool ForeignClipboard::copy(const QList<std::pair<QString, QString>>& typesAndTexts) {
    QStringList arguments;
    for (const auto& [type, text] : typesAndTexts)
        arguments << type << text;
    return awaitLine(launch(ownerProgram(), arguments, true), "owned", 10s);
}

bool ForeignClipboard::own(const QStringList& arguments) {
    return awaitLine(launch(ownerProgram(), arguments, true), "owned", 10s);
}

qint64 ForeignClipboard::lastProcessId() const {
    return m_processes.empty() ? 0 : m_processes.back()->processId();
}

bool ForeignClipboard::churn(int count, quint32 seed, std::chrono::milliseconds timeout) {
    return awaitLine(
        launch(ownerProgram(), {u"--churn"_s, QString::number(count), QString::number(seed)}, true),
        "done", timeout);
}

bool ForeignClipboard::awaitLine(QProcess& process, const QByteArray& line,
                                 std::chrono::milliseconds timeout) {
    QByteArray output;
    return QTest::qWaitFor(
               [&] {
                   output += process.readAllStandardOutput();
                   return output.split('\n').contains(line) ||
                          process.state() == QProcess::NotRunning;
               },
               static_cast<int>(timeout.count())) &&
           output.split('\n').contains(line);
}
