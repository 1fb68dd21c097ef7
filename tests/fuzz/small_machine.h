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

/// Adds the nodes of these QoS and the one of the probe.
void AddNodes(sim::SimulatedDevice& device, const std::vector<PerfQosId>& ids);

/// On any machine: directories of which a part may go away and come back, and single nodes for
/// faults.
const std::vector<std::string>& PolicyDirectories();
const std::vector<std::string>& FaultyNodes();

class SmallTable {
public:
    static constexpr std::size_t kQosCount = 15;

    explicit SmallTable(const std::vector<PerfQosId>& ids);

    /// Refers to this object.
    PerfQosConfigMap Map() const;
    std::vector<PerfQosConfig*> All() const;
    /// Every QoS that such a machine may have.
    static const std::vector<PerfQosId>& AllIds();

private:
    std::map<PerfQosId, std::unique_ptr<PerfQosConfig>> mQos;
};

/// What the nodes of a QoS hold from the beginning, and must hold when nothing is asked for any
/// more: path to value.
const std::map<std::string, std::string>& BaseValues(PerfQosId id);

const std::vector<ConfigurableScenario>& SmallScenarios();
const std::vector<ConfigurableEvent>& SmallEvents();
ProbeEvent SmallProbe();

}  // namespace corebeacon::fuzz
