#include <unordered_map>

#include "corebeacon/config_manager.h"
#include "front/config_manager_state.h"
#include "platform/logging.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_CFG_MGR";

}  // namespace

int ConfigManager::PerfRelease(int pid, unsigned long handle) {
    CommandWrapper release;
    if (mState->commandManager.BuildReleaseCommand(pid, handle, release) != 0) {
        LOGD("[%s:%d] BuildReleaseCommand failed for pid %d", pid);
        return 0;
    }
    if (ReleaseCommand(pid, handle, release) != 0) {
        LOGE("[%s:%d] ReleaseCommand failed for pid %d", pid);
        return -1;
    }
    return 0;
}

int ConfigManager::PerfReleaseAll(int pid) {
    std::unordered_map<unsigned long, CommandWrapper> releases;
    if (mState->commandManager.BuildReleaseAllCommand(pid, releases) != 0) {
        LOGD("[%s:%d] no command need to release");
        return 0;
    }
    for (auto& [handle, release] : releases) {
        if (ReleaseCommand(pid, handle, release) != 0) {
            LOGE("[%s:%d] ReleaseCommand failed for pid %d, handle %lu", pid, handle);
            return -1;
        }
    }
    return 0;
}

int ConfigManager::Reset() {
    MutexLock lock(mState->debugMutex);
    std::unordered_map<int, std::unordered_map<unsigned long, CommandWrapper>> releases;
    mState->commandManager.BuildReleaseAllCommand(releases);
    for (auto& [pid, handles] : releases) {
        for (auto& [handle, release] : handles) {
            if (ReleaseCommand(pid, handle, release) != 0) {
                LOGE("[%s:%d] ReleaseCommand failed for pid %d, handle %lu", pid, handle);
            }
        }
    }
    mState->debugHandles.assign(kDebugSlotCount, kNoHandle);
    return 0;
}

int ConfigManager::ReleaseCommand(int pid, unsigned long handle, CommandWrapper& release) {
    LOGD("[%s:%d] ReleaseCommand for pid: %d", pid);
    if (release.IsProbe()) {
        // A main thread's id is its process's pid, so a probe may go with the process's requests.
        UnbindThread(pid);
    }
    if (release.GetType() != PERF_COMMAND_MODE_START) {
        if (Send(release) != 0) {
            LOGE("[%s:%d] SendCmdToResources failed for handle %lu", handle);
            return -1;
        }
        return 0;
    }
    MutexLock lock(mState->workModeMutex);
    PerfWorkMode mode = PERF_WORK_MODE_0;
    const int changed = mState->workModeManager.ReleaseWorkMode(handle, mode);
    if (changed < 0) {
        LOGE("[%s:%d] ReleaseWorkMode failed for handle %lu", handle);
        return -1;
    }
    if (changed == 0) {
        LOGE("[%s:%d] work mode not change");
        return 0;
    }
    release.FillInWorkMode(mode);
    if (mState->resourceManager.SendWorkModeCmd(release) != 0) {
        LOGE("[%s:%d] SendWorkModeCmd failed for handle %lu", handle);
        return -1;
    }
    return 0;
}

}  // namespace corebeacon
