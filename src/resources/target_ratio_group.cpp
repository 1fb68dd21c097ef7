#include "resources/target_ratio_group.h"

namespace corebeacon {

int TargetRatioGroup::DoConfig(int /*boost*/, int /*limit*/) {
    return 0;
}

int TargetRatioGroup::RelatedGroupDoConfig(int level) {
    return LevelMapGroup::DoConfig(level, level);
}

void TargetRatioGroup::DescribeKind(GroupState& state) const {
    state.kind = GroupKind::TARGET_RATIO;
    DescribeNodes(state);
}

}  // namespace corebeacon
