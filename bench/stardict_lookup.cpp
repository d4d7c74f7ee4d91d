// Lookups in the system's dictionaries through the shelf the bridge uses (file checks and
// lock included), over a generated StarDict dictionary of 400,000 headwords (dictzipped,
// with 40,000 synonyms) built once in a temporary folder, and over Debian's gcide when it is
// installed.
//
//   BM_StarDictLookup, BM_DictdLookup: one lookup (counters median_us, p99_us).
//   BM_StarDictFirstLookup, BM_DictdFirstLookup: a fresh shelf finding, opening and
//   answering one word, as a process does once (median over fresh opens).
//   BM_Listing: the list of dictionaries (folders walked, files checked) with all of them
//   already open, as every lookup of the engine asks for it.

#include "LatencyCounters.h"
#include "harness/StarDictWriter.h"
#include "platform/linux/dictionaries/DictionaryDiscovery.h"
#include "platform/linux/dictionaries/StarDictDictdShelf.h"

#include <QEventLoop>
#include <QFile>
#include <QRandomGenerator>
#include <QSet>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>
#include <chrono>
#include <vector>

using namespace Qt::StringLiterals;

namespace {

constexpr int kHeadwords = 400000;
constexpr int kSynonyms = 40000;
constexpr int kProbes = 10000;
constexpr int kPasses = 5;
constexpr int kFreshOpens = 20;

struct Sample {
    StarDictDictdShelf::Folders folders;
    QString identifier;
    std::vector<QString> probes; // mostly headwords, some misses
    QString error;
};

double microsSince(std::chrono::steady_clock::time_point start) {
    return std::chrono::duration<double, std::micro>(std::chrono::steady_clock::now() - start)
        .count();
}

QString randomWord(QRandomGenerator& random) {
    QString word;
    const int length = 3 + int(random.bounded(10));
    for (int i = 0; i < length; ++i)
        word += QChar(u'a' + random.bounded(26));
    if (random.bounded(10) == 0)
        word[0] = word[0].toUpper();
    if (random.bounded(50) == 0)
        word.insert(length / 2, u'-');
    return word;
}

const Sample& starDictSample() {
    static QTemporaryDir folder;
    static const Sample sample = [] {
        Sample built;
        QRandomGenerator random(400000);
        QSet<QString> seen;
        std::vector<QString> words;
        while (int(words.size()) < kHeadwords) {
            QString word = randomWord(random);
            if (!seen.contains(word)) {
                seen.insert(word);
                words.push_back(std::move(word));
            }
        }
        StarDictWriter writer({.bookname = u"Bench"_s, .dictzip = true});
        for (int i = 0; i < kHeadwords; ++i)
            writer.add(
                words[std::size_t(i)],
                u"n. 第%1条释义；%2 的意思\nv. an explanation of %2 in a sentence or two"_s.arg(i)
                    .arg(words[std::size_t(i)]));
        for (int i = 0; i < kSynonyms; ++i)
            writer.addSynonym(words[std::size_t(i) * 7] + u"s"_s, words[std::size_t(i) * 7]);
        const auto written = writer.write(folder.path(), u"bench"_s);
        if (!written) {
            built.error = written.error;
            return built;
        }
        built.folders = {{folder.path()}, {}};
        built.identifier = u"stardict:bench"_s;
        for (int i = 0; i < kProbes; ++i)
            built.probes.push_back(i % 10 == 9 ? randomWord(random) + u"q"_s
                                               : words[random.bounded(kHeadwords)]);
        return built;
    }();
    return sample;
}

const Sample& gcideSample() {
    static const Sample sample = [] {
        Sample built;
        QFile index(u"/usr/share/dictd/gcide.index"_s);
        if (!index.open(QIODevice::ReadOnly)) {
            built.error = u"needs /usr/share/dictd/gcide.index (dict-gcide)"_s;
            return built;
        }
        built.folders = {{}, {u"/usr/share/dictd"_s}};
        built.identifier = u"dictd:gcide"_s;
        // Every 20th headword: about 10,000 words spread over the alphabet.
        for (int line = 0; !index.atEnd(); ++line) {
            const QByteArray text = index.readLine();
            if (line % 20 == 0 && !text.startsWith("00"))
                built.probes.push_back(QString::fromUtf8(text.left(text.indexOf('\t'))));
        }
        return built;
    }();
    return sample;
}

void lookups(benchmark::State& state, const Sample& sample) {
    if (!sample.error.isEmpty()) {
        state.SkipWithError(qPrintable(sample.error));
        return;
    }
    StarDictDictdShelf shelf([&sample] { return sample.folders; }, [](const QString&) {});
    if (!shelf.definition(sample.probes.front(), sample.identifier)) {
        state.SkipWithError("the first word was not found");
        return;
    }
    std::vector<double> micros;
    std::size_t next = 0;
    std::size_t answered = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        const std::optional<QString> found =
            shelf.definition(sample.probes[next], sample.identifier);
        micros.push_back(microsSince(start));
        benchmark::DoNotOptimize(found);
        answered += found ? 1 : 0;
        next = (next + 1) % sample.probes.size();
    }
    reportLatencies(state, micros);
    state.counters["answered"] = double(answered) / double(micros.size());
}

void firstLookups(benchmark::State& state, const Sample& sample) {
    if (!sample.error.isEmpty()) {
        state.SkipWithError(qPrintable(sample.error));
        return;
    }
    std::vector<double> micros;
    std::size_t next = 0;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        StarDictDictdShelf shelf([&sample] { return sample.folders; }, [](const QString&) {});
        const std::optional<QString> found =
            shelf.definition(sample.probes[next++ % sample.probes.size()], sample.identifier);
        micros.push_back(microsSince(start));
        benchmark::DoNotOptimize(found);
    }
    reportLatencies(state, micros);
}

void BM_StarDictLookup(benchmark::State& state) {
    lookups(state, starDictSample());
}
void BM_StarDictFirstLookup(benchmark::State& state) {
    firstLookups(state, starDictSample());
}
void BM_DictdLookup(benchmark::State& state) {
    lookups(state, gcideSample());
}
void BM_DictdFirstLookup(benchmark::State& state) {
    firstLookups(state, gcideSample());
}

void BM_Listing(benchmark::State& state) {
    const Sample& starDict = starDictSample();
    if (!starDict.error.isEmpty()) {
        state.SkipWithError(qPrintable(starDict.error));
        return;
    }
    const StarDictDictdShelf::Folders folders{starDict.folders.starDict, {u"/usr/share/dictd"_s}};
    StarDictDictdShelf shelf([&folders] { return folders; }, [](const QString&) {});
    const qsizetype count = shelf.dictionaries().size();
    std::vector<double> micros;
    for (auto _ : state) {
        const auto start = std::chrono::steady_clock::now();
        const QList<SystemDictionaryBridge::Handle> handles = shelf.dictionaries();
        micros.push_back(microsSince(start));
        benchmark::DoNotOptimize(handles);
    }
    reportLatencies(state, micros);
    state.counters["dictionaries"] = double(count);
}

// Ten dictionaries of 40,000 headwords each, in one folder.
const Sample& tenDictionariesSample() {
    static QTemporaryDir folder;
    static const Sample sample = [] {
        Sample built;
        QRandomGenerator random(10);
        std::vector<QString> words;
        QSet<QString> seen;
        while (words.size() < 40000) {
            QString word = randomWord(random);
            if (!seen.contains(word)) {
                seen.insert(word);
                words.push_back(std::move(word));
            }
        }
        for (int d = 0; d < 10; ++d) {
            StarDictWriter writer({.bookname = u"Bench %1"_s.arg(d)});
            for (const QString& word : words)
                writer.add(word, u"n. %1 的第%2种释义"_s.arg(word).arg(d));
            if (const auto written = writer.write(folder.path(), u"bench%1"_s.arg(d)); !written) {
                built.error = written.error;
                return built;
            }
        }
        built.folders = {{folder.path()}, {}};
        for (int i = 0; i < 200; ++i)
            built.probes.push_back(words[random.bounded(int(words.size()))]);
        return built;
    }();
    return sample;
}

void waitForListing(DictionaryDiscovery& discovery) {
    QEventLoop loop;
    QObject::connect(&discovery, &DictionaryDiscovery::listed, &loop, &QEventLoop::quit);
    loop.exec();
}

// One lookup's main-thread work with ten dictionaries installed: the list, then every
// dictionary's definition. `followed`: the list comes from the discovery's cache (the agent);
// otherwise the folders are walked for it, as every lookup did before.
void tenDictionaryLookups(benchmark::State& state, bool followed) {
    const Sample& sample = tenDictionariesSample();
    if (!sample.error.isEmpty()) {
        state.SkipWithError(sample.error.toStdString().c_str());
        return;
    }
    StarDictDictdShelf shelf([&sample] { return sample.folders; }, [](const QString&) {});
    DictionaryDiscovery discovery(
        shelf, [&sample] { return sample.folders; }, TimerSource::system());
    if (followed) {
        discovery.start();
        waitForListing(discovery);
    } else {
        for (const auto& handle : shelf.dictionaries())
            shelf.definition(sample.probes.front(), handle.identifier); // word lists read
    }
    std::size_t probe = 0;
    for (auto _ : state) {
        const QString& word = sample.probes[probe++ % sample.probes.size()];
        const auto handles = followed ? discovery.dictionaries() : shelf.dictionaries();
        for (const auto& handle : handles)
            benchmark::DoNotOptimize(shelf.definition(word, handle.identifier));
    }
}

void BM_TenDictionariesWalkedPerLookup(benchmark::State& state) {
    tenDictionaryLookups(state, false);
}
void BM_TenDictionariesFromTheFollowedList(benchmark::State& state) {
    tenDictionaryLookups(state, true);
}

// The first lookup after start in the 400,000-headword dictionary, main thread only: the
// agent's discovery has read the word lists on its worker by the time the list is out.
void BM_StarDictFirstLookupAfterDiscovery(benchmark::State& state) {
    const Sample& sample = starDictSample();
    if (!sample.error.isEmpty()) {
        state.SkipWithError(sample.error.toStdString().c_str());
        return;
    }
    std::size_t probe = 0;
    for (auto _ : state) {
        state.PauseTiming();
        StarDictDictdShelf shelf([&sample] { return sample.folders; }, [](const QString&) {});
        DictionaryDiscovery discovery(
            shelf, [&sample] { return sample.folders; }, TimerSource::system());
        discovery.start();
        waitForListing(discovery);
        state.ResumeTiming();
        benchmark::DoNotOptimize(discovery.dictionaries());
        benchmark::DoNotOptimize(
            shelf.definition(sample.probes[probe++ % sample.probes.size()], sample.identifier));
    }
}

BENCHMARK(BM_StarDictLookup)->Iterations(kProbes* kPasses)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_StarDictFirstLookup)->Iterations(kFreshOpens)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_DictdLookup)->Iterations(kProbes* kPasses)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_DictdFirstLookup)->Iterations(kFreshOpens)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Listing)->Iterations(2000)->Unit(benchmark::kMicrosecond);

BENCHMARK(BM_TenDictionariesWalkedPerLookup)->Iterations(200)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_TenDictionariesFromTheFollowedList)->Iterations(2000)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_StarDictFirstLookupAfterDiscovery)->Iterations(5)->Unit(benchmark::kMillisecond);

} // namespace
