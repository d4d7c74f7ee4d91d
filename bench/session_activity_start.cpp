// The Linux system-activity adapter's start: from start() until it listens on both buses and
// has told what already holds (the login manager's session found and read, the screen savers
// asked), and the time start() itself takes (it only sends: every answer is awaited on the
// event loop). Against the tests' stand-in login manager and GNOME screen saver, on a desktop with
// a stand-in system bus:
//   bash tests/harness/desktop-session --system-bus build/bin/bench_session_activity_start
#include "LatencyCounters.h"
#include "harness/StandInProcess.h"
#include "platform/linux/session/LinuxSystemActivity.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

namespace {

void BM_SessionActivityStart(benchmark::State& state) {
    StandInProcess logind;
    StandInProcess screenSaver;
    if (!logind.start(QStringLiteral("logind.py")) ||
        !screenSaver.start(QStringLiteral("screensaver.py"),
                           {QStringLiteral("--flavour"), QStringLiteral("gnome")})) {
        state.SkipWithError("the stand-in services did not start (run under desktop-session "
                            "--system-bus)");
        return;
    }
    std::vector<double> micros;
    double startMicros = 0;
    QElapsedTimer timer;
    for (auto _ : state) {
        LinuxSystemActivity activity;
        QEventLoop loop;
        bool settled = false;
        QObject::connect(&activity, &LinuxSystemActivity::settled, &loop, [&] {
            settled = true;
            loop.quit();
        });
        QTimer::singleShot(5000, &loop, &QEventLoop::quit);
        int lines = 0;
        timer.start();
        activity.start({.changed = {}, .unavailable = [&](const QString&) {
                            ++lines;
                        }});
        startMicros += static_cast<double>(timer.nsecsElapsed()) / 1000.0;
        if (!settled)
            loop.exec();
        micros.push_back(static_cast<double>(timer.nsecsElapsed()) / 1000.0);
        activity.stop();
        if (!settled || lines > 0) {
            state.SkipWithError("the adapter did not find both services");
            return;
        }
    }
    reportLatencies(state, micros);
    state.counters["start_call_us"] = startMicros / static_cast<double>(micros.size());
}
BENCHMARK(BM_SessionActivityStart)->Iterations(200)->Unit(benchmark::kMicrosecond);

} // namespace
