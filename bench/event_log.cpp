// EventLog::append on the calling (main) thread, with the real diagnostic log behind it
// writing to a temporary folder. The disk write is queued, so the caller's cost must stay in
// microseconds (counters median_us and p99_us).

#include "LatencyCounters.h"
#include "logs/DiagnosticLog.h"
#include "logs/EventLog.h"

#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <chrono>

using namespace Qt::StringLiterals;

namespace {

void BM_EventLogAppend(benchmark::State& state) {
    QTemporaryDir folder;
    qputenv("XDG_STATE_HOME", folder.path().toUtf8());
    EventLog log(&DiagnosticLog::write, false);
    const QString content =
        u"划词｜句子｜"_s + EventLog::privateSegment(u"The quick brown fox jumps over the lazy "
                                                     "dog, and then\nit runs away."_s);
    std::vector<double> micros;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        log.append(EventLog::Kind::trigger, content);
        micros.push_back(
            std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start)
                .count());
    }
    DiagnosticLog::flush();
    reportLatencies(state, micros);
}

BENCHMARK(BM_EventLogAppend)->Iterations(20'000)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
