#include <new>

#include "engine/perf_resource.h"
#include "platform/clock.h"
#include "platform/logging.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_RES";

}  // namespace

void PerfResource::Inspect(std::vector<GroupState>& groups) const {
    const TimePoint now = SteadyNow();
    for (const std::shared_ptr<PerfGroup>& group : mGroups) {
        if (group != nullptr) {
            GroupState& state = groups.emplace_back();
            state.qosId = mQosId;
            state.qosName = mName;
            group->Inspect(now, state);
        }
    }
}

/// Answers even when there is no memory for an answer, then with no group: somebody waits for it.
void PerfResource::GetInspection() {
    std::vector<GroupState> groups;
    try {
        Inspect(groups);
    } catch (const std::bad_alloc&) {
        LOGE("[%s:%d] [%s] out of memory, the inspection is left out", mName.c_str());
        groups.clear();
    }
    MutexLock lock(mLogMutex);
    mInspection = std::move(groups);
    ++mDumpProgress[INSPECTION].collected;
    mLogCond.NotifyAll();
}

bool PerfResource::WaitInspection(std::vector<GroupState>& groups) {
    const std::uint64_t wanted = mDumpsAsked[INSPECTION].load();
    MutexLock lock(mLogMutex);
    while (!mDumpProgress[INSPECTION].Deliver(wanted)) {
        if (mHandOverClosed) {
            LOGE("[%s:%d] fail to inspect res %s", mName.c_str());
            return false;
        }
        GetClock().Wait(mLogCond, mLogMutex);
    }
    if (mInspection.empty()) {
        return false;
    }
    if (mDumpProgress[INSPECTION].IsLast()) {
        groups = std::move(mInspection);
        mInspection.clear();
    } else {
        groups = mInspection;
    }
    return true;
}

}  // namespace corebeacon
