#include <QCoreApplication>
#include <gtest/gtest.h>

// Tests run with a Qt application object, so event loops (and coroutines awaiting timers)
// work as they do in the program.
int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
