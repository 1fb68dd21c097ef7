#include "resources/post_processing_resource.h"

#include "platform/clock.h"
#include "platform/logging.h"

namespace corebeacon {

namespace {
constexpr const char* LOG_TAG = "PF_POST_PROCESSING_RES";
}  // namespace

PostProcessingResource::PostProcessingResource(const ResConstructParam& param)
    : PerfResource(param) {}

PostProcessingResource::~PostProcessingResource() = default;

int PostProcessingResource::CommandProcess(const PerfCommandItem& item,
                                           const GroupCommandHandler& handler) {
    if (NormalCommandProcess(item, handler) != 0) {
        LOGE("[%s:%d] [%s] NormalCommandProcess failed", mName.c_str());
        return -1;
    }
    if (CommandPostProcess() != 0) {
        LOGE("[%s:%d] [%s] CommandPostProcess failed", mName.c_str());
        return -1;
    }
    return 0;
}

int PostProcessingResource::SetWorkMode(const PerfCommandItem& item) {
    mWorkMode = item.workMode;
    for (const std::shared_ptr<PerfGroup>& group : mGroups) {
        if (group == nullptr) {
            continue;
        }
        if (group->SetWorkMode(mWorkMode) < 0) {
            LOGE("[%s:%d] [%s] SetWorkMode failed", mName.c_str());
            return -1;
        }
        if (CommandPostProcess() != 0) {
            LOGE("[%s:%d] [%s] CommandPostProcess failed", mName.c_str());
            return -1;
        }
    }
    return 0;
}

int PostProcessingResource::HandleCommandTimeOut() {
    const TimePoint now = SteadyNow();
    for (const std::shared_ptr<PerfGroup>& group : mGroups) {
        if (group != nullptr && group->ShortTermTimeOut(now) < 0) {
            LOGE("[%s:%d] [%s] ShortTermTimeOut failed", mName.c_str());
            return -1;
        }
    }
    if (CommandPostProcess() != 0) {
        LOGE("[%s:%d] [%s] CommandPostProcess failed", mName.c_str());
        return -1;
    }
    return 0;
}

}  // namespace corebeacon
