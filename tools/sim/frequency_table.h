/// What frequency devices of both kinds share. Plain values.
#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace corebeacon::sim {

enum class Bound { MIN, MAX };

/// Ascending and without duplicates.
inline std::vector<std::int64_t> SortedTable(std::vector<std::int64_t> table) {
    std::sort(table.begin(), table.end());
    table.erase(std::unique(table.begin(), table.end()), table.end());
    return table;
}

}  // namespace corebeacon::sim
