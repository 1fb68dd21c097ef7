/// What a command asks of the groups of one QoS. Plain values without an owner.
#pragma once

#include "corebeacon/perf_types.h"
#include "platform/flat_map.h"

namespace corebeacon {

/// Validation lets no more through than a boost and a limit.
using OperationValueMap = FlatMap<PerfOperationType, int, 2>;
/// Group id (position of the group in its resource) to what is asked of that group.
class GroupValueMap : public FlatMap<unsigned int, OperationValueMap, 1> {
public:
    using FlatMap::FlatMap;
};

}  // namespace corebeacon
