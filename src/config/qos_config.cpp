#include "corebeacon/qos_config.h"

#include <algorithm>
#include <utility>

#include "config/qos_revision.h"
#include "platform/logging.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_CONFIG";

/// The group of a target-ratio QoS that switches the monitor.
constexpr unsigned int kMonitorEnableGroupId = 1;

bool NamesInvalidCluster(const std::string& path, const std::vector<std::string>& clusters) {
    return std::any_of(clusters.begin(), clusters.end(), [&path](const std::string& cluster) {
        return !cluster.empty() && path.find(cluster) != std::string::npos;
    });
}

}  // namespace

void EraseRowsOfOtherChips(std::vector<PerfGroupConfig>& groups, ChipTypeAvailableValue chipType) {
    std::erase_if(groups, [chipType](const PerfGroupConfig& row) {
        return row.chipType != CHIP_TYPE_COMMON && row.chipType != chipType;
    });
}

void EraseCommonRows(std::vector<PerfGroupConfig>& groups) {
    std::erase_if(groups,
                  [](const PerfGroupConfig& row) { return row.chipType == CHIP_TYPE_COMMON; });
}

void SetRangesFromLevels(std::vector<PerfGroupConfig>& groups) {
    for (PerfGroupConfig& row : groups) {
        row.SetRangeFromLevels();
    }
}

bool HasRowCount(const PerfQosConfig& qos, std::size_t count) {
    if (qos.groups.size() != count) {
        LOGE("[%s:%d] [%s] invalid group num: %zu", qos.name.c_str(), qos.groups.size());
        return false;
    }
    return true;
}

PerfQosConfig::PerfQosConfig(std::string qosName, std::vector<PerfGroupConfig> rows)
    : name(std::move(qosName)), groups(std::move(rows)) {}

PerfQosConfig::~PerfQosConfig() = default;
PerfQosConfig::PerfQosConfig(const PerfQosConfig&) = default;
PerfQosConfig& PerfQosConfig::operator=(const PerfQosConfig&) = default;

int PerfQosConfig::ReviseGroupConfigValue(unsigned int /*chipType*/) {
    SetRangesFromLevels(groups);
    return 0;
}

int PerfQosConfig::GetGroupConfigByChipType(unsigned int /*qosId*/,
                                            const PerfConfigControlInfo& controlInfo) {
    if (groups.size() == 1) {
        return 0;
    }
    EraseRowsOfOtherChips(groups, controlInfo.chipType);
    if (groups.size() != 1) {
        EraseCommonRows(groups);
    }
    return 0;
}

bool PerfQosConfig::IsQosConfigValidByInvalidCluster(unsigned int /*qosId*/,
                                                     std::vector<std::string>& invalidClusters) {
    for (auto row = groups.begin(); row != groups.end();) {
        unsigned short index = 0;
        RemoveInvalidClusterConfig(invalidClusters, row->sysNodePaths, row->level2ValueMap, index);
        row = row->sysNodePaths.empty() ? groups.erase(row) : std::next(row);
    }
    return groups.empty();
}

void PerfQosConfig::RemoveInvalidClusterConfig(const std::vector<std::string>& invalidClusters,
                                               std::vector<std::string>& sysNodePaths,
                                               Level2ValueMap& level2ValueMap,
                                               unsigned short& index) {
    for (auto path = sysNodePaths.begin(); path != sysNodePaths.end();) {
        if (NamesInvalidCluster(*path, invalidClusters)) {
            path = sysNodePaths.erase(path);
            RemoveValueFromLevel2ValueMap(index, level2ValueMap);
        } else {
            ++path;
            ++index;
        }
    }
}

void PerfQosConfig::RemoveValueFromLevel2ValueMap(unsigned short index,
                                                  Level2ValueMap& level2ValueMap) {
    for (auto& [level, values] : level2ValueMap) {
        if (values.size() <= index) {
            LOGW("[%s:%d] [%s] count : %u is invalid, can not remove value!", name.c_str(),
                 static_cast<unsigned int>(index));
            return;
        }
        values.erase(values.begin() + index);
    }
}

PerfQosIpaPowerConfig::PerfQosIpaPowerConfig(std::string qosName, std::vector<PerfGroupConfig> rows,
                                             IpaPowerParameters ipaPowerParameters)
    : PerfQosConfig(std::move(qosName), std::move(rows)), IpaPowerParameters(ipaPowerParameters) {}

int PerfQosIpaPowerConfig::ReviseGroupConfigValue(unsigned int /*chipType*/) {
    return HasRowCount(*this, 1) ? 0 : -1;
}

int PerfQosTargetRatioConfig::GetGroupConfigByChipType(unsigned int /*qosId*/,
                                                       const PerfConfigControlInfo& controlInfo) {
    constexpr std::size_t kRows = 2;
    if (groups.size() == kRows) {
        return 0;
    }
    EraseRowsOfOtherChips(groups, controlInfo.chipType);
    if (groups.size() != kRows) {
        std::erase_if(groups, [](const PerfGroupConfig& row) {
            return row.chipType == CHIP_TYPE_COMMON && row.groupId != kMonitorEnableGroupId;
        });
    }
    return 0;
}

}  // namespace corebeacon
