#include "resources/ioctl_level_map_resource.h"

#include <memory>

#include "platform/logging.h"
#include "resources/ioctl_level_map_group.h"

namespace corebeacon {

namespace {
constexpr const char* LOG_TAG = "PF_LEVEL_MAP_RES";
}  // namespace

IoctlLevelMapResource::IoctlLevelMapResource(const ResConstructParam& param)
    : PerfResource(param) {}

IoctlLevelMapResource::~IoctlLevelMapResource() {
    StopThread();
}

int IoctlLevelMapResource::InitGroups(const PerfQosConfig& config, bool /*isLoaded*/) {
    for (const PerfGroupConfig& row : config.groups) {
        if (!LevelMapGroup::GroupParametersValidate(row)) {
            LOGE("[%s:%d] [%s] GroupParametersValidate fail! ", mName.c_str());
            return -1;
        }
        mGroups.push_back(std::make_shared<IoctlLevelMapGroup>(row, mWorkMode));
    }
    return 0;
}

}  // namespace corebeacon
