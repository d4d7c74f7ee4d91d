// Vocabulary::record with a full history (500 entries), each call a new word, so every call
// also evicts the oldest entry and saves the whole list to a defaults file in a temporary
// folder (counters median_us and p99_us).

#include "LatencyCounters.h"
#include "notebook/Vocabulary.h"
#include "settings/DefaultsStore.h"

#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <chrono>

using namespace Qt::StringLiterals;

namespace {

// "a", "b", …, "ba", … : distinct words of ASCII letters.
QString word(int n) {
    QString text;
    do {
        text.prepend(QChar(u'a' + n % 26));
        n /= 26;
    } while (n > 0);
    return u"w"_s + text;
}

void BM_VocabularyRecord(benchmark::State& state) {
    QTemporaryDir folder;
    DefaultsStore store(folder.path() + u"/defaults.json"_s);
    Vocabulary vocabulary(Vocabulary::Dependencies{
        .store = store,
        .recordingEnabled = [] { return true; },
        .log = [](const QString&) {},
        .folder = folder.path(),
    });
    int next = 0;
    while (next < Vocabulary::historyLimit)
        vocabulary.record(word(next++));
    std::vector<double> micros;
    for (auto _ : state) {
        const QString text = word(next++);
        const auto start = std::chrono::steady_clock::now();
        vocabulary.record(text);
        micros.push_back(
            std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start)
                .count());
    }
    reportLatencies(state, micros);
}

BENCHMARK(BM_VocabularyRecord)->Iterations(300)->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
