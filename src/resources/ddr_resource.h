/// The resource of the memory frequency: a frequency resource whose groups have a single node, a
/// DdrGroup for each row. Owned and called as PerfResource tells.
#pragma once

#include "resources/frequency_resource.h"

namespace corebeacon {

class DdrResource : public FrequencyResource {
public:
    using FrequencyResource::FrequencyResource;
    ~DdrResource() override;

    /// 0, or -1 (logged) for a configuration without DdrParameters and at the first row that has
    /// not exactly one node or whose values contradict each other.
    int InitGroups(const PerfQosConfig& config, bool isLoaded) override;
};

}  // namespace corebeacon
