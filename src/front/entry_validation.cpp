#include "front/entry_validation.h"

#include "engine/perf_resource.h"
#include "platform/logging.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_CFG_MGR";

}  // namespace

Verdict ValidateEntry(const ResourceManager& resources, PerfCommandType type, PerfQosId qosId,
                      GroupValueMap& groups) {
    PerfResource* const resource = resources.FindResource(qosId);
    if (resource == nullptr) {
        LOGD("[%s:%d] resource ptr is NULL for qos id %u", qosId);
        return Verdict::ABSENT;
    }
    if (resource->RequestValidate(type, groups) != 0) {
        LOGE("[%s:%d] RequestValidate failed for qos id %u", qosId);
        return Verdict::REFUSED;
    }
    return Verdict::ACCEPTED;
}

}  // namespace corebeacon
