/// How the front asks a resource about one QoS's values, alike for requests, scenarios and events.
/// A free function without state; called on callers' threads.
#pragma once

#include "command/command_wrapper.h"
#include "corebeacon/perf_types.h"
#include "engine/resource_manager.h"

namespace corebeacon {

enum class Verdict {
    ACCEPTED,
    ABSENT,   ///< this device has no such resource: the entry is dropped, which is no failure
    REFUSED,  ///< the resource does not take these values
};

/// The resource may clamp the values in `groups` in place.
Verdict ValidateEntry(const ResourceManager& resources, PerfCommandType type, PerfQosId qosId,
                      GroupValueMap& groups);

}  // namespace corebeacon
