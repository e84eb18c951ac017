// Every fuzz target states its promises with Require: a broken one aborts,
// so the fuzzer keeps the input that broke it.
#pragma once

#include <cstdlib>

inline void Require(bool condition) {
    if (!condition)
        std::abort();
}
