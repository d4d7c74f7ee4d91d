// The word under a point read over the accessibility bus, as hover lookup reads it when the
// pointer comes to rest: the tests' Qt window (another process), the pointer on "language" in
// its text view, found through the X server and then the application's objects. Needs a
// desktop with an accessibility bus:
//   bash tests/harness/desktop-session --accessibility build/bin/bench_atspi_word
#include "LatencyCounters.h"
#include "harness/AccessibleOutcomes.h"
#include "harness/TextWindow.h"
#include "platform/linux/atspi/AtspiWordReader.h"
#include "platform/linux/capture/X11WindowAtPoint.h"
#include "platform/linux/capture/XcbEventConnection.h"

#include <QCoroTask>
#include <QElapsedTimer>
#include <QEventLoop>
#include <chrono>
#include <optional>
#include <variant>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;
using Outcome = AccessibleWordReader::Outcome;

namespace {

void BM_AtspiWordAtPoint(benchmark::State& state) {
    TextWindow window;
    const QStringList answer =
        window.start() ? window.commandAnswer(u"locate 64 72"_s).split(u' ') : QStringList();
    if (answer.size() != 3) {
        state.SkipWithError("the text window did not start");
        return;
    }
    const QPointF at(answer[1].toInt(), answer[2].toInt());
    XcbEventConnection connection;
    X11WindowAtPoint windows(connection);
    AtspiWordReader reader([&windows](QPointF p) { return windows.processAt(p); });
    const auto read = [&] {
        return outcomeOf(reader.wordAt(at, 250ms));
    };
    // Until the window has reached the bus.
    bool ready = false;
    for (int attempt = 0; attempt < 200 && !ready; ++attempt)
        ready = std::holds_alternative<AccessibleWordReader::Word>(read());
    if (!ready) {
        state.SkipWithError("the word could not be read");
        return;
    }
    std::vector<double> micros;
    QElapsedTimer timer;
    for (auto _ : state) {
        timer.start();
        const Outcome outcome = read();
        micros.push_back(static_cast<double>(timer.nsecsElapsed()) / 1000.0);
        if (!std::holds_alternative<AccessibleWordReader::Word>(outcome)) {
            state.SkipWithError("a read missed");
            return;
        }
    }
    reportLatencies(state, micros);
}
BENCHMARK(BM_AtspiWordAtPoint)->Iterations(500)->Unit(benchmark::kMicrosecond);

} // namespace
