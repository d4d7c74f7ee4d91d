#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>
#include <optional>

// Other X clients, run from outside the test process as a person's programs would be.

// Runs a tool to its end; true when it succeeded. Its output goes to `output`.
bool runTool(const QString& program, const QStringList& arguments, QByteArray* output = nullptr);
// Input as a person's would come: xdotool sends it through the XTEST extension and returns
// once the server has taken every request.
bool xdotool(const QStringList& arguments, QByteArray* output = nullptr);

// Reads X11 selections the way a third program does, with xclip, running the event loop
// meanwhile (the owner may be this very process).
std::optional<QByteArray> readSelection(const QString& selection, const QString& target);
// Every content target of the CLIPBOARD with its bytes; empty when nobody owns it.
QMap<QString, QByteArray> clipboardContent();

// The state of a process, as /proc tells it ('T' stopped, 'Z' ended, 'R', 'S'…), or 0 when
// gone.
char processState(qint64 pid);
