// Idle cost of watching the pointer: starts the XInput pointer events on the program's own X
// connection, then lets the event loop sit for the given seconds with nobody touching the
// pointer, and prints the processor time used and how often the loop woke.
//
//   pointer_idle [SECONDS]   (needs DISPLAY; bench/pointer-idle.sh gives it a private one)
#include "platform/linux/capture/XInputPointerEvents.h"
#include "platform/linux/capture/XcbEventConnection.h"

#include <QAbstractEventDispatcher>
#include <QGuiApplication>
#include <QStyleHints>
#include <QTimer>
#include <cstdio>
#include <sys/resource.h>

namespace {
double processorSeconds() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return double(usage.ru_utime.tv_sec + usage.ru_stime.tv_sec) +
           double(usage.ru_utime.tv_usec + usage.ru_stime.tv_usec) / 1e6;
}
} // namespace

int main(int argc, char** argv) {
    QGuiApplication application(argc, argv);
    const int seconds = argc > 1 ? std::atoi(argv[1]) : 60;
    XcbEventConnection connection;
    const QStyleHints* hints = QGuiApplication::styleHints();
    XInputPointerEvents events(connection,
                               {.doubleClickIntervalMs = hints->mouseDoubleClickInterval(),
                                .doubleClickDistance = hints->mouseDoubleClickDistance()});
    int gestures = 0;
    if (!events.start([&](const GlobalPointerEvents::Event&) { ++gestures; })) {
        std::fputs("pointer_idle: the pointer events did not start\n", stderr);
        return 1;
    }
    // Let start-up settle before measuring.
    QCoreApplication::processEvents();
    int wakeUps = 0;
    QObject::connect(QAbstractEventDispatcher::instance(), &QAbstractEventDispatcher::awake,
                     [&] { ++wakeUps; });
    const double before = processorSeconds();
    QTimer::singleShot(seconds * 1000, &application, &QCoreApplication::quit);
    application.exec();
    const double used = processorSeconds() - before;
    // The quit timer itself wakes the loop once.
    std::printf("idle %d s: %.3f s of processor time (%.3f %% of a core), %d loop wake-ups, "
                "%d gestures\n",
                seconds, used, 100.0 * used / seconds, wakeUps - 1, gestures);
    return 0;
}
