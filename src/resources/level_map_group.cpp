#include "resources/level_map_group.h"

#include "platform/logging.h"
#include "platform/sys_wrapper.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_LEVEL_MAP_GROUP";

/// The group whose nodes a device may lack in part: a missing one is passed over without an error.
constexpr const char* kGroupWithOptionalNodes = "REMAINDER";

}  // namespace

LevelMapGroup::LevelMapGroup(const PerfGroupConfig& config, PerfWorkMode mode)
    : PerfGroup(config, mode), mLevelToValues(config.level2ValueMap) {
    for (const std::string& path : config.sysNodePaths) {
        mPathInfoVec.push_back({.path = path, .record = {}});
    }
}

LevelMapGroup::~LevelMapGroup() {
    LevelMapGroup::CloseAllFds();
}

bool LevelMapGroup::GroupParametersValidate(const PerfGroupConfig& config) {
    const char* const name = config.name.c_str();
    if (config.level2ValueMap.empty()) {
        LOGE("[%s:%d] [%s] level2value mapping is empty", name);
        return false;
    }
    for (const auto& [level, values] : config.level2ValueMap) {
        if (values.size() != config.sysNodePaths.size()) {
            LOGE("[%s:%d] [%s] invalid group value size %zu, not equal to paths size %zu", name,
                 values.size(), config.sysNodePaths.size());
            return false;
        }
    }
    if (!PerfGroup::GroupParametersValidate(config)) {
        LOGE("[%s:%d] [%s] GroupParametersValidate failed!", name);
        return false;
    }
    return true;
}

int LevelMapGroup::OperationValueValidate(int& value) const {
    if (PerfGroup::OperationValueValidate(value) != 0) {
        LOGE("[%s:%d] [%s] OperationValueValidate failed!", mName.c_str());
        return -1;
    }
    if (FindValues(value) == nullptr) {
        LOGE("[%s:%d] [%s] cmd value can't be found in levelMapping: %d", mName.c_str(), value);
        return -1;
    }
    return 0;
}

int LevelMapGroup::DoConfig(int boost, int /*limit*/) {
    const std::vector<std::string>* const values = FindValues(boost);
    if (values == nullptr) {
        LOGE("[%s:%d] [%s] invalid level: %d", mName.c_str(), boost);
        return -1;
    }
    if (values->size() != mPathInfoVec.size()) {
        LOGE("[%s:%d] [%s] multiValueVec size: %zu is not equal to mPathInfoVec: %zu",
             mName.c_str(), values->size(), mPathInfoVec.size());
        return -1;
    }
    for (std::size_t i = 0; i < mPathInfoVec.size(); ++i) {
        auto& [path, fd, record] = mPathInfoVec[i];
        const std::string& value = (*values)[i];
        if (mName == kGroupWithOptionalNodes && fd < 0) {
            fd = SysWrapper::SysOpenWithWrOnly(path);
            if (fd < 0) {
                record.Note(fd, value.c_str());
                LOGD("[%s:%d] [%s] open file [%s] failed", mName.c_str(), path.c_str());
                continue;
            }
        }
        LOGI("[%s:%d] ############ [%s] final write %d: %s\n", mName.c_str(), boost, value.c_str());
        record.Note(SysWrapper::SysOpenAndWriteStr(mName, path, value, fd), value.c_str());
    }
    return 0;
}

void LevelMapGroup::DumpBaseValueAfterMapping(std::vector<SpecifiedGroupDumpInfo>& info) const {
    const int level = GetBoostBaseValue();
    const std::vector<std::string>* const values = FindValues(level);
    if (values == nullptr) {
        LOGE("[%s:%d] [%s] invalid level: %u", mName.c_str(), static_cast<unsigned int>(level));
        return;
    }
    for (std::size_t i = 0; i < mPathInfoVec.size() && i < values->size(); ++i) {
        info.push_back({.boostValue = (*values)[i],
                        .limitValue = "",
                        .boostNode = mPathInfoVec[i].path,
                        .limitNode = ""});
    }
}

void LevelMapGroup::DescribeKind(GroupState& state) const {
    state.kind = GroupKind::LEVEL_MAP;
    DescribeNodes(state);
}

void LevelMapGroup::DescribeNodes(GroupState& state) const {
    for (const PathInfo& node : mPathInfoVec) {
        node.record.Describe(node.path, state);
    }
}

void LevelMapGroup::CloseAllFds() {
    for (PathInfo& node : mPathInfoVec) {
        SysWrapper::SysClose(node.fd);
    }
}

const std::vector<std::string>* LevelMapGroup::FindValues(int level) const {
    const auto found = mLevelToValues.find(level);
    return found == mLevelToValues.end() ? nullptr : &found->second;
}

}  // namespace corebeacon
