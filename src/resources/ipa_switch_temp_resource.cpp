#include "resources/ipa_switch_temp_resource.h"

#include <memory>

#include "platform/logging.h"
#include "resources/ipa_switch_temp_group.h"

namespace corebeacon {

namespace {
constexpr const char* LOG_TAG = "PF_IPA_SWITCH_TEMP_RES";
}  // namespace

IpaSwitchTempResource::IpaSwitchTempResource(const ResConstructParam& param, bool switchEnabled)
    : PerfResource(param), mSwitchEnabled(switchEnabled) {}

IpaSwitchTempResource::~IpaSwitchTempResource() {
    StopThread();
}

int IpaSwitchTempResource::InitGroups(const PerfQosConfig& config, bool /*isLoaded*/) {
    for (const PerfGroupConfig& row : config.groups) {
        if (!SingleNodeValueGroup::GroupParametersValidate(row)) {
            LOGE("[%s:%d] [%s] GroupParametersValidate failed!", mName.c_str());
            return -1;
        }
        mGroups.push_back(std::make_shared<IpaSwitchTempGroup>(row, mWorkMode, mSwitchEnabled));
    }
    return 0;
}

}  // namespace corebeacon
