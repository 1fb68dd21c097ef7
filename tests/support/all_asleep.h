/// When nothing is under way in an engine, for tests that move its clock: a worker that has
/// answered may not sleep yet, and one that does not would answer the next question, too, before it
/// saw to what the clock has brought about.
#pragma once

#include <vector>

#include "corebeacon/config_manager.h"
#include "engine/resource_manager.h"
#include "support/manual_clock.h"

namespace corebeacon::test {

/// Whether the worker of every resource of a started engine sleeps, and its thread binder. To be
/// awaited once everything asked of them has been answered.
inline bool AllAsleep(const ConfigManager& front, const ManualClock& clock) {
    std::vector<PerfQosId> ids;
    front.Resources().GetResourceIds(ids);
    return clock.SleeperCount() == ids.size() + 1;
}

}  // namespace corebeacon::test
