#pragma once

#include <QProcess>
#include <QString>
#include <QStringList>

// Runs the text-window program (another application's window with a text view and password
// fields) beside the test executable and drives it through its standard input.
class TextWindow {
public:
    struct Options {
        QString windowClass;    // WM_CLASS; the program's own when empty
        bool accessible = true; // exposed on the accessibility bus
    };

    TextWindow() = default;
    ~TextWindow();
    TextWindow(const TextWindow&) = delete;
    TextWindow& operator=(const TextWindow&) = delete;

    // Starts it and waits until its window is shown; false when it did not come up.
    bool start(const Options& options);
    bool start();
    // Sends one command ("select 4 9", "focus password"…) and waits for it to be done.
    bool command(const QString& line);
    // Sends one command and hands back its answer ("ok X Y"…); empty when none came.
    QString commandAnswer(const QString& line);

    qint64 pid() const { return process.processId(); }
    quint32 windowId() const { return window; }
    // Stops and resumes the whole process, as a hung application would.
    bool pause();
    bool resume();
    // Ends it, as its user quitting would.
    void stop();

    // The text the view starts with.
    static QString initialText();
    // The text of the one-line field.
    static QString fieldText();

private:
    QString nextLine(int timeoutMs);

    QProcess process;
    QByteArray pending;
    quint32 window = 0;
};
