#include "resources/mem_lat_target_ratio_resource.h"

#include <memory>

#include "platform/logging.h"
#include "resources/monitor_enable_group.h"
#include "resources/target_ratio_group.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_MEM_LAT_TARGET_RATIO_RES";

constexpr std::size_t kGroupCount = 2;
constexpr unsigned int kTargetRatioGroup = 0;
constexpr unsigned int kMonitorEnableGroup = 1;

constexpr std::uint32_t kMonitorOff = 0;
constexpr std::uint32_t kMonitorOn = 1;

}  // namespace

MemLatTargetRatioResource::MemLatTargetRatioResource(const ResConstructParam& param)
    : PostProcessingResource(param) {}

MemLatTargetRatioResource::~MemLatTargetRatioResource() {
    StopThread();
}

int MemLatTargetRatioResource::InitGroups(const PerfQosConfig& config, bool /*isLoaded*/) {
    if (config.groups.size() != kGroupCount) {
        LOGE("[%s:%d] [%s] invalid group num %zu", mName.c_str(), config.groups.size());
        return -1;
    }
    const PerfGroupConfig& ratio = config.groups[kTargetRatioGroup];
    const PerfGroupConfig& monitor = config.groups[kMonitorEnableGroup];
    if (ratio.groupId != kTargetRatioGroup || monitor.groupId != kMonitorEnableGroup) {
        LOGE("[%s:%d] [%s] group id is invalid, target ratio and monitor= %u, %u", mName.c_str(),
             ratio.groupId, monitor.groupId);
        return -1;
    }
    if (!LevelMapGroup::GroupParametersValidate(ratio) ||
        !MonitorEnableGroup::GroupParametersValidate(monitor)) {
        return -1;
    }
    mGroups.push_back(std::make_shared<TargetRatioGroup>(ratio, mWorkMode));
    mGroups.push_back(std::make_shared<MonitorEnableGroup>(monitor, mWorkMode));
    mLastTargetRatio = mNewTargetRatio = FinalLevel(kTargetRatioGroup);
    mLastMonitorEnable = mNewMonitorEnable = FinalLevel(kMonitorEnableGroup);
    return 0;
}

int MemLatTargetRatioResource::CommandPostProcess() {
    mNewTargetRatio = FinalLevel(kTargetRatioGroup);
    mNewMonitorEnable = FinalLevel(kMonitorEnableGroup);
    if (mNewTargetRatio != mLastTargetRatio) {
        mRatioPending = true;
    }
    if (mNewMonitorEnable != mLastMonitorEnable) {
        mMonitorPending = true;
    }
    if (mRatioPending && mMonitorPending) {
        // The order in which the device has to see the two depends on which came first, and that
        // cannot be told from the final values.
        LOGE("[%s:%d] [%s] only support one group command at a time", mName.c_str());
        mRatioPending = false;
        mMonitorPending = false;
        return -1;
    }
    if (mRatioPending) {
        ProcessTargetRatioCommand();
        mRatioPending = false;
    } else if (mMonitorPending) {
        ProcessMonitorEnableCommand();
        mMonitorPending = false;
    } else {
        LOGD("[%s:%d] [%s] no new command to process", mName.c_str());
    }
    return 0;
}

void MemLatTargetRatioResource::ProcessTargetRatioCommand() {
    if (mNewTargetRatio == mLastTargetRatio) {
        LOGD("[%s:%d] [%s] same as last command", mName.c_str());
        return;
    }
    if (mLastMonitorEnable == kMonitorOn) {
        // A monitor that is on finds a ratio of its own; ours is only remembered.
        mLastTargetRatio = mNewTargetRatio;
        LOGD("[%s:%d] [%s] need to be closed", mName.c_str());
        return;
    }
    if (mNewTargetRatio == kClosedRatio) {
        // Closing hands the cluster over to the monitor and its own ratio; the node of ours keeps
        // its text.
        mLastTargetRatio = kClosedRatio;
        ApplyLevel(kMonitorEnableGroup, kMonitorOn);
        return;
    }
    if (mLastTargetRatio == kClosedRatio) {
        // The monitor goes first: it would overrule the ratio that is about to be written.
        ApplyLevel(kMonitorEnableGroup, kMonitorOff);
    }
    mLastTargetRatio = mNewTargetRatio;
    ApplyLevel(kTargetRatioGroup, mNewTargetRatio);
}

void MemLatTargetRatioResource::ProcessMonitorEnableCommand() {
    if (mNewMonitorEnable == mLastMonitorEnable) {
        LOGD("[%s:%d] [%s] same as last command", mName.c_str());
        return;
    }
    mLastMonitorEnable = mNewMonitorEnable;
    // While the ratio is closed the switch is on for its sake: on again would change nothing, and
    // off would open the ratio behind its back.
    const bool isClosed = mLastTargetRatio == kClosedRatio;
    if (mLastMonitorEnable == kMonitorOn) {
        if (isClosed) {
            LOGD("[%s:%d] [%s] already closed", mName.c_str());
        } else {
            ApplyLevel(kMonitorEnableGroup, kMonitorOn);
        }
    } else if (isClosed) {
        LOGD("[%s:%d] [%s] need to be closed", mName.c_str());
    } else {
        ApplyLevel(kMonitorEnableGroup, kMonitorOff);
    }
}

std::uint32_t MemLatTargetRatioResource::FinalLevel(unsigned int groupId) const {
    return static_cast<std::uint32_t>(mGroups[groupId]->GetFinalBoostValue());
}

void MemLatTargetRatioResource::ApplyLevel(unsigned int groupId, std::uint32_t level) {
    mGroups[groupId]->RelatedGroupDoConfig(static_cast<int>(level));
}

}  // namespace corebeacon
