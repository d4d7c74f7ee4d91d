// A clipboard snapshot taken from another program and put back, as the simulated copy does:
// a typical copy (text and HTML, offered by a Qt program under six targets) and a 3 MB text
// (xclip, handed over in increments both ways). The other program takes the clipboard before
// each round, untimed. Run it on a display:
//   tests/harness/desktop-session build/bin/bench_clipboard_snapshot
// (clipboard-owner, built with the tests, must be beside it).
#include "platform/Platform.h"
#include "platform/linux/capture/XcbClipboardSnapshots.h"
#include "platform/linux/capture/XcbEventConnection.h"
#include "platform/linux/capture/XcbSelectionTransfer.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEventLoop>
#include <QProcess>
#include <benchmark/benchmark.h>
#include <functional>
#include <memory>
#include <qcoro/qcorotask.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

struct Adapters {
    XcbEventConnection connection;
    XcbSelectionTransfer transfer{connection};
    XcbClipboardSnapshots snapshots{transfer};
};

Adapters& adapters() {
    static Adapters instance;
    return instance;
}

void spin(const std::function<bool()>& done, std::chrono::milliseconds longest = 10s) {
    const QDeadlineTimer deadline(longest);
    while (!done() && !deadline.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
}

// Another program copying; it ends by itself once it loses the clipboard.
std::unique_ptr<QProcess> startOwner(bool large) {
    auto owner = std::make_unique<QProcess>();
    owner->setStandardErrorFile(QProcess::nullDevice());
    if (large) {
        owner->setStandardOutputFile(QProcess::nullDevice());
        owner->start(u"xclip"_s, {u"-quiet"_s, u"-selection"_s, u"clipboard"_s, u"-in"_s});
        QByteArray text(3 * 1024 * 1024, 'w');
        for (qsizetype i = 5; i < text.size(); i += 6)
            text[i] = ' ';
        owner->write(text);
        owner->closeWriteChannel();
        owner->waitForBytesWritten(10'000);
        // Owned once a reader is answered.
        spin([] {
            QProcess probe;
            probe.start(u"xclip"_s,
                        {u"-o"_s, u"-selection"_s, u"clipboard"_s, u"-t"_s, u"TARGETS"_s});
            probe.waitForFinished(2000);
            return probe.exitCode() == 0;
        });
    } else {
        owner->start(QCoreApplication::applicationDirPath() + u"/clipboard-owner"_s,
                     {u"text/plain"_s, u"The quick brown fox jumps over the lazy dog."_s,
                      u"text/html"_s, u"<p>The quick brown <b>fox</b> jumps.</p>"_s});
        QByteArray output;
        spin([&] {
            output += owner->readAllStandardOutput();
            return output.contains("owned\n") || owner->state() == QProcess::NotRunning;
        });
    }
    return owner;
}

void takeAndRestore(benchmark::State& state, bool large) {
    XcbClipboardSnapshots& snapshots = adapters().snapshots;
    qsizetype bytes = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const std::unique_ptr<QProcess> owner = startOwner(large);
        state.ResumeTiming();

        const PasteboardSnapshot snapshot = QCoro::waitFor(snapshots.take(2s));
        snapshots.restore(snapshot);

        state.PauseTiming();
        if (!snapshot.unreadable.isEmpty() || snapshot.items.isEmpty())
            state.SkipWithError("the snapshot is not whole");
        bytes = 0;
        for (const QByteArray& value : snapshot.items.value(0))
            bytes += value.size();
        // clipboard-owner ends once it has lost the clipboard; xclip may linger.
        spin([&] { return owner->state() == QProcess::NotRunning; }, large ? 200ms : 10s);
        if (owner->state() != QProcess::NotRunning) {
            owner->kill();
            owner->waitForFinished(2000);
        }
        state.ResumeTiming();
    }
    state.counters["bytes"] = double(bytes);
}

void BM_TakeAndRestore_Typical(benchmark::State& state) {
    takeAndRestore(state, false);
}
void BM_TakeAndRestore_ThreeMegabytes(benchmark::State& state) {
    takeAndRestore(state, true);
}

} // namespace

BENCHMARK(BM_TakeAndRestore_Typical)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(5)
    ->Repetitions(9)
    ->ReportAggregatesOnly(true);
BENCHMARK(BM_TakeAndRestore_ThreeMegabytes)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Iterations(3)
    ->Repetitions(7)
    ->ReportAggregatesOnly(true);

int main(int argc, char** argv) {
    Platform::install();
    benchmark::Initialize(&argc, argv);
    QCoreApplication application(argc, argv);
    if (!adapters().connection.isValid()) {
        std::fputs("bench_clipboard_snapshot needs an X display (tests/harness/desktop-session)\n",
                   stderr);
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
