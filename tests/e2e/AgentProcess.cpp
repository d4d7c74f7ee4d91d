#include "AgentProcess.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QThread>

using namespace Qt::StringLiterals;

namespace {

QString programPath(const QString& name) {
    return QCoreApplication::applicationDirPath() + u'/' + name;
}

const char* const kFakeTimeLibrary = "/usr/lib/x86_64-linux-gnu/faketime/libfaketime.so.1";

} // namespace

AgentProcess::AgentProcess() {
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    QObject::connect(&m_process, &QProcess::readyReadStandardOutput, [this] { readAvailable(); });
}

AgentProcess::~AgentProcess() {
    stop();
}

bool AgentProcess::start(const Options& options) {
    m_homePath = options.home.isEmpty() ? m_home.path() : options.home;
    const QDir home(m_homePath);
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(u"HOME"_s, m_homePath);
    // A runtime folder per home: agents of other tests (and other checkouts' test runs on
    // this machine) never take each other for the user's running agent.
    const QString runtime = home.filePath(u"runtime"_s);
    if (!home.exists(u"runtime"_s) &&
        !home.mkdir(u"runtime"_s,
                    QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner))
        return false;
    environment.insert(u"XDG_RUNTIME_DIR"_s, runtime);
    for (const char* variable :
         {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME", "XDG_CACHE_HOME"})
        environment.remove(QString::fromLatin1(variable));
    environment.insert(u"LF_LOG_STDOUT"_s, u"1"_s);
    // The panel draws with the desktop's real platform plugin, never offscreen.
    environment.remove(u"QT_QPA_PLATFORM"_s);
    // Settings as the user would have saved them; by default a translation server nobody
    // runs, so the agent must cope with "no engine".
    QJsonObject defaults = options.defaults;
    if (!defaults.contains(u"translation.endpoint"_s))
        defaults.insert(u"translation.endpoint"_s, u"http://127.0.0.1:9"_s);
    // Someone who has used the program before: no onboarding window over the test's windows.
    if (!defaults.contains(u"firstRun.sawOnboarding"_s))
        defaults.insert(u"firstRun.sawOnboarding"_s, true);
    const QString configFolder = home.filePath(u".config/Quillet"_s);
    QDir().mkpath(configFolder);
    QFile settings(configFolder + u"/defaults.json"_s);
    if (!options.keepsSettings || !settings.exists()) {
        if (!settings.open(QIODevice::WriteOnly) ||
            settings.write(QJsonDocument(defaults).toJson()) < 0)
            return false;
        settings.close();
    }
    if (options.clipboardPollMs > 0)
        environment.insert(u"QUILLET_CLIPBOARD_POLL_MS"_s,
                           QString::number(options.clipboardPollMs));
    if (options.fakeClock && QFile::exists(QString::fromLatin1(kFakeTimeLibrary))) {
        m_clockFile = home.filePath(u"clock-offset"_s);
        QFile file(m_clockFile);
        if (!file.open(QIODevice::WriteOnly) || file.write("+0\n") < 0)
            return false;
        file.close();
        environment.insert(u"LD_PRELOAD"_s, QString::fromLatin1(kFakeTimeLibrary));
        environment.insert(u"FAKETIME_TIMESTAMP_FILE"_s, m_clockFile);
        environment.insert(u"FAKETIME_CACHE_DURATION"_s, u"1"_s);
        // Timers run on the monotonic clock; only the wall clock moves.
        environment.insert(u"DONT_FAKE_MONOTONIC"_s, u"1"_s);
    }
    for (const QString& assignment : options.extraEnvironment) {
        const qsizetype equals = assignment.indexOf(u'=');
        environment.insert(assignment.left(equals), assignment.mid(equals + 1));
    }
    m_process.setProcessEnvironment(environment);
    m_process.setWorkingDirectory(m_homePath);
    m_process.start(programPath(options.program), options.arguments);
    return m_process.waitForStarted(5000);
}

void AgentProcess::stop() {
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.terminate();
    if (!m_process.waitForFinished(3000)) {
        m_process.kill();
        m_process.waitForFinished(3000);
    }
}

void AgentProcess::kill() {
    if (m_process.state() == QProcess::NotRunning)
        return;
    m_process.kill();
    m_process.waitForFinished(3000);
}

std::optional<int> AgentProcess::waitForExit(int timeoutMs) {
    const QDeadlineTimer deadline(timeoutMs);
    while (m_process.state() != QProcess::NotRunning && !deadline.hasExpired()) {
        m_process.waitForFinished(int(qMin<qint64>(deadline.remainingTime(), 100)));
        readAvailable();
        QCoreApplication::processEvents();
    }
    if (m_process.state() != QProcess::NotRunning || m_process.exitStatus() != QProcess::NormalExit)
        return std::nullopt;
    return m_process.exitCode();
}

void AgentProcess::readAvailable() {
    m_partial += m_process.readAllStandardOutput();
    qsizetype newline;
    while ((newline = m_partial.indexOf('\n')) >= 0) {
        m_lines.append(QString::fromUtf8(m_partial.left(newline)));
        m_partial.remove(0, newline + 1);
    }
}

std::optional<QString> AgentProcess::waitForLine(const QRegularExpression& pattern, int timeoutMs,
                                                 qsizetype from) {
    const QDeadlineTimer deadline(timeoutMs);
    qsizetype checked = from;
    while (true) {
        for (; checked < m_lines.size(); ++checked) {
            if (pattern.match(m_lines[checked]).hasMatch())
                return m_lines[checked];
        }
        if (deadline.hasExpired() || m_process.state() != QProcess::Running)
            return std::nullopt;
        m_process.waitForReadyRead(int(qMin<qint64>(deadline.remainingTime(), 100)));
        readAvailable();
        QCoreApplication::processEvents();
    }
}

void AgentProcess::drain(int milliseconds) {
    const QDeadlineTimer deadline(milliseconds);
    while (!deadline.hasExpired() && m_process.state() == QProcess::Running) {
        m_process.waitForReadyRead(int(qMin<qint64>(deadline.remainingTime(), 50)));
        readAvailable();
        QCoreApplication::processEvents();
    }
}

bool AgentProcess::waitUntilIdle(int timeoutMs) {
    // Its event loop sleeps in poll(2) (7 on x86-64; ppoll is 271) over several descriptors;
    // a wait inside a clipboard read or an X round trip sleeps on a futex or polls the X
    // connection alone.
    const QString syscall = u"/proc/%1/task/%1/syscall"_s.arg(pid());
    const QDeadlineTimer deadline(timeoutMs);
    while (!deadline.hasExpired() && isRunning()) {
        QFile file(syscall);
        if (file.open(QIODevice::ReadOnly)) {
            const QList<QByteArray> fields = file.readAll().trimmed().split(' ');
            bool counted = false;
            const qint64 descriptors = fields.value(2).toLongLong(&counted, 16);
            if ((fields.value(0) == "7" || fields.value(0) == "271") && counted && descriptors > 1)
                return true;
        }
        drain(5);
    }
    return false;
}

void AgentProcess::advanceClock(int seconds) {
    m_clockOffset += seconds;
    QFile file(m_clockFile);
    if (file.open(QIODevice::WriteOnly | QIODevice::Truncate))
        file.write("+" + QByteArray::number(m_clockOffset) + "\n");
    file.close();
    // The agent re-reads the offset at most once a second.
    drain(2500);
}

QByteArray AgentProcess::startEnvironment() const {
    QFile environ(u"/proc/%1/environ"_s.arg(pid()));
    return environ.open(QIODevice::ReadOnly) ? environ.readAll() : QByteArray();
}

qint64 AgentProcess::residentBytes(const QByteArray& field) const {
    QFile status(u"/proc/%1/status"_s.arg(pid()));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& line : status.readAll().split('\n')) {
        if (line.startsWith(field + ':'))
            return line.mid(field.size() + 1).trimmed().split(' ').first().toLongLong() * 1024;
    }
    return -1;
}

namespace Desktop {

std::optional<QString> panelState() {
    QProcess xdotool;
    xdotool.start(u"xdotool"_s, {u"search"_s, u"--name"_s, u"^Quillet 面板"_s, u"getwindowname"_s});
    if (!xdotool.waitForFinished(3000) || xdotool.exitCode() != 0)
        return std::nullopt;
    const QString name = QString::fromUtf8(xdotool.readAllStandardOutput()).trimmed();
    return name.section(u'\n', 0, 0);
}

std::optional<QString> waitForPanelState(const QRegularExpression& pattern, int timeoutMs) {
    const QDeadlineTimer deadline(timeoutMs);
    while (true) {
        const std::optional<QString> state = panelState();
        if (state && pattern.match(*state).hasMatch())
            return state;
        if (deadline.hasExpired())
            return std::nullopt;
        QCoreApplication::processEvents();
        QThread::msleep(50);
    }
}

bool windowShown(const QString& namePattern, int timeoutMs) {
    const QDeadlineTimer deadline(timeoutMs);
    while (true) {
        QProcess xdotool;
        xdotool.start(u"xdotool"_s, {u"search"_s, u"--onlyvisible"_s, u"--name"_s, namePattern});
        if (xdotool.waitForFinished(3000) && xdotool.exitCode() == 0 &&
            !xdotool.readAllStandardOutput().trimmed().isEmpty())
            return true;
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents();
        QThread::msleep(50);
    }
}

bool windowGone(const QString& namePattern, int timeoutMs) {
    const QDeadlineTimer deadline(timeoutMs);
    while (windowShown(namePattern)) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents();
        QThread::msleep(50);
    }
    return true;
}

bool closeWindow(const QString& namePattern) {
    // A window the manager is still mapping may not have the focus the key goes to yet; the
    // press is repeated until the window goes.
    for (int attempt = 0; attempt < 5; ++attempt) {
        if (QProcess::execute(u"xdotool"_s, {u"search"_s, u"--onlyvisible"_s, u"--name"_s,
                                             namePattern, u"windowactivate"_s, u"--sync"_s}) != 0)
            return !windowShown(namePattern);
        QProcess::execute(u"xdotool"_s, {u"key"_s, u"alt+F4"_s});
        if (windowGone(namePattern, 2000))
            return true;
    }
    return false;
}

} // namespace Desktop
