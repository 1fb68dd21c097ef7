#include "resources/monitor_enable_group.h"

#include "platform/logging.h"

namespace corebeacon {

namespace {
constexpr const char* LOG_TAG = "PF_MONITOR_ENABLE_GRP";
}  // namespace

bool MonitorEnableGroup::GroupParametersValidate(const PerfGroupConfig& config) {
    const char* const name = config.name.c_str();
    if (config.level2ValueMap.empty()) {
        LOGE("[%s:%d] [%s] level2value mapping is empty", name);
        return false;
    }
    if (config.sysNodePaths.empty()) {
        LOGE("[%s:%d] [%s] nodePathVec is empty!", name);
        return false;
    }
    if (!PerfGroup::GroupParametersValidate(config)) {
        LOGE("[%s:%d] [%s] GroupParametersValidate failed!", name);
        return false;
    }
    return true;
}

int MonitorEnableGroup::DoConfig(int /*boost*/, int /*limit*/) {
    return 0;
}

int MonitorEnableGroup::RelatedGroupDoConfig(int level) {
    return LevelMapGroup::DoConfig(level, level);
}

void MonitorEnableGroup::DescribeKind(GroupState& state) const {
    state.kind = GroupKind::MONITOR_ENABLE;
    DescribeNodes(state);
}

}  // namespace corebeacon
