/// How a fuzz target says that something is wrong: the process ends, as after any other crash.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string_view>

namespace corebeacon::fuzz {

[[noreturn]] inline void Denounce(std::string_view promise) {
    std::fprintf(stderr, "a promise is broken: %.*s\n", static_cast<int>(promise.size()),
                 promise.data());
    std::abort();
}

/// Costs next to nothing while it holds, as most of what a target does is to demand.
inline void Demand(bool holds, std::string_view promise) {
    if (!holds) [[unlikely]] {
        Denounce(promise);
    }
}

}  // namespace corebeacon::fuzz
