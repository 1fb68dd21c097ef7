#include "corebeacon/group_config.h"

#include <utility>

namespace corebeacon {

PerfGroupConfig::PerfGroupConfig(std::string groupName, bool clampFlag, int lowest, int highest,
                                 int baseLow, int baseHigh, std::vector<std::string> nodes,
                                 ChipTypeAvailableValue chip)
    : name(std::move(groupName)),
      rangeFlag(clampFlag),
      availableMin(lowest),
      availableMax(highest),
      baseMin(baseLow),
      baseMax(baseHigh),
      sysNodePaths(std::move(nodes)),
      chipType(chip) {}

PerfGroupConfig::PerfGroupConfig(std::string groupName, bool clampFlag, int lowest, int baseLow,
                                 std::vector<std::string> nodes, ChipTypeAvailableValue chip)
    : name(std::move(groupName)),
      rangeFlag(clampFlag),
      availableMin(lowest),
      baseMin(baseLow),
      sysNodePaths(std::move(nodes)),
      chipType(chip) {}

PerfGroupConfig::PerfGroupConfig(unsigned int id, std::string groupName, int baseLow,
                                 std::vector<std::string> nodes, ChipTypeAvailableValue chip)
    : name(std::move(groupName)),
      groupId(id),
      baseMin(baseLow),
      sysNodePaths(std::move(nodes)),
      chipType(chip) {}

PerfGroupConfig::PerfGroupConfig(unsigned int id, std::string groupName, int lowest, int highest,
                                 int baseLow, int baseHigh, const std::vector<std::string>& nodes,
                                 ChipTypeAvailableValue chip)
    : name(std::move(groupName)),
      groupId(id),
      availableMin(lowest),
      availableMax(highest),
      baseMin(baseLow),
      baseMax(baseHigh),
      sysNodePaths(nodes),
      chipType(chip) {}

PerfGroupConfig::PerfGroupConfig(std::string groupName, int baseLow,
                                 const std::vector<std::string>& nodes,
                                 const Level2ValueMap& levels, ChipTypeAvailableValue chip)
    : PerfGroupConfig(0U, std::move(groupName), baseLow, nodes, levels, chip) {}

PerfGroupConfig::PerfGroupConfig(unsigned int id, std::string groupName, int baseLow,
                                 const std::vector<std::string>& nodes,
                                 const Level2ValueMap& levels, ChipTypeAvailableValue chip)
    : name(std::move(groupName)),
      groupId(id),
      baseMin(baseLow),
      sysNodePaths(nodes),
      level2ValueMap(levels),
      chipType(chip) {
    SetRangeFromLevels();
}

PerfGroupConfig::~PerfGroupConfig() = default;
PerfGroupConfig::PerfGroupConfig(const PerfGroupConfig&) = default;
PerfGroupConfig::PerfGroupConfig(PerfGroupConfig&&) noexcept = default;
PerfGroupConfig& PerfGroupConfig::operator=(const PerfGroupConfig&) = default;
PerfGroupConfig& PerfGroupConfig::operator=(PerfGroupConfig&&) noexcept = default;

void PerfGroupConfig::SetRangeFromLevels() {
    if (level2ValueMap.empty()) {
        return;
    }
    availableMin = level2ValueMap.begin()->first;
    availableMax = level2ValueMap.rbegin()->first;
    baseMax = availableMax;
}

}  // namespace corebeacon
