#include "resources/frequency_resource.h"

#include <memory>
#include <string>

#include "platform/logging.h"
#include "resources/frequency_group.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_FREQ_RES";

std::string GpuTopFreqPathOf(const PerfQosConfig& config, bool isLoaded) {
    const auto* const parameters = dynamic_cast<const FreqParameters*>(&config);
    return parameters == nullptr ? std::string() : parameters->gpuTopFreqPath.Of(isLoaded);
}

}  // namespace

FrequencyResource::FrequencyResource(const ResConstructParam& param) : PerfResource(param) {}

FrequencyResource::~FrequencyResource() {
    StopThread();
}

int FrequencyResource::InitGroups(const PerfQosConfig& config, bool isLoaded) {
    const std::string gpuTopFreqPath = GpuTopFreqPathOf(config, isLoaded);
    for (const PerfGroupConfig& row : config.groups) {
        if (!FrequencyGroup::GroupParametersValidate(row)) {
            LOGE("[%s:%d] [%s] GroupParametersValidate failed!", row.name.c_str());
            return -1;
        }
        mGroups.push_back(std::make_shared<FrequencyGroup>(row, mWorkMode, gpuTopFreqPath));
    }
    return 0;
}

}  // namespace corebeacon
