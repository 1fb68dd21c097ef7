#include "engine/perf_resource.h"

#include "platform/clock.h"
#include "platform/logging.h"

namespace corebeacon {

namespace {
constexpr const char* LOG_TAG = "PF_RES";
}  // namespace

PerfResource::PerfResource(const ResConstructParam& param)
    : mName(param.config.name), mQosId(param.qosId), mWorkMode(param.workMode) {}

PerfResource::~PerfResource() {
    StopThread();
}

int PerfResource::InitResource(PerfQosConfig& config, bool isLoaded) {
    if (config.groups.empty()) {
        LOGE("[%s:%d] [%s] empty group for qos %s", mName.c_str(), config.name.c_str());
        return -1;
    }
    unsigned int position = 0;
    for (const PerfGroupConfig& group : config.groups) {
        if (group.groupId != position) {
            LOGE("[%s:%d] [%s] inconsistent group id for %s: %u != %u", mName.c_str(),
                 group.name.c_str(), group.groupId, position);
            return -1;
        }
        ++position;
    }
    return InitGroups(config, isLoaded);
}

int PerfResource::RequestValidate(PerfCommandType type, GroupValueMap& groups) {
    if (groups.size() > mGroups.size()) {
        LOGE("[%s:%d] [%s] invalid group num: %zu", mName.c_str(), groups.size());
        return -1;
    }
    if (GroupValidate(type, groups) != 0) {
        LOGE("[%s:%d] [%s] GroupValidate failed!", mName.c_str());
        return -1;
    }
    return 0;
}

int PerfResource::GroupValidate(PerfCommandType type, GroupValueMap& groups) {
    for (auto& [groupId, values] : groups) {
        if (!IsValidPerfGroupId(groupId)) {
            LOGE("[%s:%d] [%s] invalid group id: %u", mName.c_str(), groupId);
            return -1;
        }
        const std::shared_ptr<PerfGroup>& group = mGroups[groupId];
        if (group == nullptr) {
            LOGE("[%s:%d] [%s] null ptr for group id: %u", mName.c_str(), groupId);
            return -1;
        }
        if (group->GroupValueValidate(type, values) != 0) {
            LOGE("[%s:%d] [%s] GroupValueValidate failed for group %u", mName.c_str(), groupId);
            return -1;
        }
    }
    return 0;
}

std::shared_ptr<PerfGroup> PerfResource::GetPerfGroupPtr(unsigned int groupId) const {
    return IsValidPerfGroupId(groupId) ? mGroups[groupId] : nullptr;
}

int PerfResource::CommandDispath(const PerfCommand& command) {
    if (command.item == nullptr) {
        LOGE("[%s:%d] [%s] empty command", mName.c_str());
        return -1;
    }
    switch (command.type) {
        case PERF_COMMAND_MODE_START:
            if (SetWorkMode(*command.item) != 0) {
                LOGE("[%s:%d] [%s] SetWorkMode failed", mName.c_str());
                return -1;
            }
            return 0;
        case PERF_COMMAND_GET_LOG:
            GetLog();
            return 0;
        case PERF_COMMAND_GET_BASE_INFO:
            GetBaseInfo();
            return 0;
        case PERF_COMMAND_INSPECT:
            GetInspection();
            return 0;
        case PERF_COMMAND_SUSPEND:
        case PERF_COMMAND_RESUME:
            SetSuspend(command.type == PERF_COMMAND_SUSPEND);
            return 0;
        default:
            if (CommandProcess(*command.item, GetCommandHandle(command.type)) != 0) {
                LOGE("[%s:%d] [%s] CommandProcess failed", mName.c_str());
                return -1;
            }
            return 0;
    }
}

GroupCommandHandler PerfResource::GetCommandHandle(PerfCommandType type) const {
    switch (type) {
        case PERF_COMMAND_SHORT_START:
            return &PerfGroup::ShortTermStart;
        case PERF_COMMAND_SHORT_STOP:
            return &PerfGroup::ShortTermStop;
        case PERF_COMMAND_LONG_START:
            return &PerfGroup::LongTermStart;
        case PERF_COMMAND_LONG_STOP:
            return &PerfGroup::LongTermStop;
        case PERF_COMMAND_BASE_SET:
            return &PerfGroup::BaseSet;
        default:
            LOGE("[%s:%d] [%s] invalid command type: %u", mName.c_str(), type);
            return nullptr;
    }
}

int PerfResource::CommandProcess(const PerfCommandItem& item, const GroupCommandHandler& handler) {
    if (NormalCommandProcess(item, handler) != 0) {
        LOGE("[%s:%d] [%s] NormalCommandProcess failed", mName.c_str());
        return -1;
    }
    return 0;
}

int PerfResource::NormalCommandProcess(const PerfCommandItem& item,
                                       const GroupCommandHandler& handler) {
    if (!handler) {
        LOGE("[%s:%d] [%s] commandHandleFunc is NULL", mName.c_str());
        return -1;
    }
    if (item.groups.empty() || item.groups.size() > mGroups.size()) {
        LOGE("[%s:%d] [%s] invalid group num: %zu", mName.c_str(), item.groups.size());
        return -1;
    }
    const TimePoint now = SteadyNow();
    for (const auto& [groupId, values] : item.groups) {
        if (!IsValidPerfGroupId(groupId) || mGroups[groupId] == nullptr) {
            LOGE("[%s:%d] [%s] GetPerfGroupPtr failed for group id %u", mName.c_str(), groupId);
            return -1;
        }
        const std::shared_ptr<PerfGroup>& group = mGroups[groupId];
        group->UpdateCurrTimePoint(now);
        const PerfGroupCommand command{item.handle, item.startTime, item.endTime, values};
        if (handler(group, command) < 0) {
            LOGE("[%s:%d] [%s] commandHandleFunc failed in group %u", mName.c_str(), groupId);
            return -1;
        }
    }
    return 0;
}

int PerfResource::HandleCommandTimeOut() {
    const TimePoint now = SteadyNow();
    for (const std::shared_ptr<PerfGroup>& group : mGroups) {
        // A group left behind here still has a past wake-up time, so the worker returns at once.
        if (group != nullptr && group->ShortTermTimeOut(now) < 0) {
            LOGE("[%s:%d] [%s] ShortTermTimeOut failed", mName.c_str());
            return -1;
        }
    }
    return 0;
}

int PerfResource::SetWorkMode(const PerfCommandItem& item) {
    mWorkMode = item.workMode;
    for (const std::shared_ptr<PerfGroup>& group : mGroups) {
        if (group != nullptr && group->SetWorkMode(mWorkMode) < 0) {
            LOGE("[%s:%d] [%s] SetWorkMode failed", mName.c_str());
            return -1;
        }
    }
    return 0;
}

void PerfResource::SetSuspend(bool suspend) {
    if (suspend == mSuspended) {
        LOGD("[%s:%d] [%s] same suspend %d", mName.c_str(), suspend);
        return;
    }
    mSuspended = suspend;
    for (const std::shared_ptr<PerfGroup>& group : mGroups) {
        if (group != nullptr) {
            group->SetSuspend(suspend);
        }
    }
}

TimePoint PerfResource::FindMinTime() const {
    TimePoint earliest{};
    for (unsigned int groupId = 0; groupId < mGroups.size(); ++groupId) {
        if (mGroups[groupId] == nullptr) {
            LOGE("[%s:%d] [%s] null group pointer for group %u", mName.c_str(), groupId);
            continue;
        }
        const TimePoint wakeUp = mGroups[groupId]->GetNextWakeUpTimePoint();
        if (wakeUp != TimePoint{} && (earliest == TimePoint{} || wakeUp < earliest)) {
            earliest = wakeUp;
        }
    }
    return earliest;
}

}  // namespace corebeacon
