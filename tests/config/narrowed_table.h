/// The built-in table as an engine on one chip sees it. Used by tests; one at a time, because the
/// table's objects are shared by the whole process.
#pragma once

#include <gtest/gtest.h>

#include "corebeacon/builtin_config.h"

namespace corebeacon::test {

inline constexpr ChipTypeAvailableValue kEveryChip[] = {CHIP_TYPE_COMMON, CHIP_TYPE_VARIANT_1,
                                                        CHIP_TYPE_VARIANT_2};

inline PerfQosConfigMap NarrowedTable(ChipTypeAvailableValue chipType) {
    PerfConfigControlInfo controlInfo;
    controlInfo.chipType = chipType;
    PerfQosConfigMap table = GetPerfQosConfigMap();
    for (auto& [qosId, config] : table) {
        EXPECT_EQ(config.get().GetGroupConfigByChipType(qosId, controlInfo), 0);
    }
    return table;
}

/// Whether a group of the narrowed table takes this value as it is.
inline bool TakesValue(const PerfQosConfigMap& table, PerfQosId qosId, unsigned int groupId,
                       int value) {
    const auto& rows = table.at(qosId).get().groups;
    if (groupId >= rows.size()) {
        return false;
    }
    const PerfGroupConfig& row = rows[groupId];
    if (!row.level2ValueMap.empty()) {
        return row.level2ValueMap.contains(value);
    }
    // The memory's maximum comes from the kernel.
    return value >= row.availableMin && (value <= row.availableMax || qosId == PERF_QOS_DDR);
}

}  // namespace corebeacon::test
