/// What a chip variant has that others have not. Fixed data; any thread may read it.
#pragma once

#include <cstdint>
#include <vector>

namespace corebeacon::sim {

inline constexpr unsigned kChipCount = 3;
inline constexpr unsigned kClusterCount = 3;

struct ChipFacts {
    std::vector<std::int64_t> clusterKhz[kClusterCount];
    std::vector<std::int64_t> gpuHz;
    std::vector<std::int64_t> ddrHz;
    std::vector<std::int64_t> l3cHz;
};

/// `chip` is below kChipCount.
const ChipFacts& FactsOfChip(unsigned chip);

}  // namespace corebeacon::sim
