#pragma once

#include <algorithm>
#include <benchmark/benchmark.h>
#include <vector>

// Per-call latencies (in microseconds) reported as the counters median_us, p99_us and max_us.
inline void reportLatencies(benchmark::State& state, std::vector<double>& micros) {
    if (micros.empty())
        return;
    std::sort(micros.begin(), micros.end());
    const auto at = [&micros](double fraction) {
        return micros[static_cast<std::size_t>(fraction * static_cast<double>(micros.size() - 1))];
    };
    state.counters["median_us"] = at(0.5);
    state.counters["p99_us"] = at(0.99);
    state.counters["max_us"] = micros.back();
}
