/// The resource of a QoS whose tunables are asked for in levels: builds a LevelMapGroup for each
/// row and leaves all else to PerfResource. Owned and called as PerfResource tells.
#pragma once

#include "engine/perf_resource.h"

namespace corebeacon {

class LevelMapResource : public PerfResource {
public:
    explicit LevelMapResource(const ResConstructParam& param);
    ~LevelMapResource() override;

    /// 0, or -1 at the first row without levels, with a level that has not a text per node, or
    /// whose values contradict each other.
    int InitGroups(const PerfQosConfig& config, bool isLoaded) override;
};

}  // namespace corebeacon
