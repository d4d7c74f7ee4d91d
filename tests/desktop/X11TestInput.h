#pragma once

#include "platform/linux/capture/XcbEventConnection.h"

#include <QCoreApplication>
#include <QProcess>
#include <QStringList>
#include <cstdio>
#include <cstdlib>
#include <string>

// Runs an X client tool to its end; true when it succeeded. Its output goes to `output`.
inline bool runTool(const QString& program, const QStringList& arguments,
                    QByteArray* output = nullptr) {
    QProcess process;
    process.start(program, arguments);
    const bool done = process.waitForFinished(10000) &&
                      process.exitStatus() == QProcess::NormalExit && process.exitCode() == 0;
    if (!done)
        std::fprintf(stderr, "%s %s: %s\n", qPrintable(program), qPrintable(arguments.join(u' ')),
                     process.readAllStandardError().constData());
    if (output)
        *output = process.readAllStandardOutput();
    return done;
}

// Input from outside the test process, as a person's would come: xdotool, which sends it
// through the XTEST extension. It returns once the server has taken every request.
inline bool xdotool(const QStringList& arguments, QByteArray* output = nullptr) {
    return runTool(QStringLiteral("xdotool"), arguments, output);
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

// Names the contract suites' two benches in test names: the scripted fake and the desktop.
struct ScriptedOrDesktop {
    template <typename Bench> static std::string GetName(int) {
        return Bench::isScripted ? "scripted" : "desktop";
    }
};
