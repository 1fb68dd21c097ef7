#include <utility>

#include "config/qos_revision.h"
#include "corebeacon/qos_config.h"
#include "platform/logging.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_CONFIG";

bool IsValidEasValue(const PerfQosConfig& qos, const EasParameters& parameters,
                     const EasValue& value) {
    if (value.boost < parameters.minBoost || value.boost > parameters.maxBoost) {
        LOGE("[%s:%d] [%s] EAS schedtune.boost value : %d is out of bound!", qos.name.c_str(),
             value.boost);
        return false;
    }
    if (value.globalBoost > 1) {
        LOGE("[%s:%d] [%s] EAS global boost value : %u is out of bound!", qos.name.c_str(),
             value.globalBoost);
        return false;
    }
    return true;
}

/// Only levels that a table already holds: a missing level means "does not matter" to a limit.
void UpdateGlobalBoost(EasGlobalBoost& table, int level, std::uint32_t globalBoost) {
    const auto entry = table.levelToGlobalBoost.find(level);
    if (entry != table.levelToGlobalBoost.end()) {
        entry->second = globalBoost;
    }
}

}  // namespace

int ReviseEasRows(PerfQosConfig& qos, EasParameters& parameters) {
    if (parameters.levelToValueMap.empty()) {
        LOGE("[%s:%d] [%s] EAS levelToValueMap is empty!", qos.name.c_str());
        return -1;
    }
    Level2ValueMap levels;
    for (const auto& [level, value] : parameters.levelToValueMap) {
        if (!IsValidEasValue(qos, parameters, value)) {
            return -1;
        }
        levels[level] = {std::to_string(value.boost)};
        UpdateGlobalBoost(parameters.globalBoost.compiledIn, level, value.globalBoost);
        UpdateGlobalBoost(parameters.globalBoost.loaded, level, value.globalBoost);
    }
    for (PerfGroupConfig& row : qos.groups) {
        row.level2ValueMap = levels;
    }
    SetRangesFromLevels(qos.groups);
    return 0;
}

PerfQosEasConfig::PerfQosEasConfig(std::string qosName, std::vector<PerfGroupConfig> rows,
                                   EasParameters easParameters)
    : PerfQosConfig(std::move(qosName), std::move(rows)), EasParameters(std::move(easParameters)) {}

int PerfQosEasConfig::ReviseGroupConfigValue(unsigned int /*chipType*/) {
    return ReviseEasRows(*this, *this);
}

int PerfQosEasConfig::GetGroupConfigByChipType(unsigned int /*qosId*/,
                                               const PerfConfigControlInfo& /*controlInfo*/) {
    return 0;
}

}  // namespace corebeacon
