#pragma once

#include <QJsonObject>
#include <QProcess>
#include <QProcessEnvironment>
#include <QRegularExpression>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>
#include <optional>
#include <string>

// The agent as a separate process under the test's desktop session: its own HOME, the
// event log echoed to standard output, and a clock the test can move forward.
class AgentProcess {
public:
    struct Options {
        int clipboardPollMs = 0; // 0: the agent's own interval
        bool fakeClock = true;   // lets the test advance the wall clock
        QStringList extraEnvironment;
        QJsonObject defaults; // the saved settings the agent starts with
        // A home shared with other agents of the test (the same user launching again);
        // empty: a home of this process's own.
        QString home;
        bool keepsSettings = false; // start on the settings file an earlier run left
        // The program to start, from the build's bin folder: `quillet`, which becomes the
        // agent, or `quillet-agent` itself.
        QString program = QStringLiteral("quillet");
        QStringList arguments;
    };

    AgentProcess();
    ~AgentProcess();

    bool start(const Options& options);
    bool start() { return start(Options{}); }
    void stop();
    // Ends the agent as a crash would, leaving behind whatever it had open.
    void kill();
    // Waits for the agent to end by itself: its exit code, or nothing when it is still
    // running after `timeoutMs` or crashed.
    std::optional<int> waitForExit(int timeoutMs);

    // The default wait outlasts Qt's 5 s clipboard timeout: a copy that lands while the agent
    // is still reading the previous owner (which has just quit) is seen after that stall.
    static constexpr int lineTimeoutMs = 12000;

    // Waits until a stdout line from `from` on matches; returns it.
    std::optional<QString> waitForLine(const QRegularExpression& pattern,
                                       int timeoutMs = lineTimeoutMs, qsizetype from = 0);
    // Every line received so far.
    const QStringList& lines() const { return m_lines; }
    // Lines received after the given count, to look only at what one step produced.
    QStringList linesSince(qsizetype mark) const { return m_lines.mid(mark); }
    qsizetype mark() const { return m_lines.size(); }
    // Reads output for a while without expecting anything.
    void drain(int milliseconds);
    // Waits until the agent's main thread sleeps in its event loop, done with what it was
    // handling, without handing it anything to do (which would replace what it left in its
    // registers and stack).
    bool waitUntilIdle(int timeoutMs = lineTimeoutMs);

    // Moves the agent's wall clock forward (monotonic timers are not affected).
    void advanceClock(int seconds);
    qint64 pid() const { return m_process.processId(); }
    // The environment the agent's program was started with, from /proc/<pid>/environ: its
    // assignments, each ended by a zero byte. (glibc's start-up may have put more zero bytes
    // into GLIBC_TUNABLES, where the colons between its settings were.)
    QByteArray startEnvironment() const;
    // A size from /proc/<pid>/status: VmRSS, RssAnon (heap and stacks), RssFile (mapped files).
    qint64 residentBytes(const QByteArray& field = "VmRSS") const;
    bool isRunning() const { return m_process.state() == QProcess::Running; }
    // The home the agent runs (or will run, before start) in.
    QString home() const { return m_homePath.isEmpty() ? m_home.path() : m_homePath; }

private:
    void readAvailable();

    QTemporaryDir m_home;
    QString m_homePath;
    QProcess m_process;
    QStringList m_lines;
    QByteArray m_partial;
    QString m_clockFile;
    int m_clockOffset = 0;
};

// The agent's panel as seen from outside, through its window title.
namespace Desktop {

// The title of the agent's panel window, which mirrors its state.
std::optional<QString> panelState();
// Waits until the panel state matches.
std::optional<QString> waitForPanelState(const QRegularExpression& pattern,
                                         int timeoutMs = AgentProcess::lineTimeoutMs);
// Whether a window whose title matches `namePattern` (xdotool's regular expression) is on
// screen now, or within `timeoutMs`.
bool windowShown(const QString& namePattern, int timeoutMs = 0);
// Waits until no such window is on screen.
bool windowGone(const QString& namePattern, int timeoutMs);
// Closes the window as a person does: brings it to the front and presses Alt+F4, which the
// session's window manager turns into a close request. True once the window is gone.
bool closeWindow(const QString& namePattern);

} // namespace Desktop

// Patterns and printing for the agent's log lines.
namespace LogLines {

inline QRegularExpression exactly(const QString& text) {
    return QRegularExpression(QStringLiteral("^") + QRegularExpression::escape(text) +
                              QStringLiteral("$"));
}

inline QRegularExpression startingWith(const QString& text) {
    return QRegularExpression(QStringLiteral("^") + QRegularExpression::escape(text));
}

// The lines as one text, for a failure message.
inline std::string text(const QStringList& lines) {
    return lines.join(u'\n').toStdString();
}

} // namespace LogLines
