// The whole capture chain on texts at the standard length limit (budget: 50 µs a run).
#include "base/UnicodeText.h"
#include "filter/CaptureFilter.h"

#include <benchmark/benchmark.h>

using namespace Qt::StringLiterals;

namespace {

constexpr qsizetype kLength = 2000;

// Repeats `paragraph` and cuts it to exactly kLength characters, ending with a full stop.
QString sized(const QString& paragraph) {
    QString text;
    while (UnicodeText::characterCount(text) < kLength)
        text += paragraph;
    text = UnicodeText::leadingCharacters(text, kLength - 1).toString() + u'.';
    return text;
}

QString englishProse() {
    return sized(
        u"When the tide went out, the harbour turned into a wide plain of grey mud, and the "
        "fishing boats leaned on their keels like tired animals. Children walked out with "
        "buckets to look for crabs under the weed, while their parents mended nets on the sea "
        "wall and argued, without much heat, about the weather and the price of diesel. Nobody "
        "hurried; the water would come back in its own time, as it always had. "_s);
}

QString mixedChinese() {
    return sized(
        u"Our reading group met on Thursday (周四) to discuss the word \"resilience\" (韧性), "
        "which the author uses to describe how small towns recover after a flood. Someone "
        "pointed out that the Chinese gloss 恢复力 is closer to the engineering sense, while "
        "the essay means something warmer: neighbours lending tools, sharing meals, and "
        "rebuilding the library first. "_s);
}

// An emoji with a skin tone joins code points into one character, which takes the filter off
// its fast path: the slowest realistic case.
QString mixedChineseWithEmoji() {
    return sized(
        u"Our reading group met on Thursday (周四) 👍🏽 to discuss the word \"resilience\" "
        u"(韧性), "
        "which the author uses to describe how small towns recover after a flood. Someone "
        "pointed out that the Chinese gloss 恢复力 is closer to the engineering sense, while "
        "the essay means something warmer: neighbours lending tools, sharing meals, and "
        "rebuilding the library first. "_s);
}

void runChain(benchmark::State& state, const QString& text) {
    const CaptureFilter::Capture capture{text, CaptureFilter::Channel::clipboard};
    const CaptureFilter::Settings settings;
    const std::optional<PreviousQuery> previous =
        PreviousQuery{u"an earlier query"_s, QDateTime::currentDateTimeUtc().addSecs(-10)};
    const QDateTime now = QDateTime::currentDateTimeUtc();
    if (UnicodeText::characterCount(text) != kLength ||
        CaptureFilter::firstRejection(capture, settings, previous, now)) {
        state.SkipWithError("the text must be 2,000 characters and pass every rule");
        return;
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(CaptureFilter::firstRejection(capture, settings, previous, now));
}

void BM_ChainEnglishProse(benchmark::State& state) {
    runChain(state, englishProse());
}

void BM_ChainMixedChinese(benchmark::State& state) {
    runChain(state, mixedChinese());
}

void BM_ChainMixedChineseWithEmoji(benchmark::State& state) {
    runChain(state, mixedChineseWithEmoji());
}

} // namespace

BENCHMARK(BM_ChainEnglishProse)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ChainMixedChinese)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ChainMixedChineseWithEmoji)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
