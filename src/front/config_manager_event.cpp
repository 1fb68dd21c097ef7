// Events out of the host's table, and probes of threads.
#include <chrono>
#include <map>
#include <new>
#include <string>

#include "corebeacon/config_manager.h"
#include "front/config_manager_state.h"
#include "front/entry_validation.h"
#include "front/out_of_memory.h"
#include "platform/clock.h"
#include "platform/logging.h"
#include "platform/sys_wrapper.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_CFG_MGR";

constexpr PerfEventId kProbeEventId = 4097;
constexpr PerfEventId kSuspendEventId = 8192;

// What the first parameter of an event says.
constexpr unsigned int kStop = 0;
constexpr unsigned int kStart = 1;

constexpr std::size_t kProbeParamCount = 3;
constexpr std::size_t kProbeTidParam = 2;
constexpr unsigned int kProbeGroup = 0;

using std::chrono::milliseconds;

void AddEventTraceName(PerfEventId eventId, const std::vector<unsigned int>& params) {
    if (!SysWrapper::IsSysTraceEnabled()) {
        return;
    }
    std::string name = "corebeacon_log:eventId=" + std::to_string(eventId);
    for (const unsigned int param : params) {
        name += " " + std::to_string(param);
    }
    SysWrapper::SysTraceName(name);
}

}  // namespace

int ConfigManager::PerfEvent(PerfEventId eventId, const std::vector<unsigned int>& params,
                             const std::string& message) try {
    LOGI("[%s:%d] user message: %s", message.c_str());
    AddEventTraceName(eventId, params);
    switch (eventId) {
        case kProbeEventId:
            return HandleProbeEvent(params);
        case kSuspendEventId:
            return PerfSetSuspend(params);
        default:
            return HandleTableEvent(eventId, params);
    }
} catch (const std::bad_alloc&) {
    return OutOfMemory("PerfEvent");
}

int ConfigManager::HandleProbeEvent(const std::vector<unsigned int>& params) {
    if (params.size() != kProbeParamCount) {
        LOGE("[%s:%d] invalid probe event request format. size = %d",
             static_cast<int>(params.size()));
        return -1;
    }
    const int tid = static_cast<int>(params[kProbeTidParam]);
    switch (params.front()) {
        case kStart:
            return StartProbe(tid);
        case kStop:
            StopProbe(tid);
            return 0;
        default:
            LOGE("[%s:%d] invalid start notion");
            return -1;
    }
}

int ConfigManager::HandleTableEvent(PerfEventId eventId, const std::vector<unsigned int>& params) {
    if (params.empty() || params.front() == kStart) {
        const unsigned int duration = params.size() == 2 ? params[1] : 0;
        if (StartEvent(eventId, duration) != 0) {
            LOGE("[%s:%d] StartEvent failed");
            return -1;
        }
        return 0;
    }
    if (params.front() == kStop && params.size() == 1) {
        EndEvent(eventId);
        return 0;
    }
    LOGE("[%s:%d] invalid parameter for PerfEvent");
    return -1;
}

int ConfigManager::StartEvent(PerfEventId eventId, unsigned int duration) try {
    const std::multimap<PerfQosId, PerfEventItemInt> items =
        mState->eventManager.EventIdToQosInfo(eventId);
    if (items.empty()) {
        LOGW("[%s:%d] invalid event id: %u", eventId);
        return -1;
    }
    const TimePoint now = SteadyNow();
    CommandWrapper cmd(PERF_COMMAND_SHORT_START, now, now, duration);
    for (const auto& [qosId, item] : items) {
        if (duration == 0) {
            cmd.InsertEventCommand(qosId, LaterBy(now, milliseconds(item.startTime)),
                                   LaterBy(now, milliseconds(item.endTime)), item.groups);
        } else if (item.startTime == 0) {
            cmd.InsertEventCommand(qosId, now, LaterBy(now, milliseconds(duration)), item.groups);
        }
    }
    unsigned long handle = kNoHandle;
    if (mState->commandManager.RequestEventHandle(eventId, now, cmd, handle) != 0) {
        LOGE("[%s:%d] RequestEventHandle failed for event id: %u", eventId);
        return -1;
    }
    if (SendRegistered(mState->reservedPid, cmd) != 0) {
        LOGE("[%s:%d] SendCmdToResources failed for event id: %u", eventId);
        return -1;
    }
    return 0;
} catch (const std::bad_alloc&) {
    return OutOfMemory("StartEvent");
}

void ConfigManager::StopEvent(PerfEventId eventId) try {
    EndEvent(eventId);
} catch (const std::bad_alloc&) {
    OutOfMemory("StopEvent");
}

void ConfigManager::EndEvent(PerfEventId eventId) {
    std::vector<CommandWrapper> releases;
    if (mState->commandManager.BuildEventReleaseCommand(eventId, releases) != 0) {
        LOGD("[%s:%d] BuildEventReleaseCommand failed");
        return;
    }
    for (const CommandWrapper& release : releases) {
        if (mState->resourceManager.SendCmdToResources(release) != 0) {
            LOGE("[%s:%d] SendCmdToResources failed for event id: %u", eventId);
        }
    }
}

int ConfigManager::StartProbe(int tid) try {
    const ProbeEvent& probe = mState->eventManager.GetProbeInfo();
    const TimePoint now = SteadyNow();
    const TimePoint start = LaterBy(now, milliseconds(probe.startDelayMs));
    const TimePoint end = LaterBy(start, milliseconds(probe.spanMs));
    // The span is also the command's own, because there may be no item to take it from.
    CommandWrapper cmd(PERF_COMMAND_SHORT_START, now, end, 0);
    cmd.InsertProbeCommand(start, end, ProbeFloor(PERF_QOS_CPU_M, probe.cpuM),
                           ProbeFloor(PERF_QOS_CPU_B, probe.cpuB),
                           ProbeFloor(PERF_QOS_GPU, probe.gpu));
    unsigned long handle = kNoHandle;
    const int result = mState->commandManager.RequestProbeHandle(tid, now, cmd, handle);
    if (result != 0) {
        LOGE("[%s:%d] RequestEventHandle failed for probe tid: %d", tid);
        return result;
    }
    if (handle == kNoHandle) {
        LOGD("[%s:%d] duplicate probe for tid %d", tid);
        return 0;
    }
    if (SendRegistered(tid, cmd) != 0) {
        LOGE("[%s:%d] SendCmdToResources failed");
        StopProbe(tid);  // or a second try would pass for a duplicate
        return -1;
    }
    if (BindThread(tid, handle, start, end) != 0) {
        StopProbe(tid);
        return -1;
    }
    return 0;
} catch (const std::bad_alloc&) {
    return OutOfMemory("StartProbe");
}

/// The value with which a probe may boost group 0 of a QoS on this device; 0 when it may not.
int ConfigManager::ProbeFloor(PerfQosId qosId, int value) const {
    if (value == 0) {
        return 0;
    }
    GroupValueMap groups = {{kProbeGroup, {{PERF_OPERATION_BOOST, value}}}};
    const Verdict verdict =
        ValidateEntry(mState->resourceManager, PERF_COMMAND_SHORT_START, qosId, groups);
    return verdict == Verdict::ACCEPTED ? groups[kProbeGroup][PERF_OPERATION_BOOST] : 0;
}

void ConfigManager::StopProbe(int tid) {
    CommandWrapper release;
    if (mState->commandManager.BuildProbeReleaseCommand(tid, release) != 0) {
        LOGD("[%s:%d] BuildEventReleaseCommand failed");
        return;
    }
    if (Send(release) != 0) {
        LOGE("[%s:%d] SendCmdToResources failed.");
        return;
    }
    UnbindThread(tid);
}

int ConfigManager::BindThread(int tid, unsigned long handle, const TimePoint& start,
                              const TimePoint& end) {
    MutexLock lock(mState->probeMutex);
    if (!mState->commandManager.IsRegistered(tid, handle)) {
        return 0;  // stopped again in the meantime
    }
    if (mState->threadBinder.IsKnown(tid)) {
        // An earlier probe whose release has not come as far as the binder, which would take this
        // one for its duplicate.
        mState->threadBinder.DeleteThreadInfo(tid);
    }
    try {
        return mState->threadBinder.AddThreadInfo({tid, start, end});
    } catch (const std::bad_alloc&) {
        LOGE("[%s:%d] out of memory, tid %d is not bound", tid);
        return -1;
    }
}

void ConfigManager::UnbindThread(int tid) {
    MutexLock lock(mState->probeMutex);
    // A later probe of the thread, started since this one was released, is not to be ended.
    if (!mState->commandManager.IsProbed(tid)) {
        mState->threadBinder.DeleteThreadInfo(tid);
    }
}

}  // namespace corebeacon
