#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <chrono>
#include <memory>
#include <utility>
#include <vector>

class QProcess;

// Copies onto the X11 CLIPBOARD from outside the test process, as other programs do: xclip
// for content of one type, clipboard-owner (built beside the tests) for several types at
// once. Needs DISPLAY. Every process it starts is stopped by its id when it goes.
class ForeignClipboard {
public:
    ForeignClipboard();
    ~ForeignClipboard();
    ForeignClipboard(const ForeignClipboard&) = delete;
    ForeignClipboard& operator=(const ForeignClipboard&) = delete;

    // Has xclip offer `bytes` as `type` (UTF8_STRING is what xclip offers for text). Returns
    // once xclip has read them; it takes the clipboard a moment later, so wait for the change.
    bool copy(const QByteArray& bytes, const QString& type = QStringLiteral("UTF8_STRING"));
    // Has clipboard-owner offer each type with its text; returns once it holds the clipboard.
    bool copy(const QList<std::pair<QString, QString>>& typesAndTexts);
    // Starts clipboard-owner with these arguments (options included); returns once it holds
    // the clipboard.
    bool own(const QStringList& arguments);
    // Has xclip offer `bytes` as `type` on the PRIMARY selection, as a program does where
    // text is selected. Returns once xclip has read them.
    bool select(const QByteArray& bytes, const QString& type = QStringLiteral("UTF8_STRING"));
    // The process id of the last program started, to stop or resume it.
    qint64 lastProcessId() const;
    // Has clipboard-owner replace its content `count` times with random content, then offer
    // "churn done". Runs the event loop while it waits, so timers keep firing.
    bool churn(int count, quint32 seed, std::chrono::milliseconds timeout);

private:
    QProcess& launch(const QString& program, const QStringList& arguments, bool readsOutput);
    bool offer(const QString& selection, const QByteArray& bytes, const QString& type);
    // Waits (running the event loop) for `line` on the process's output.
    static bool awaitLine(QProcess& process, const QByteArray& line,
                          std::chrono::milliseconds timeout);

    std::vector<std::unique_ptr<QProcess>> m_processes;
};
