/// The switch of a memory-latency monitor, asked for in the levels 0 and 1. It arbitrates like any
/// group but writes only when its MemLatTargetRatioResource says so. Owned and called as
/// LevelMapGroup tells.
#pragma once

#include "resources/level_map_group.h"

namespace corebeacon {

class MonitorEnableGroup : public LevelMapGroup {
public:
    using LevelMapGroup::LevelMapGroup;

    /// Whether `config` has levels, nodes and sensible values; logs if not. A level without a text
    /// for every node passes and is refused when it is to be applied.
    static bool GroupParametersValidate(const PerfGroupConfig& config);

    /// Writes nothing: the switch may have to wait for the ratio.
    int DoConfig(int boost, int limit) override;
    /// Writes the texts of `level`: 0, or -1 for a level that cannot be applied.
    int RelatedGroupDoConfig(int level) override;
    void DescribeKind(GroupState& state) const override;
};

}  // namespace corebeacon
