#include "sim/eas_example.h"

#include <vector>

namespace corebeacon::sim {

namespace {

/// What schedtune.boost takes.
constexpr int kLowestBoostPercent = -100;
constexpr int kHighestBoostPercent = 100;

enum class GlobalBoost {
    WITHOUT,      ///< switched off by a limit to this level
    INDIFFERENT,  ///< not needed, and left alone by a limit to this level
    NEEDED,       ///< switched on by a boost to this level
};

struct EasLevel {
    int level;
    int boostPercent;
    GlobalBoost globalBoost;
};

constexpr EasLevel kLevels[] = {
    {.level = -10, .boostPercent = -10, .globalBoost = GlobalBoost::WITHOUT},
    {.level = kEasDefaultLevel, .boostPercent = 0, .globalBoost = GlobalBoost::WITHOUT},
    {.level = 10, .boostPercent = 10, .globalBoost = GlobalBoost::WITHOUT},
    {.level = 20, .boostPercent = 20, .globalBoost = GlobalBoost::INDIFFERENT},
    {.level = 30, .boostPercent = 35, .globalBoost = GlobalBoost::NEEDED},
    {.level = 40, .boostPercent = 60, .globalBoost = GlobalBoost::NEEDED},
};

EasParameters MakeParameters() {
    EasParameters parameters;
    parameters.minBoost = kLowestBoostPercent;
    parameters.maxBoost = kHighestBoostPercent;
    EasGlobalBoost globalBoost{.levelToGlobalBoost = {}, .nodePath = kEasGlobalBoostNode};
    for (const EasLevel& row : kLevels) {
        const std::uint32_t isNeeded = row.globalBoost == GlobalBoost::NEEDED ? 1 : 0;
        parameters.levelToValueMap[row.level] = {.boost = row.boostPercent,
                                                 .globalBoost = isNeeded};
        if (row.globalBoost != GlobalBoost::INDIFFERENT) {
            globalBoost.levelToGlobalBoost[row.level] = isNeeded;
        }
    }
    // One description serves both tables, so both origins get the same switch.
    parameters.globalBoost = {.compiledIn = globalBoost, .loaded = globalBoost};
    return parameters;
}

std::vector<PerfGroupConfig> MakeRows() {
    std::vector<PerfGroupConfig> rows;
    for (unsigned int groupId = 0; groupId < kEasTaskGroups.size(); ++groupId) {
        // The levels follow when the row is revised; one text each, so one node each.
        rows.emplace_back(groupId, kEasTaskGroups[groupId].name, kEasDefaultLevel,
                          std::vector<std::string>{EasBoostNode(groupId)}, CHIP_TYPE_COMMON);
    }
    return rows;
}

}  // namespace

std::string EasBoostNode(unsigned int groupId) {
    return std::string("/dev/stune") + kEasTaskGroups[groupId].directory + "/schedtune.boost";
}

void AddEasNodes(SimulatedDevice& device) {
    for (unsigned int groupId = 0; groupId < kEasTaskGroups.size(); ++groupId) {
        device.AddNumber(EasBoostNode(groupId), 0, kLowestBoostPercent, kHighestBoostPercent);
    }
    device.AddNumber(kEasGlobalBoostNode, 0, 0, 1);
}

PerfQosEasConfig MakeEasConfig() {
    return PerfQosEasConfig("EAS", MakeRows(), MakeParameters());
}

PerfQosXmlLoadConfig MakeLoadedEasConfig() {
    PerfQosXmlLoadConfig config("EAS", "eas", MakeRows());
    static_cast<EasParameters&>(config) = MakeParameters();
    return config;
}

}  // namespace corebeacon::sim
