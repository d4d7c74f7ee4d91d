// One tick of the playback poll over the Linux adapter, as it runs twice a second while the
// subtitle features are on: the assertions gathered from the session bus, each holder's name,
// helper test, window and parent, and its application's media players. With nobody holding
// an inhibitor, and with a few renderer processes of this program (which shows a window, as
// a browser would) holding idle inhibitors through GNOME's session manager and the
// freedesktop screen saver (tests/harness/dbus stand-ins), a media player playing. Needs a
// display and a session bus:
//   bash tests/harness/desktop-session build/bin/bench_playback_tick
#include "LatencyCounters.h"
#include "harness/StandInProcess.h"
#include "platform/linux/capture/XcbEventConnection.h"
#include "platform/linux/session/LinuxPowerAssertions.h"
#include "subtitles/PlaybackMonitor.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <cstring>
#include <memory>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

// Runs the event loop until `done`, for at most five seconds.
template <typename Condition> bool waitFor(Condition done) {
    const QDeadlineTimer deadline(5000);
    while (!done()) {
        if (deadline.hasExpired())
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
    return true;
}

// A top-level window of this process, as a browser's.
void showWindow(XcbEventConnection& x11) {
    xcb_connection_t* c = x11.connection();
    const xcb_window_t window = xcb_generate_id(c);
    xcb_create_window(c, XCB_COPY_FROM_PARENT, window, x11.root(), 0, 0, 200, 100, 0,
                      XCB_WINDOW_CLASS_INPUT_OUTPUT, x11.screen()->root_visual, 0, nullptr);
    const char* name = "_NET_WM_PID";
    std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> atom(
        xcb_intern_atom_reply(c, xcb_intern_atom(c, 0, quint16(std::strlen(name)), name), nullptr),
        &std::free);
    const quint32 pid = quint32(QCoreApplication::applicationPid());
    xcb_change_property(c, XCB_PROP_MODE_REPLACE, window, atom->atom, XCB_ATOM_CARDINAL, 32, 1,
                        &pid);
    xcb_map_window(c, window);
    xcb_flush(c);
}

void BM_PlaybackTick(benchmark::State& state) {
    const int holders = int(state.range(0));
    XcbEventConnection x11;
    if (!x11.isValid()) {
        state.SkipWithError("no display");
        return;
    }
    const qint32 self = qint32(QCoreApplication::applicationPid());
    std::vector<std::unique_ptr<StandInProcess>> processes;
    const auto standIn = [&](const QString& script, const QStringList& arguments = {}) {
        return bool(
            processes.emplace_back(std::make_unique<StandInProcess>())->start(script, arguments));
    };
    LinuxPowerAssertions assertions(x11);
    assertions.start();
    if (holders > 0) {
        showWindow(x11);
        bool started = true;
        for (const QString& script :
             {u"screensaver.py"_s, u"gnome-session.py"_s, u"mpris-player.py"_s})
            started = standIn(script) && started;
        for (int i = 0; i < holders; ++i)
            started =
                standIn(u"inhibitor.py"_s, {u"--service"_s, i % 2 ? u"freedesktop"_s : u"gnome"_s,
                                            u"--type=renderer"_s}) &&
                started;
        if (!started) {
            state.SkipWithError("a stand-in did not start");
            return;
        }
    }
    const bool watching = waitFor([&] { return assertions.isWatchingCalls(); });
    // Everything gathered: each holder seen and attributed, the player's state known.
    const PlaybackMonitor::Playing expected{holders > 0 ? QSet<qint32>{self} : QSet<qint32>{}};
    const bool gathered = watching && waitFor([&] {
                              const auto held = assertions.assertionsByProcess();
                              return held && held->size() == holders &&
                                     PlaybackMonitor::read(assertions, 1) == expected;
                          });
    if (!gathered) {
        state.SkipWithError("the inhibitors were not all seen");
        return;
    }
    std::vector<double> micros;
    QElapsedTimer timer;
    for (auto _ : state) {
        timer.start();
        const PlaybackMonitor::Playing playing = PlaybackMonitor::read(assertions, 1);
        micros.push_back(static_cast<double>(timer.nsecsElapsed()) / 1000.0);
        benchmark::DoNotOptimize(playing);
    }
    assertions.stop();
    reportLatencies(state, micros);
}
BENCHMARK(BM_PlaybackTick)
    ->ArgName("holders")
    ->Arg(0)
    ->Arg(4)
    ->Iterations(20000)
    ->Unit(benchmark::kMicrosecond);

} // namespace
