#pragma once

#include <cstdio>
#include <cstdlib>

// A broken invariant is a crash libFuzzer keeps the input of; the message says which one.
inline void require(bool condition, const char* invariant) {
    if (condition)
        return;
    std::fprintf(stderr, "invariant broken: %s\n", invariant);
    std::abort();
}
