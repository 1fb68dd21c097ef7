/// The resource of the temperature at which a thermal power allocator starts to work: builds an
/// IpaSwitchTempGroup for each row and leaves all else to PerfResource. Owned and called as
/// PerfResource tells.
#pragma once

#include "engine/perf_resource.h"

namespace corebeacon {

class IpaSwitchTempResource : public PerfResource {
public:
    /// `switchEnabled`: the board has a power allocator of its own; else nothing is ever written.
    IpaSwitchTempResource(const ResConstructParam& param, bool switchEnabled);
    ~IpaSwitchTempResource() override;

    /// 0, or -1 at the first row that has not exactly one node or whose values contradict each
    /// other.
    int InitGroups(const PerfQosConfig& config, bool isLoaded) override;

private:
    // Fixed after construction.
    const bool mSwitchEnabled;
};

}  // namespace corebeacon
