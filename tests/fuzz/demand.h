/// How a fuzz target says that something is wrong: the process ends, as after any other crash.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>

namespace corebeacon::fuzz {

inline void Demand(bool holds, const std::string& promise) {
    if (!holds) {
        std::fprintf(stderr, "a promise is broken: %s\n", promise.c_str());
        std::abort();
    }
}

}  // namespace corebeacon::fuzz
