/// A machine with at least one QoS of every kind, small enough that an engine starts on it in no
/// time: the nodes, which hold their base values from the beginning, and the table that names them.
/// Owned by one run of a target.
#pragma once

#include <cstddef>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "corebeacon/configurable_event.h"
#include "corebeacon/configurable_scenario.h"
#include "corebeacon/default_config.h"
#include "sim/simulated_device.h"

namespace corebeacon::fuzz {

/// Adds all the nodes.
void AddNodes(sim::SimulatedDevice& device);

/// Directories of which a part may go away and come back, and single nodes for faults.
const std::vector<std::string>& PolicyDirectories();
const std::vector<std::string>& FaultyNodes();

class SmallTable {
public:
    static constexpr std::size_t kQosCount = 15;

    /// Bit i of `chosen` stands for the QoS i.
    explicit SmallTable(unsigned int chosen);

    /// Refers to this object.
    PerfQosConfigMap Map() const;
    /// Those in the map; never empty.
    std::vector<PerfQosConfig*> All() const;
    static const std::vector<PerfQosId>& Ids();

private:
    std::map<PerfQosId, std::unique_ptr<PerfQosConfig>> mQos;
};

/// The values of nodes that must be what they were when nothing is asked for any more.
std::map<std::string, std::string> NodesWithBase(const sim::SimulatedDevice& device);

std::vector<ConfigurableScenario> SmallScenarios();
std::vector<ConfigurableEvent> SmallEvents();
ProbeEvent SmallProbe();

}  // namespace corebeacon::fuzz
