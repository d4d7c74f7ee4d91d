// The word-by-word gloss of whole sentences against the full word database. Budget: a
// 60-word sentence glossed in a median of ≤ 5 ms (the counter median_us), in-process.
//
// QUILLET_DICTIONARY_PATH: the word database (default: dictionary.sqlite beside this program).

#include "LatencyCounters.h"
#include "dictionary/BundledDictionary.h"
#include "dictionary/PhraseBook.h"
#include "lookup/Glosser.h"
#include "settings/AppPaths.h"

#include <QString>
#include <benchmark/benchmark.h>
#include <chrono>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

// Sixty words of ordinary prose, phrases and inflections included.
const QString kSixtyWords =
    u"When the storm broke down the old fence, my grandfather gave up trying to fix it "
    "and looked forward to building a new one in the spring. In spite of his age, he carried "
    "out most of the work himself, although he ran out of nails twice and had to borrow some "
    "from the neighbours who lived across the river."_s;

// A clause of twelve words, repeated: how the time grows with the length of the text.
QString wordsOfProse(int count) {
    const QStringList clause =
        u"She made up her mind to take care of the garden every morning"_s.split(u' ');
    QStringList words;
    for (int i = 0; i < count; ++i)
        words.append(clause[i % clause.size()]);
    return words.join(u' ') + u'.';
}

const Glosser* glosser() {
    static const BundledDictionary words(AppPaths::wordDatabase());
    static const PhraseBook phrases(AppPaths::wordDatabase());
    static const Glosser shared(words, phrases);
    return words.isAvailable() && phrases.isAvailable() ? &shared : nullptr;
}

void glossRepeatedly(benchmark::State& state, const QString& text) {
    const Glosser* reader = glosser();
    if (!reader) {
        state.SkipWithError("needs the word database with its phrases (QUILLET_DICTIONARY_PATH)");
        return;
    }
    std::vector<double> micros;
    qsizetype glossed = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        const Gloss gloss = reader->gloss(text);
        const auto end = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(gloss);
        glossed = gloss.glossedCount();
        micros.push_back(std::chrono::duration<double, std::micro>(end - start).count());
    }
    reportLatencies(state, micros);
    state.counters["pieces_glossed"] = static_cast<double>(glossed);
}

void BM_GlossSixtyWordSentence(benchmark::State& state) {
    glossRepeatedly(state, kSixtyWords);
}
BENCHMARK(BM_GlossSixtyWordSentence)->Iterations(500)->Unit(benchmark::kMillisecond);

void BM_GlossByLength(benchmark::State& state) {
    glossRepeatedly(state, wordsOfProse(static_cast<int>(state.range(0))));
}
BENCHMARK(BM_GlossByLength)
    ->Arg(12)
    ->Arg(60)
    ->Arg(240)
    ->Iterations(200)
    ->Unit(benchmark::kMillisecond);

} // namespace
