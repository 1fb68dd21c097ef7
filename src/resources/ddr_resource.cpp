#include "resources/ddr_resource.h"

#include <cmath>
#include <memory>

#include "platform/logging.h"
#include "resources/ddr_group.h"

namespace corebeacon {

namespace {
constexpr const char* LOG_TAG = "PF_DDR_RES";
}  // namespace

DdrResource::~DdrResource() {
    StopThread();
}

int DdrResource::InitGroups(const PerfQosConfig& config, bool isLoaded) {
    const auto* const parameters = dynamic_cast<const DdrParameters*>(&config);
    if (parameters == nullptr) {
        LOGE("[%s:%d] [%s] no DDR parameters in the configuration", mName.c_str());
        return -1;
    }
    const float coefficient = parameters->bandwidthCoefficient.Of(isLoaded);
    // Told by the whole part: a fraction of a MB/s per MHz is unlikely to be meant. It is used
    // nevertheless.
    if (std::trunc(coefficient) == 0.0F) {
        LOGI("[%s:%d] freq to bandwidth coefficience is 0, will write MinFreq NodePath");
    }
    for (const PerfGroupConfig& row : config.groups) {
        if (!SingleNodeValueGroup::GroupParametersValidate(row)) {
            return -1;
        }
        mGroups.push_back(std::make_shared<DdrGroup>(row, mWorkMode, coefficient));
    }
    return 0;
}

}  // namespace corebeacon
