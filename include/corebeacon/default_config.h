/// What a host hands to ConfigManager::Init. Owned by the host, which keeps it and the
/// configuration objects that it refers to alive until Init returns; Init edits those objects.
#pragma once

#include <functional>
#include <map>

#include "corebeacon/control_info.h"
#include "corebeacon/perf_types.h"
#include "corebeacon/qos_config.h"

namespace corebeacon {

using PerfQosConfigMap = std::map<PerfQosId, std::reference_wrapper<PerfQosConfig>>;

struct PerfDefaultConfig {
    PerfWorkMode workMode = PERF_WORK_MODE_0;  ///< in force until a caller asks for another
    /// Only one of the two tables may hold entries: the compiled-in one (GetPerfQosConfigMap) or
    /// one of loaded descriptions.
    PerfQosConfigMap qosConfigMap;
    PerfQosConfigMap qosXmlConfigMap;
    PerfConfigControlInfo controlInfo;
};

}  // namespace corebeacon
