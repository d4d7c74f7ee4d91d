#include "harness/TemporaryHome.h"
#include "platform/Platform.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <cstdio>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

// Desktop tests run with the full widget application on a real X server (the
// desktop-session script provides one, with a window manager and a session bus), with HOME
// and the XDG folders inside a temporary folder so nothing they do touches the user's files.
int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        std::fputs("desktop tests need an X display: run them through "
                   "tests/harness/desktop-session (ctest does)\n",
                   stderr);
        return 1;
    }
    const QTemporaryDir home;
    if (!useTemporaryHome(home))
        return 1;
    // Private and owner-only, as the session manager would make it.
    const QString runtime = home.filePath(u"runtime"_s);
    if (!QDir().mkpath(runtime) ||
        !QFile::setPermissions(runtime, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner))
        return 1;
    qputenv("XDG_RUNTIME_DIR", runtime.toUtf8());
    qputenv("QT_QPA_PLATFORM", "xcb");

    Platform::install();
    QApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
