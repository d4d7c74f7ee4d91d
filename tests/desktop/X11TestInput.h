#pragma once

#include "platform/linux/capture/XcbEventConnection.h"

#include <QCoreApplication>
#include <QProcess>
#include <QStringList>
#include <cstdio>
#include <cstdlib>

// Input from outside the test process, as a person's would come: xdotool, which sends it
// through the XTEST extension. It returns once the server has taken every request.
inline bool xdotool(const QStringList& arguments) {
    QProcess process;
    process.start(QStringLiteral("xdotool"), arguments);
    const bool done = process.waitForFinished(10000) &&
                      process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    if (!done)
        std::fprintf(stderr, "xdotool %s: %s\n", qPrintable(arguments.join(u' ')),
                     process.readAllStandardError().constData());
    return done;
}

// Everything the server sent `connection` before now has been handed to its listeners, and
// what they queued has run: after this, an event that did not arrive is not coming.
inline void settle(XcbEventConnection& connection) {
    xcb_connection_t* c = connection.connection();
    std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr));
    connection.dispatch();
    QCoreApplication::processEvents();
    connection.dispatch();
}
