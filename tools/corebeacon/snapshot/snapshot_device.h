/// Makes a simulated device of a snapshot. A free function without state.
#pragma once

#include <memory>

#include "sim/simulated_device.h"
#include "snapshot/device_snapshot.h"

namespace corebeacon::tool {

/// Every node that the snapshot has, holding what it held; nothing else exists. The frequency
/// bounds of a cpufreq policy or a devfreq device round and limit each other as they do in the
/// kernel, a binary node sums up what its descriptors ask for, and anything else holds what is
/// written to it. A node whose read failed keeps failing in the same way.
std::unique_ptr<sim::SimulatedDevice> SimulateSnapshot(const DeviceSnapshot& snapshot);

}  // namespace corebeacon::tool
