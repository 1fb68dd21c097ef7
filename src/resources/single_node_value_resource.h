/// The resource of a QoS whose tunables are one plain node each: builds a SingleNodeValueGroup for
/// each row and leaves all else to PerfResource. Owned and called as PerfResource tells.
#pragma once

#include "engine/perf_resource.h"

namespace corebeacon {

class SingleNodeValueResource : public PerfResource {
public:
    explicit SingleNodeValueResource(const ResConstructParam& param);
    ~SingleNodeValueResource() override;

    /// 0, or -1 at the first row that has not exactly one node or whose values contradict each
    /// other.
    int InitGroups(const PerfQosConfig& config, bool isLoaded) override;
};

}  // namespace corebeacon
