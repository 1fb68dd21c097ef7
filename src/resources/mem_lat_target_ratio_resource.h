/// A memory-latency monitor: group 0 its target ratio, group 1 its enable switch. The device wants
/// the two driven in step: the switch is worked around a ratio that opens or closes, and a ratio
/// asked for under a monitor that is on is only remembered. So after each step at most one
/// coordinated change is carried out, for one group. Owned and called as PerfResource tells.
#pragma once

#include <cstdint>

#include "resources/post_processing_resource.h"

namespace corebeacon {

class MemLatTargetRatioResource : public PostProcessingResource {
public:
    explicit MemLatTargetRatioResource(const ResConstructParam& param);
    ~MemLatTargetRatioResource() override;

    /// 0, or -1 unless there are exactly the two rows, in order and fit for their groups. Writes
    /// nothing: the device starts at the base values.
    int InitGroups(const PerfQosConfig& config, bool isLoaded) override;
    /// 0, or -1, with nothing written, when both final values differ from what was applied. Both
    /// changes are then seen again after the next step.
    int CommandPostProcess() override;

protected:
    /// The level of a ratio that is closed.
    static constexpr std::uint32_t kClosedRatio = 0;

    void ProcessTargetRatioCommand();
    void ProcessMonitorEnableCommand();

    // Worker thread only. All values are levels: "last" the one last applied, "new" the final one
    // that the last step found.
    bool mRatioPending = false;
    bool mMonitorPending = false;
    std::uint32_t mLastTargetRatio = 0;
    std::uint32_t mNewTargetRatio = 0;
    std::uint32_t mLastMonitorEnable = 0;
    std::uint32_t mNewMonitorEnable = 0;

private:
    std::uint32_t FinalLevel(unsigned int groupId) const;
    void ApplyLevel(unsigned int groupId, std::uint32_t level);
};

}  // namespace corebeacon
