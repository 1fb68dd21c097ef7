#include "corebeacon/control_info.h"

#include <utility>

#include "corebeacon/builtin_config.h"

namespace corebeacon {

ControlInfoConfig::ControlInfoConfig(std::string chipTypeNode, std::string thermalZoneTypeNode,
                                     std::string cpuBoostNode, int maxFreqThresholdValue,
                                     int reserved1Value, int reserved2Value,
                                     std::string cpuMaskText, int valueAValue,
                                     std::set<std::string> invalidClusterNames,
                                     std::vector<std::string> cpuTopologyNodes, int valueBValue)
    : chipTypePath(std::move(chipTypeNode)),
      thermalZoneTypePath(std::move(thermalZoneTypeNode)),
      cpuBoostPath(std::move(cpuBoostNode)),
      maxFreqThreshold(maxFreqThresholdValue),
      reserved1(reserved1Value),
      reserved2(reserved2Value),
      cpuMask(std::move(cpuMaskText)),
      valueA(valueAValue),
      invalidClusters(std::move(invalidClusterNames)),
      cpuTopologyPaths(std::move(cpuTopologyNodes)),
      valueB(valueBValue) {}

ControlInfoConfig::~ControlInfoConfig() = default;
ControlInfoConfig::ControlInfoConfig(const ControlInfoConfig&) = default;
ControlInfoConfig& ControlInfoConfig::operator=(const ControlInfoConfig&) = default;

const ControlInfoConfig& GetcontrolInfo() {
    static const ControlInfoConfig controlInfo(
        "/proc/device-tree/vexa,chiptype", "/sys/class/thermal/thermal_zone1/type",
        "/sys/devices/system/cpu/cpufreq/boost", 1892000, 0, 0, "3f0", 1500, {},
        {"/sys/devices/system/cpu/possible", "/sys/devices/system/cpu/cpu*/topology/core_siblings",
         "/sys/devices/system/cpu/cpu*/topology/physical_package_id"},
        1000);
    return controlInfo;
}

}  // namespace corebeacon
