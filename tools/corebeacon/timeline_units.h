/// What the values of a group are, for those who draw them. Free functions without state.
#pragma once

#include <string>

#include "corebeacon/perf_types.h"
#include "corebeacon/qos_config.h"

namespace corebeacon::tool {

/// kHz, Hz, mW or m°C; "" where a value is a level or a plain number.
std::string TimelineUnit(PerfQosId qosId, const PerfQosConfig& config, const PerfGroupConfig& row);

}  // namespace corebeacon::tool
