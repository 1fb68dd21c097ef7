#include "resources/ipa_sustainable_power_resource.h"

#include <memory>

#include "platform/logging.h"
#include "resources/ipa_sustainable_power_group.h"

namespace corebeacon {

namespace {
constexpr const char* LOG_TAG = "PF_IPA_POWER_RES";
}  // namespace

IpaSustainablePowerResource::IpaSustainablePowerResource(const ResConstructParam& param,
                                                         bool withBoardSwitch)
    : PerfResource(param), mWithBoardSwitch(withBoardSwitch) {}

IpaSustainablePowerResource::~IpaSustainablePowerResource() {
    StopThread();
}

int IpaSustainablePowerResource::InitGroups(const PerfQosConfig& config, bool isLoaded) {
    const auto* const parameters = dynamic_cast<const IpaPowerParameters*>(&config);
    if (parameters == nullptr) {
        LOGE("[%s:%d] [%s] no IPA power parameters in the configuration", mName.c_str());
        return -1;
    }
    const IpaThresholds& thresholds = parameters->thresholds.Of(isLoaded);
    for (const PerfGroupConfig& row : config.groups) {
        if (!IpaSustainablePowerGroup::GroupParametersValidate(row)) {
            LOGE("[%s:%d] [%s] GroupParametersValidate failed!", mName.c_str());
            return -1;
        }
        mGroups.push_back(std::make_shared<IpaSustainablePowerGroup>(
            row, mWorkMode, mWithBoardSwitch, thresholds.socSwitch, thresholds.boardSwitch));
    }
    return 0;
}

}  // namespace corebeacon
