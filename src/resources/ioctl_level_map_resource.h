/// The resource of a QoS that reaches its device by ioctl: builds an IoctlLevelMapGroup for each
/// row and leaves all else to PerfResource. Owned and called as PerfResource tells.
#pragma once

#include "engine/perf_resource.h"

namespace corebeacon {

class IoctlLevelMapResource : public PerfResource {
public:
    explicit IoctlLevelMapResource(const ResConstructParam& param);
    ~IoctlLevelMapResource() override;

    /// As LevelMapResource's. What the texts hold is looked at only when a level is applied.
    int InitGroups(const PerfQosConfig& config, bool isLoaded) override;
};

}  // namespace corebeacon
