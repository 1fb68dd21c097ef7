/// The configuration compiled into the library: what a host passes on to ConfigManager::Init, after
/// telling the chip variant. Any thread may call these functions. They throw std::bad_alloc when
/// memory is lacking, and may then be called again.
#pragma once

#include <array>
#include <vector>

#include "corebeacon/configurable_event.h"
#include "corebeacon/configurable_scenario.h"
#include "corebeacon/control_info.h"
#include "corebeacon/default_config.h"
#include "corebeacon/export.h"
#include "corebeacon/group_config.h"
#include "corebeacon/perf_types.h"

namespace corebeacon {

/// Where the facts about the machine are found.
COREBEACON_API const ControlInfoConfig& GetcontrolInfo();

/// The QoS table, with the rows of every chip. Each call first restores the rows as built, since
/// ConfigManager::Init narrows them in place, and then amends them for the machine, whose nodes it
/// reads. The objects referred to live as long as the process; set up one engine at a time.
COREBEACON_API PerfQosConfigMap GetPerfQosConfigMap();

/// The scenarios and events of a chip: CHIP_TYPE_VARIANT_2 has its own, all others share the common
/// ones.
COREBEACON_API std::vector<ConfigurableScenario> GetConfigurableScenarioVec(
    ChipTypeAvailableValue chipType);
COREBEACON_API std::vector<ConfigurableEvent> GetConfigurableEventVec(
    ChipTypeAvailableValue chipType);

/// The name of a QoS, "CPU_L" for instance; null for an id without a name.
COREBEACON_API const char* PerfQosName(PerfQosId qosId);

/// The most groups that PERF_QOS_EAS may have.
inline constexpr unsigned int kPerfEasGroupCount = 9;
/// The task group behind a group of PERF_QOS_EAS, "TOP_APP" for instance; null from
/// kPerfEasGroupCount on.
COREBEACON_API const char* PerfEasGroupName(unsigned int groupId);

/// Names kept for QoS that a host may describe by itself; the built-in table has none of them.
inline constexpr std::array<const char*, 4> kPerfHostQosNames = {
    "IO_SPEED", "POLLING_INTERVAL_CPU_L", "GPU_SCENE_VFREQ", "CORE_CTL_CLUSTER2"};

}  // namespace corebeacon
