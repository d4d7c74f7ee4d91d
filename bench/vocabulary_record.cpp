// Vocabulary::record with a full history (500 entries), each call a new word, so every call
// also evicts the oldest entry and saves the whole list to a defaults file in a temporary
// folder (counters median_us and p99_us): written before record() returns, as the command
// line does, and handed to the store's own thread, as the agent does (its main thread's
// time; each write ends before the next call, as between two real lookups).

#include "LatencyCounters.h"
#include "notebook/Vocabulary.h"
#include "settings/DefaultsStore.h"
#include "support/MadeUpWords.h"

#include <QCoreApplication>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <chrono>

using namespace Qt::StringLiterals;

namespace {

QString word(int n) {
    return madeUpWord(u"w"_s, n);
}

void measureRecords(benchmark::State& state, bool inBackground) {
    QTemporaryDir folder;
    DefaultsStore store(folder.path() + u"/defaults.json"_s);
    if (inBackground)
        store.writeInBackground();
    Vocabulary vocabulary(Vocabulary::Dependencies{
        .store = store,
        .recordingEnabled = [] { return true; },
        .log = [](const QString&) {},
        .folder = folder.path(),
    });
    int next = 0;
    while (next < Vocabulary::historyLimit)
        vocabulary.record(word(next++));
    vocabulary.flush();
    store.waitForWrites();
    std::vector<double> micros;
    for (auto _ : state) {
        const QString text = word(next++);
        const auto start = std::chrono::steady_clock::now();
        vocabulary.record(text);
        micros.push_back(
            std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start)
                .count());
        state.PauseTiming();
        store.waitForWrites();
        QCoreApplication::processEvents();
        state.ResumeTiming();
    }
    reportLatencies(state, micros);
}

void BM_VocabularyRecord(benchmark::State& state) {
    measureRecords(state, false);
}
BENCHMARK(BM_VocabularyRecord)->Iterations(300)->Unit(benchmark::kMicrosecond);

void BM_VocabularyRecordInBackground(benchmark::State& state) {
    measureRecords(state, true);
}
BENCHMARK(BM_VocabularyRecordInBackground)->Iterations(300)->Unit(benchmark::kMicrosecond);

} // namespace
