/// Where a host finds the facts about the machine, and the record in which it hands them over.
/// Plain values; the built-in ControlInfoConfig lives as long as the process and never changes.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "corebeacon/export.h"
#include "corebeacon/group_config.h"

namespace corebeacon {

/// Nodes and constants for the host's own detection of the machine. The engine opens none of the
/// paths and reads none of the numbers.
class COREBEACON_API ControlInfoConfig {
public:
    ControlInfoConfig(std::string chipTypeNode, std::string thermalZoneTypeNode,
                      std::string cpuBoostNode, int maxFreqThresholdValue, int reserved1Value,
                      int reserved2Value, std::string cpuMaskText, int valueAValue,
                      std::set<std::string> invalidClusterNames,
                      std::vector<std::string> cpuTopologyNodes, int valueBValue);
    virtual ~ControlInfoConfig();
    ControlInfoConfig(const ControlInfoConfig&);
    ControlInfoConfig& operator=(const ControlInfoConfig&);

    std::string chipTypePath;         ///< device-tree property that names the chip variant
    std::string thermalZoneTypePath;  ///< tells whether the board has a thermal zone of its own
    std::string cpuBoostPath;         ///< the cpufreq core's boost switch
    int maxFreqThreshold;             ///< kHz
    int reserved1;
    int reserved2;
    std::string cpuMask;  ///< hexadecimal CPU mask, as the kernel's cpumask nodes take it
    int valueA;
    std::set<std::string> invalidClusters;      ///< clusters known to be absent on every machine
    std::vector<std::string> cpuTopologyPaths;  ///< "*" stands for each CPU number
    int valueB;
};

/// The facts about the running machine, as the host found them.
struct PerfConfigControlInfo {
    ChipTypeAvailableValue chipType = CHIP_TYPE_COMMON;
    /// Parts of node paths, such as "policy2", that belong to clusters this machine lacks. Empty
    /// strings are skipped.
    std::vector<std::string> invalidClusters;
    bool cpuBoostEnabled = false;  ///< whether PERF_QOS_CPU_BOOST gets a resource
    bool boardIpaEnabled = false;  ///< whether the board has a thermal power allocator of its own
};

}  // namespace corebeacon
