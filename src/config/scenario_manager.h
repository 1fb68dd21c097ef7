/// The scenarios that can be asked for, by id. Owned by the front. Init and Update run on the
/// thread that sets the engine up; afterwards the table is only read, by any number of threads.
#pragma once

#include <map>
#include <sstream>
#include <vector>

#include "config/group_values.h"
#include "corebeacon/configurable_scenario.h"
#include "corebeacon/perf_types.h"

namespace corebeacon {

/// Scenario to QoS to the values that the scenario asks of it.
using ScenarioTable = std::map<PerfScenarioId, std::map<PerfQosId, GroupValueMap>>;

class ScenarioManager {
public:
    /// The table that `scenarios` describe. Empty, with a line at error level, when a scenario id,
    /// a group id or an operation occurs twice or when a request asks for nothing. A QoS named
    /// twice in one scenario gets the later request.
    ScenarioTable Init(const std::vector<ConfigurableScenario>& scenarios) const;

    /// The values of one request; empty on failure.
    GroupValueMap LoadGroupInfo(const std::vector<GroupInfo>& groupInfos) const;

    /// Puts `table` in force.
    void Update(ScenarioTable table);

    /// What the scenario asks for; empty for an unknown id. Valid until the next Update.
    const std::map<PerfQosId, GroupValueMap>& ScenarioIdToQosInfo(PerfScenarioId scenarioId) const;

    /// Writes the table in force as text: scenario, QoS, group, then <operation, value> pairs.
    void Dump(std::ostringstream& out) const;

private:
    // fixed after Update
    ScenarioTable mTable;
};

}  // namespace corebeacon
