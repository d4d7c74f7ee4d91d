// One sample of the pointer sampler as hover lookup takes it 25 times a second: the pointer's
// position, buttons and modifiers in one query, and the key presses already read handed out.
// Once quiet, and once with the sampler's raw key events and the selection gestures' raw
// pointer events selected on the same connection while keys are typed. Needs a display:
//   bash tests/harness/desktop-session build/bin/bench_pointer_sample
#include "LatencyCounters.h"
#include "platform/linux/capture/XInputPointerEvents.h"
#include "platform/linux/capture/XcbEventConnection.h"
#include "platform/linux/capture/XcbPointerSampler.h"

#include <QElapsedTimer>
#include <QProcess>
#include <cmath>

namespace {

void BM_PointerSample(benchmark::State& state) {
    const bool typing = state.range(0) != 0;
    XcbEventConnection connection;
    if (!connection.isValid()) {
        state.SkipWithError("no display");
        return;
    }
    XInputPointerEvents gestures(connection, {});
    XcbPointerSampler sampler(connection, {.ignoreSyntheticKeys = false});
    gestures.start([](const GlobalPointerEvents::Event&) {});
    sampler.start();
    // Another program typing all along: xdotool, a key every 5 ms.
    QProcess typist;
    if (typing) {
        typist.start(QStringLiteral("xdotool"),
                     {QStringLiteral("key"), QStringLiteral("--delay"), QStringLiteral("5"),
                      QStringLiteral("--repeat"), QStringLiteral("100000"), QStringLiteral("a")});
        typist.waitForStarted();
    }
    std::vector<double> micros;
    QElapsedTimer timer;
    bool sawKeys = false;
    for (auto _ : state) {
        timer.start();
        const PointerSampler::State sample = sampler.sample();
        micros.push_back(static_cast<double>(timer.nsecsElapsed()) / 1000.0);
        sawKeys = sawKeys || !std::isinf(sample.keyDownAgo);
        benchmark::DoNotOptimize(sample);
    }
    if (typing) {
        typist.kill();
        typist.waitForFinished();
        if (!sawKeys)
            state.SkipWithError("no key press was seen");
    }
    reportLatencies(state, micros);
}
BENCHMARK(BM_PointerSample)
    ->ArgName("typing")
    ->Arg(0)
    ->Arg(1)
    ->Iterations(20000)
    ->Unit(benchmark::kMicrosecond);

} // namespace
