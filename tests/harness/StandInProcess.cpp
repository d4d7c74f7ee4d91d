#include "StandInProcess.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// Python starting and owning its name takes a fraction of a second; a loaded machine, more.
constexpr int kLineTimeoutMs = 10000;

} // namespace

QString StandInProcess::folder() {
    return QStringLiteral(QUILLET_DBUS_STAND_INS);
}

std::optional<QByteArray> StandInProcess::start(const QString& script,
                                                const QStringList& arguments) {
    // -B: no bytecode written into the source tree.
    return startProgram(u"/usr/bin/python3"_s,
                        QStringList{u"-B"_s, folder() + u'/' + script} + arguments);
}

std::optional<QByteArray> StandInProcess::startProgram(const QString& program,
                                                       const QStringList& arguments) {
    stop();
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(program, arguments);
    const QByteArray line = readLine();
    if (!line.startsWith("ready")) {
        stop();
        return std::nullopt;
    }
    return line.mid(5).trimmed();
}

QByteArray StandInProcess::ask(const QByteArray& line) {
    process.write(line + '\n');
    return readLine();
}

void StandInProcess::stop() {
    if (process.state() == QProcess::NotRunning)
        return;
    process.terminate();
    if (!process.waitForFinished(5000)) {
        process.kill();
        process.waitForFinished(5000);
    }
}

QByteArray StandInProcess::readLine() {
    if (!QTest::qWaitFor(
            [&] { return process.canReadLine() || process.state() == QProcess::NotRunning; },
            kLineTimeoutMs))
        return {};
    return process.readLine().trimmed();
}
