// One selection read over the accessibility bus: the tests' Qt window (another process) with
// fifteen characters selected in its text view, read by the AT-SPI reader as selection capture
// reads it (role and three ancestors, then the selection's range and text). Needs a desktop
// with an accessibility bus:
//   bash tests/harness/desktop-session --accessibility build/bin/bench_atspi_read
#include "LatencyCounters.h"
#include "harness/AccessibleOutcomes.h"
#include "harness/TextWindow.h"
#include "platform/linux/atspi/AtspiSelectionReader.h"

#include <QCoroTask>
#include <QElapsedTimer>
#include <chrono>
#include <variant>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

void BM_AtspiSelectionRead(benchmark::State& state) {
    TextWindow window;
    if (!window.start() || !window.command(u"select 4 19"_s)) {
        state.SkipWithError("the text window did not start");
        return;
    }
    const qint64 pid = window.pid();
    AtspiSelectionReader reader([pid] { return pid; });
    const auto read = [&reader] {
        return outcomeOf(reader.read(250ms));
    };
    // Until the window's focus and selection have reached the bus.
    bool ready = false;
    for (int attempt = 0; attempt < 200 && !ready; ++attempt) {
        const auto outcome = read();
        ready = std::holds_alternative<AccessibleSelectionReader::Read>(outcome);
    }
    if (!ready) {
        state.SkipWithError("the selection could not be read");
        return;
    }
    std::vector<double> micros;
    QElapsedTimer timer;
    for (auto _ : state) {
        timer.start();
        const auto outcome = read();
        micros.push_back(static_cast<double>(timer.nsecsElapsed()) / 1000.0);
        if (!std::holds_alternative<AccessibleSelectionReader::Read>(outcome)) {
            state.SkipWithError("a read missed");
            return;
        }
    }
    reportLatencies(state, micros);
}
BENCHMARK(BM_AtspiSelectionRead)->Iterations(2000)->Unit(benchmark::kMicrosecond);

} // namespace
