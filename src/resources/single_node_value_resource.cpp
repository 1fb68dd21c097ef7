#include "resources/single_node_value_resource.h"

#include <memory>

#include "platform/logging.h"
#include "resources/single_node_value_group.h"

namespace corebeacon {

namespace {
constexpr const char* LOG_TAG = "PF_SINGLE_NODE_VALUE_RES";
}  // namespace

SingleNodeValueResource::SingleNodeValueResource(const ResConstructParam& param)
    : PerfResource(param) {}

SingleNodeValueResource::~SingleNodeValueResource() {
    StopThread();
}

int SingleNodeValueResource::InitGroups(const PerfQosConfig& config, bool /*isLoaded*/) {
    for (const PerfGroupConfig& row : config.groups) {
        if (!SingleNodeValueGroup::GroupParametersValidate(row)) {
            LOGE("[%s:%d] [%s] GroupParametersValidate fail! ", mName.c_str());
            return -1;
        }
        mGroups.push_back(std::make_shared<SingleNodeValueGroup>(row, mWorkMode));
    }
    return 0;
}

}  // namespace corebeacon
