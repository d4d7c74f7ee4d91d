#include <QCoreApplication>
#include <benchmark/benchmark.h>

// The main() of the benchmarks that need Qt's application object: AppPaths finds the word
// database beside the program through it, and queued notices (a background writer, a model
// server's replies, a discovery worker) arrive through its event loop.
int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    QCoreApplication application(argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
