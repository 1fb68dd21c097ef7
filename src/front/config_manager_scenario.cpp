// Scenarios, work modes and the suspension of resources.
#include <map>
#include <new>
#include <string>
#include <utility>

#include "corebeacon/config_manager.h"
#include "front/config_manager_state.h"
#include "front/out_of_memory.h"
#include "platform/clock.h"
#include "platform/logging.h"
#include "platform/sys_wrapper.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_CFG_MGR";

constexpr std::size_t kMinSuspendParams = 2;

/// The memory-latency kinds write several nodes that have to agree: half of a change held back by a
/// suspension would leave the monitors on with nobody to read them.
bool IsMemLat(PerfQosId qosId) {
    return qosId == PERF_QOS_MEMLAT_TARGET_RATIO_CPU_L ||
           qosId == PERF_QOS_MEMLAT_TARGET_RATIO_CPU_M ||
           qosId == PERF_QOS_MEMLAT_TARGET_RATIO_CPU_B;
}

void AddSuspendTraceName(const std::vector<unsigned int>& params) {
    if (!SysWrapper::IsSysTraceEnabled()) {
        return;
    }
    std::string name = "corebeacon_log:suspend=" + std::to_string(params.front());
    for (std::size_t i = 1; i < params.size(); ++i) {
        name += " " + std::to_string(params[i]);
    }
    SysWrapper::SysTraceName(name);
}

}  // namespace

int ConfigManager::PerfSetScenario(int pid, unsigned int scenarioId, unsigned long& handle) try {
    const TimePoint now = SteadyNow();
    const std::map<PerfQosId, GroupValueMap>& scenario =
        mState->scenarioManager.ScenarioIdToQosInfo(scenarioId);
    if (scenario.empty()) {
        LOGE("[%s:%d] invalid scenario id: %u", scenarioId);
        return -1;
    }
    if (SysWrapper::IsSysTraceEnabled()) {
        SysWrapper::SysTraceName("corebeacon_log:scenario id=" + std::to_string(scenarioId));
    }
    CommandWrapper cmd(PERF_COMMAND_LONG_START, now, TimePoint{}, 0);
    cmd.ReserveItems(scenario.size());
    for (const auto& [qosId, groups] : scenario) {
        cmd.InsertRequestCommand(qosId, groups);
    }
    return StartRequest(pid, now, cmd, handle);
} catch (const std::bad_alloc&) {
    return OutOfMemory("PerfSetScenario");
}

int ConfigManager::PerfSetMode(int pid, unsigned int mode, unsigned long& handle) try {
    if (!mState->workModeManager.IsValidWorkModeId(mode)) {
        LOGE("[%s:%d] invalid work mode id: %u", mode);
        return -1;
    }
    if (SysWrapper::IsSysTraceEnabled()) {
        SysWrapper::SysTraceName("corebeacon_log:workMode id=" + std::to_string(mode));
    }
    const TimePoint now = SteadyNow();
    CommandWrapper cmd(PERF_COMMAND_MODE_START, now, now, 0);
    cmd.InsertWorkModeCommand();
    CommandWrapper broadcast = cmd;
    broadcast.FillInWorkMode(PERF_WORK_MODE_0);  // gives it an item of its own
    // Before the handle is taken: a release-all that finds the handle then waits until its mode is
    // set. Otherwise it would release a mode that is set only afterwards, and stays for ever.
    MutexLock lock(mState->workModeMutex);
    // Likewise: with a handle that others may release by now, nothing must fail any more.
    mState->workModeManager.MakeRoom();
    if (mState->commandManager.RequestHandle(pid, now, cmd, handle) != 0) {
        LOGE("[%s:%d] RequestHandle failed for pid %d", pid);
        return -1;
    }
    broadcast.FillInHandle(handle);
    cmd = std::move(broadcast);  // leaves the former item to the table, whose release amends it
    PerfWorkMode result = PERF_WORK_MODE_0;
    const int changed = mState->workModeManager.SetWorkMode(handle, mode, result);
    if (changed < 0) {
        LOGE("[%s:%d] SetWorkMode failed for pid %d", pid);
        return -1;
    }
    if (changed == 0) {
        LOGD("[%s:%d] work mode not change");
        return 0;
    }
    cmd.FillInWorkMode(result);
    if (mState->resourceManager.SendWorkModeCmd(cmd) != 0) {
        LOGE("[%s:%d] SendWorkModeCmd failed for pid %d", pid);
        return -1;
    }
    return 0;
} catch (const std::bad_alloc&) {
    return OutOfMemory("PerfSetMode");
}

int ConfigManager::PerfSetSuspend(const std::vector<unsigned int>& params) try {
    if (params.size() < kMinSuspendParams) {
        LOGE("[%s:%d] invalid Set Suspend param size %zu", params.size());
        return -1;
    }
    AddSuspendTraceName(params);
    const TimePoint now = SteadyNow();
    CommandWrapper cmd(params.front() != 0 ? PERF_COMMAND_SUSPEND : PERF_COMMAND_RESUME, now, now,
                       0);
    for (std::size_t i = 1; i < params.size(); ++i) {
        const auto qosId = static_cast<PerfQosId>(params[i]);
        if (IsMemLat(qosId)) {
            LOGD("[%s:%d] suspend not support memlat !");
        } else if (mState->resourceManager.GetResourcePtr(qosId) != nullptr) {
            cmd.InsertSuspendCommand(qosId);
        }
    }
    if (mState->resourceManager.SendCmdToResources(cmd) != 0) {
        LOGE("[%s:%d] sendSuspendCmd failed");
        return -1;
    }
    return 0;
} catch (const std::bad_alloc&) {
    return OutOfMemory("PerfSetSuspend");
}

}  // namespace corebeacon
