/// The target ratio of a memory-latency monitor, asked for in levels. It arbitrates like any group
/// but writes only when its MemLatTargetRatioResource says so. Owned and called as LevelMapGroup
/// tells.
#pragma once

#include "resources/level_map_group.h"

namespace corebeacon {

class TargetRatioGroup : public LevelMapGroup {
public:
    using LevelMapGroup::LevelMapGroup;

    /// Writes nothing: the ratio may have to wait for the monitor's switch.
    int DoConfig(int boost, int limit) override;
    /// Writes the texts of `level`: 0, or -1 for a level that the group does not have.
    int RelatedGroupDoConfig(int level) override;
    void DescribeKind(GroupState& state) const override;
};

}  // namespace corebeacon
