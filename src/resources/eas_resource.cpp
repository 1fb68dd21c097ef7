#include "resources/eas_resource.h"

#include <algorithm>
#include <memory>

#include "platform/logging.h"
#include "resources/level_map_group.h"
#include "resources/single_node_value_group.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_EAS_RES";

constexpr std::uint32_t kMaxGroupCount = 9;
constexpr std::uint32_t kSwitchOff = 0;
constexpr std::uint32_t kSwitchOn = 1;

}  // namespace

EasResource::EasResource(const ResConstructParam& param)
    : PerfResource(param), mGlobalBoostGroupId(kMaxGroupCount) {}

EasResource::~EasResource() {
    StopThread();
}

int EasResource::InitGroups(const PerfQosConfig& config, bool isLoaded) {
    if (config.groups.size() > kMaxGroupCount) {
        LOGE("[%s:%d] [%s] invalid group num %zu", mName.c_str(), config.groups.size());
        return -1;
    }
    for (const PerfGroupConfig& row : config.groups) {
        if (!LevelMapGroup::GroupParametersValidate(row)) {
            LOGE("[%s:%d] [%s] GroupParametersValidate failed!", mName.c_str());
            return -1;
        }
        mGroups.push_back(std::make_shared<LevelMapGroup>(row, mWorkMode));
    }
    const auto* const parameters = dynamic_cast<const EasParameters*>(&config);
    if (parameters == nullptr) {
        LOGE("[%s:%d] [%s] no EAS parameters in the configuration", mName.c_str());
        return -1;
    }
    const EasGlobalBoost& globalBoost = parameters->globalBoost.Of(isLoaded);
    mLevelToGlobalBoost = globalBoost.levelToGlobalBoost;
    const PerfGroupConfig row = BuildGlobalBoostRow(config.groups, globalBoost.nodePath);
    if (!SingleNodeValueGroup::GroupParametersValidate(row)) {
        LOGE("[%s:%d] [%s] GroupParametersValidate failed!", mName.c_str());
        return -1;
    }
    mGroups.push_back(std::make_shared<SingleNodeValueGroup>(row, mWorkMode));
    return 0;
}

/// The switch as a group of its own. Standing levels that the table does not know are entered in
/// it as going without the switch, so that a limit to one of them switches it off.
PerfGroupConfig EasResource::BuildGlobalBoostRow(const std::vector<PerfGroupConfig>& rows,
                                                 const std::string& nodePath) {
    std::uint32_t standing = kSwitchOff;
    for (const PerfGroupConfig& row : rows) {
        const std::uint32_t needed =
            mLevelToGlobalBoost.try_emplace(row.baseMin, kSwitchOff).first->second;
        standing = needed == kSwitchOn ? kSwitchOn : standing;
    }
    mGlobalBoostGroupId = static_cast<std::uint32_t>(rows.size());
    return PerfGroupConfig(mGlobalBoostGroupId, mGlobalBoostGroupName, static_cast<int>(kSwitchOff),
                           static_cast<int>(kSwitchOn), static_cast<int>(standing),
                           static_cast<int>(kSwitchOn), {nodePath}, CHIP_TYPE_COMMON);
}

int EasResource::RequestValidate(PerfCommandType type, GroupValueMap& groups) {
    if (groups.size() > kMaxGroupCount) {
        LOGE("[%s:%d] [%s] invalid group num: %zu", mName.c_str(), groups.size());
        return -1;
    }
    if (!groups.empty() && groups.back().first >= kMaxGroupCount) {
        LOGE("[%s:%d] [%s] invalid group id: %u", mName.c_str(), groups.back().first);
        return -1;
    }
    if (GroupValidate(type, groups) != 0) {
        LOGE("[%s:%d] [%s] GroupValidate failed", mName.c_str());
        return -1;
    }
    OperationValueMap globalBoost = BuildGlobalBoostCommand(groups);
    if (globalBoost.empty()) {
        LOGE("[%s:%d] [%s] BuildGlobalBoostCommand failed", mName.c_str());
        return -1;
    }
    groups[mGlobalBoostGroupId] = std::move(globalBoost);
    return 0;
}

int EasResource::GetEasCommandLevel(const GroupValueMap& groups, std::vector<int>& boostLevels,
                                    std::vector<int>& limitLevels) const {
    for (const auto& [groupId, values] : groups) {
        for (const auto& [operation, level] : values) {
            if (operation > PERF_OPERATION_LIMIT) {
                LOGE("[%s:%d] [%s] invalid operation type: %u", mName.c_str(), operation);
                return -1;
            }
            (operation == PERF_OPERATION_BOOST ? boostLevels : limitLevels).push_back(level);
        }
    }
    return 0;
}

OperationValueMap EasResource::BuildGlobalBoostCommand(const GroupValueMap& groups) const {
    std::vector<int> boostLevels;
    std::vector<int> limitLevels;
    if (GetEasCommandLevel(groups, boostLevels, limitLevels) != 0) {
        LOGE("[%s:%d] [%s] GetEasCommandLevel failed", mName.c_str());
        return {};
    }
    const auto isAnyKnownAs = [this](const std::vector<int>& levels, std::uint32_t globalBoost) {
        return std::any_of(levels.begin(), levels.end(), [this, globalBoost](int level) {
            const auto known = mLevelToGlobalBoost.find(level);
            return known != mLevelToGlobalBoost.end() && known->second == globalBoost;
        });
    };
    const std::uint32_t boost = isAnyKnownAs(boostLevels, kSwitchOn) ? kSwitchOn : kSwitchOff;
    const std::uint32_t limit = isAnyKnownAs(limitLevels, kSwitchOff) ? kSwitchOff : kSwitchOn;
    OperationValueMap command;
    if (!boostLevels.empty()) {
        command[PERF_OPERATION_BOOST] = static_cast<int>(boost);
    }
    if (!limitLevels.empty()) {
        command[PERF_OPERATION_LIMIT] = static_cast<int>(limit);
    }
    if (command.size() == 2 && boost > limit) {
        LOGE("[%s:%d] [%s] boostValue(%u) larger than limitValue(%u)", mName.c_str(), boost, limit);
        return {};
    }
    return command;
}

}  // namespace corebeacon
