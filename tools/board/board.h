/// A board as a description tells it: all that an engine is set up with, owned in one place. Made
/// by the reader or from the built-in tables, changed by nobody but the engine that is set up from
/// it, which narrows its rows. Used on one thread, by the program that owns it.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "corebeacon/configurable_event.h"
#include "corebeacon/configurable_scenario.h"
#include "corebeacon/default_config.h"
#include "corebeacon/perf_types.h"
#include "corebeacon/qos_config.h"

namespace corebeacon::board {

/// The kinds of a loaded description.
inline constexpr const char* kTypeFreq = "freq";
inline constexpr const char* kTypeEas = "eas";
inline constexpr const char* kTypeMemLat = "memlat";
inline constexpr const char* kTypePlain = "plain";

/// The facts about the machine; what is absent is left to whoever finds them out.
struct Machine {
    std::optional<unsigned> chip;
    std::optional<bool> cpuBoost;  ///< as PerfConfigControlInfo has them
    std::optional<bool> boardIpa;
    std::vector<std::string> absent;  ///< PerfConfigControlInfo::invalidClusters
};

struct Board {
    std::string name;
    Machine machine;
    std::map<PerfQosId, PerfQosXmlLoadConfig> qos;
    std::vector<ConfigurableScenario> scenarios;
    std::vector<ConfigurableEvent> events;
    ProbeEvent probe;

    /// For PerfDefaultConfig::qosXmlConfigMap. Refers to `qos`.
    PerfQosConfigMap QosMap();
};

/// The same QoS as a loaded description; of parameters given twice it takes the compiled-in one.
PerfQosXmlLoadConfig AsLoaded(const PerfQosConfig& config);

/// The built-in tables of a chip variant, narrowed to it. Reads nodes as the tables do.
Board BuiltinBoard(unsigned chip);

}  // namespace corebeacon::board
