/// The resource of a frequency QoS: builds a FrequencyGroup for each row and leaves all else to
/// PerfResource. Owned and called as PerfResource tells.
#pragma once

#include "engine/perf_resource.h"

namespace corebeacon {

class FrequencyResource : public PerfResource {
public:
    explicit FrequencyResource(const ResConstructParam& param);
    ~FrequencyResource() override;

    /// 0, or -1 at the first row that has not exactly two nodes or whose values contradict each
    /// other. A configuration without FreqParameters has no GPU switch.
    int InitGroups(const PerfQosConfig& config, bool isLoaded) override;
};

}  // namespace corebeacon
