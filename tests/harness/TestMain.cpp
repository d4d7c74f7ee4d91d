#include "harness/TemporaryHome.h"
#include "platform/Platform.h"

#include <QCoreApplication>
#include <gtest/gtest.h>

// Tests run with a Qt application object, so event loops (and coroutines awaiting timers)
// work as they do in the program, and with HOME and the XDG folders inside a temporary
// folder, so nothing a test (or a program it starts) does touches the real user's files.
int main(int argc, char** argv) {
    const QTemporaryDir home;
    if (!useTemporaryHome(home))
        return 1;
    Platform::install();
    QCoreApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
