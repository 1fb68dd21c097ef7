/// Counts decimal digits, by which a frequency's unit is told apart: kHz values have up to seven,
/// Hz values more.
#pragma once

#include <cstdint>

namespace corebeacon {

/// Zero and negative values count 1. Done with integers: log10 rounds near powers of ten.
constexpr int CountDigits(std::int64_t value) {
    int digits = 1;
    while (value >= 10) {
        value /= 10;
        ++digits;
    }
    return digits;
}

}  // namespace corebeacon
