// Reading text off the screen, with rendered pages as the screen (no display needed):
//   build/bin/bench_screen_text
// The engine's start (and the memory it takes), one read of the 320×64 crop around a resting
// pointer, one read of an 800×300 region, each through the recognition thread as the agent
// reads.
#include "LatencyCounters.h"
#include "RenderedText.h"
#include "platform/linux/screen/TesseractEngine.h"
#include "platform/linux/screen/TesseractScreenText.h"

#include <QCoroTask>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <malloc.h>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace {

double residentMegabytes() {
    QFile status(u"/proc/self/status"_s);
    if (!status.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray& line : status.readAll().split('\n'))
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').value(0).toDouble() / 1024;
    return 0;
}

RenderedText::Page page(QSize size) {
    return RenderedText::render({u"DejaVu Sans"_s, 14, Qt::white, QColor(30, 30, 30)},
                                RenderedText::paragraphs().join(u' '), size);
}

void BM_EngineStart(benchmark::State& state) {
    const double before = residentMegabytes();
    double loaded = 0;
    for (auto _ : state) {
        auto engine = TesseractEngine::load(TesseractEngine::dataFolder());
        if (!engine) {
            state.SkipWithError("no English recognition data");
            return;
        }
        state.PauseTiming();
        loaded = residentMegabytes();
        engine.reset();
        malloc_trim(0);
        state.ResumeTiming();
    }
    state.counters["rss_before_MB"] = before;
    state.counters["rss_loaded_MB"] = loaded;
}
BENCHMARK(BM_EngineStart)->Iterations(10)->Unit(benchmark::kMillisecond);

void readRepeatedly(benchmark::State& state, const RenderedText::Page& shown,
                    const std::function<QRect(int)>& areaOf, ScreenText::Layout layout) {
    TesseractScreenText reader(RenderedText::screenShowing(shown.image));
    // The engine's start is not part of a read.
    QCoro::waitFor(reader.read(QRect(0, 0, 8, 8), layout, 5s));
    std::vector<double> micros;
    QElapsedTimer timer;
    int i = 0;
    for (auto _ : state) {
        timer.start();
        const auto outcome = QCoro::waitFor(reader.read(areaOf(i++), layout, 5s));
        micros.push_back(double(timer.nsecsElapsed()) / 1000.0);
        if (!std::holds_alternative<ScreenText::Recognition>(outcome)) {
            state.SkipWithError("a read failed");
            return;
        }
    }
    reportLatencies(state, micros);
    state.counters["rss_MB"] = residentMegabytes();
}

void BM_ReadAroundPoint(benchmark::State& state) {
    const RenderedText::Page shown = page({900, 400});
    readRepeatedly(
        state, shown,
        [&](int i) {
            const QPointF point = shown.words[(i * 7) % shown.words.size()].box.center();
            return QRect(qRound(point.x()) - 160, qRound(point.y()) - 32, 320, 64);
        },
        ScreenText::Layout::aroundPoint);
}
BENCHMARK(BM_ReadAroundPoint)->Iterations(200)->Unit(benchmark::kMillisecond);

void BM_ReadRegion(benchmark::State& state) {
    const RenderedText::Page shown = page({800, 300});
    readRepeatedly(
        state, shown, [&](int) { return shown.image.rect(); }, ScreenText::Layout::block);
}
BENCHMARK(BM_ReadRegion)->Iterations(20)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    // Pages are drawn in memory; no display is needed.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
