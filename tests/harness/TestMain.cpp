#include <QCoreApplication>
#include <QTemporaryDir>
#include <gtest/gtest.h>

// Tests run with a Qt application object, so event loops (and coroutines awaiting timers)
// work as they do in the program, and with HOME and the XDG folders inside a temporary
// folder, so nothing a test (or a program it starts) does touches the real user's files.
int main(int argc, char** argv) {
    QTemporaryDir home;
    if (!home.isValid())
        return 1;
    qputenv("HOME", home.path().toUtf8());
    for (const char* variable :
         {"XDG_CONFIG_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME", "XDG_CACHE_HOME"})
        qunsetenv(variable);
    QCoreApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
