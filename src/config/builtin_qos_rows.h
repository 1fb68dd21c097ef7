/// The shapes in which the built-in QoS table is written down, one family of QoS a file, and access
/// to the families. All of it is constant data; builtin_qos_table.cpp turns it into the objects
/// that hosts are handed.
///
/// Arrays are as long as the longest row needs; a null node, a null text or a zero maximum ends
/// the used part.
#pragma once

#include <algorithm>
#include <cstddef>
#include <span>

#include "corebeacon/group_config.h"
#include "corebeacon/perf_types.h"

namespace corebeacon::builtin {

inline constexpr std::size_t kMaxRows = 3;
inline constexpr std::size_t kMaxNodes = 6;
inline constexpr std::size_t kMaxLevels = 6;

/// A CPU cluster's frequency range on one chip; what is available is also the base.
struct CpuFreqRow {
    ChipTypeAvailableValue chipType = CHIP_TYPE_COMMON;
    int minKhz = 0;
    int maxKhz = 0;
};

/// A devfreq device's frequency range on one chip; what is available is also the base.
struct DevFreqRow {
    ChipTypeAvailableValue chipType = CHIP_TYPE_COMMON;
    int minHz = 0;
    int maxHz = 0;
};

/// A QoS with a floor and a ceiling node.
template <typename Row>
struct FreqQos {
    PerfQosId id = PERF_QOS_INVALID;
    const char* availableFreqs = nullptr;
    const char* minNode = nullptr;
    const char* maxNode = nullptr;
    Row rows[kMaxRows] = {};
};
using CpuFreqQos = FreqQos<CpuFreqRow>;
using DevFreqQos = FreqQos<DevFreqRow>;

/// The memory frequency on one chip. Its maximum is whatever the kernel lists.
struct DdrRow {
    ChipTypeAvailableValue chipType = CHIP_TYPE_COMMON;
    int minKhz = 0;
};

struct DdrQos {
    PerfQosId id = PERF_QOS_INVALID;
    const char* availableFreqs = nullptr;
    const char* bandwidthNode = nullptr;
    float megabytesPerSecondPerMhz = 0;
    DdrRow rows[2] = {};
};

/// The thermal power budget; the nodes are the budget, the board's switch and the SoC's switch.
struct IpaPowerQos {
    PerfQosId id = PERF_QOS_INVALID;
    const char* nodes[3] = {};
    int availableMinMilliwatt = 0;
    int availableMaxMilliwatt = 0;
    int baseMinMilliwatt = 0;
    int baseMaxMilliwatt = 0;
    int socSwitchMilliwatt = 0;
    int boardSwitchMilliwatt = 0;
};

/// A thermal trip point.
struct TripPointQos {
    PerfQosId id = PERF_QOS_INVALID;
    const char* node = nullptr;
    int availableMinMillicelsius = 0;
    int availableMaxMillicelsius = 0;
    int baseMinMillicelsius = 0;
    int baseMaxMillicelsius = 0;
};

/// A device that takes the number of an operating point.
struct OperatingPointQos {
    PerfQosId id = PERF_QOS_INVALID;
    const char* node = nullptr;
    int minPoint = 0;
    int maxPoint = 0;
};

/// What one level writes: one text per node.
struct LevelTexts {
    int level = 0;
    const char* texts[kMaxNodes] = {};
};

/// A level-mapped row. The texts are the kernel's own units, told where the row stands; levels
/// ascend with the performance that they ask for.
struct LevelRow {
    unsigned int groupId = 0;
    const char* name = nullptr;  ///< null: the name of the QoS
    ChipTypeAvailableValue chipType = CHIP_TYPE_COMMON;
    int baseLevel = 0;
    const char* nodes[kMaxNodes] = {};
    LevelTexts levels[kMaxLevels] = {};
};

struct LevelQos {
    PerfQosId id = PERF_QOS_INVALID;
    LevelRow rows[kMaxRows] = {};
};

// The used part of each array.

constexpr bool IsUsed(const char* text) {
    return text != nullptr;
}
constexpr bool IsUsed(const CpuFreqRow& row) {
    return row.maxKhz != 0;
}
constexpr bool IsUsed(const DevFreqRow& row) {
    return row.maxHz != 0;
}
constexpr bool IsUsed(const LevelTexts& level) {
    return level.texts[0] != nullptr;
}
constexpr bool IsUsed(const LevelRow& row) {
    return row.nodes[0] != nullptr;
}

template <typename T, std::size_t N>
constexpr std::span<const T> Used(const T (&items)[N]) {
    std::size_t count = 0;
    while (count < N && IsUsed(items[count])) {
        ++count;
    }
    return {items, count};
}

/// What the compiler is asked to prove of every level-mapped row.
constexpr bool IsWellFormed(const LevelRow& row) {
    const auto levels = Used(row.levels);
    const auto hasText = [&row](const LevelTexts& level) {
        const auto texts = Used(level.texts);
        const auto isEmpty = [](const char* text) { return text[0] == '\0'; };
        return texts.size() == Used(row.nodes).size() && std::ranges::none_of(texts, isEmpty);
    };
    return std::ranges::all_of(levels, hasText) &&
           std::ranges::adjacent_find(levels, std::ranges::greater_equal{}, &LevelTexts::level) ==
               levels.end() &&
           std::ranges::find(levels, row.baseLevel, &LevelTexts::level) != levels.end();
}

constexpr bool IsWellFormed(std::span<const LevelQos> table) {
    return std::ranges::all_of(table, [](const LevelQos& qos) {
        const auto rows = Used(qos.rows);
        return !rows.empty() &&
               std::ranges::all_of(rows, [](const LevelRow& row) { return IsWellFormed(row); });
    });
}

// The families.

std::span<const CpuFreqQos> CpuFreqTable();
std::span<const DevFreqQos> DevFreqTable();
const DdrQos& DdrEntry();
const IpaPowerQos& IpaPowerEntry();
std::span<const TripPointQos> TripPointTable();
const OperatingPointQos& VideoEncodeEntry();
/// Group 0 the target ratio, group 1 the monitor's switch.
std::span<const LevelQos> MemLatTable();
std::span<const LevelQos> LatencyTable();
std::span<const LevelQos> GovernorLoadTable();
std::span<const LevelQos> GovernorDelayTable();
std::span<const LevelQos> GovernorRampTable();
std::span<const LevelQos> TaskTable();
std::span<const LevelQos> PlatformTable();

}  // namespace corebeacon::builtin
