/// The resource of the thermal power allocators' budget: builds an IpaSustainablePowerGroup for
/// each row and leaves all else to PerfResource. Owned and called as PerfResource tells.
#pragma once

#include "engine/perf_resource.h"

namespace corebeacon {

class IpaSustainablePowerResource : public PerfResource {
public:
    /// `withBoardSwitch`: the board has a power allocator of its own.
    IpaSustainablePowerResource(const ResConstructParam& param, bool withBoardSwitch);
    ~IpaSustainablePowerResource() override;

    /// 0, or -1 (logged) for a configuration without IpaPowerParameters and at the first row that
    /// has not exactly three nodes or whose values contradict each other.
    int InitGroups(const PerfQosConfig& config, bool isLoaded) override;

private:
    // Fixed after construction.
    const bool mWithBoardSwitch;
};

}  // namespace corebeacon
