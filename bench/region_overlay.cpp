// The box overlay's opening: from pick() to every screen's window exposed and holding the
// keyboard, the screen's picture (the backdrop) taken on the way; and the picture alone.
//   bash tests/harness/desktop-session [--screen 3840x2160x24] build/bin/bench_region_overlay

#include "platform/Platform.h"
#include "ui/RegionOverlay.h"
#include "ui/RegionOverlayWindow.h"

#include <QApplication>
#include <QCoroTask>
#include <QElapsedTimer>
#include <QKeyEvent>
#include <QScreen>
#include <QWindow>
#include <benchmark/benchmark.h>
#include <chrono>
#include <cstdio>

namespace {

QCoro::Task<void> pickInto(RegionOverlay& overlay, bool& done) {
    co_await overlay.pick();
    done = true;
}

bool allExposed(const RegionOverlay& overlay) {
    const QList<RegionOverlayWindow*> windows = overlay.windows();
    if (windows.size() != QGuiApplication::screens().size())
        return false;
    for (RegionOverlayWindow* window : windows)
        if (!window->windowHandle() || !window->windowHandle()->isExposed())
            return false;
    return QWidget::keyboardGrabber() != nullptr;
}

void OverlayOpens(benchmark::State& state) {
    RegionOverlay overlay(std::chrono::milliseconds(0));
    for (auto _ : state) {
        bool done = false;
        QElapsedTimer clock;
        clock.start();
        QCoro::Task<void> picking = pickInto(overlay, done);
        while (!allExposed(overlay))
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        state.SetIterationTime(clock.nsecsElapsed() / 1e9);

        QKeyEvent escape(QEvent::KeyPress, Qt::Key_Escape, Qt::NoModifier);
        QCoreApplication::sendEvent(overlay.windows().first(), &escape);
        while (!done)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
}
BENCHMARK(OverlayOpens)->UseManualTime()->Iterations(30)->Unit(benchmark::kMillisecond);

void ScreenPicture(benchmark::State& state) {
    QScreen* screen = QGuiApplication::primaryScreen();
    for (auto _ : state)
        benchmark::DoNotOptimize(screen->grabWindow(0));
}
BENCHMARK(ScreenPicture)->Iterations(30)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    if (qEnvironmentVariableIsEmpty("DISPLAY")) {
        std::fputs("needs an X display: run it through tests/harness/desktop-session\n", stderr);
        return 1;
    }
    Platform::install();
    QApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
