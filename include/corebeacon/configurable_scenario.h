/// A scenario as a table describes it: a bundle of QoS values applied and withdrawn as a whole.
/// Plain values, copied by Init.
#pragma once

#include <vector>

#include "corebeacon/perf_types.h"

namespace corebeacon {

struct ConfigurableScenario {
    PerfScenarioId scenarioId = 0;
    std::vector<PerfRequestInfo> requests;  ///< at most one per QoS
};

}  // namespace corebeacon
