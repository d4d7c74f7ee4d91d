#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>
#include <optional>

// Reads X11 selections the way a third program does, with xclip, running the event loop
// meanwhile (the owner may be this very process).
std::optional<QByteArray> readSelection(const QString& selection, const QString& target);
// Every content target of the CLIPBOARD with its bytes; empty when nobody owns it.
QMap<QString, QByteArray> clipboardContent();

// The state of a process, as /proc tells it ('T' stopped, 'R', 'S'…), or 0 when gone.
char processState(qint64 pid);
