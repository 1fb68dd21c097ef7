// The builders of release commands: the half of CommandManager that takes commands out again.
#include <algorithm>
#include <iterator>
#include <utility>

#include "command/command_manager.h"
#include "platform/clock.h"
#include "platform/logging.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_CMD_MGR";

}  // namespace

int CommandManager::UpdateReleaseCommandType(CommandWrapper& cmd) const {
    switch (cmd.GetType()) {
        case PERF_COMMAND_SHORT_START:
            cmd.SetType(PERF_COMMAND_SHORT_STOP);
            return 0;
        case PERF_COMMAND_LONG_START:
            cmd.SetType(PERF_COMMAND_LONG_STOP);
            return 0;
        case PERF_COMMAND_MODE_START:
            return 0;
        default:
            LOGE("[%s:%d] invalid command type: %u", static_cast<unsigned int>(cmd.GetType()));
            return -1;
    }
}

int CommandManager::BuildReleaseCommand(int pid, unsigned long handle, CommandWrapper& out) {
    if (pid <= mReservedPid) {
        LOGE("[%s:%d] invalid pid: %d", pid);
        return -1;
    }
    MutexLock lock(mMutex);
    ClearExpiredHandle(SteadyNow());
    if (ComposeReleaseCommand(pid, handle, out) != 0) {
        LOGD("[%s:%d] ComposeReleaseCommand failed");
        return -1;
    }
    return 0;
}

int CommandManager::BuildReleaseAllCommand(int pid, HandleCommandMap& out) {
    if (pid <= mReservedPid) {
        LOGE("[%s:%d] invalid pid: %d", pid);
        return -1;
    }
    MutexLock lock(mMutex);
    ClearExpiredHandle(SteadyNow());
    const auto owner = mCommands.find(pid);
    if (owner == mCommands.end()) {
        LOGD("[%s:%d] ignore invalid pid: %d", pid);
        return -1;
    }
    out = std::move(owner->second);
    mDepartures.fetch_add(1, std::memory_order_release);
    mCommands.erase(owner);
    // One command that cannot be turned must not leave the counts and records of the others behind.
    int result = 0;
    for (auto& [handle, cmd] : out) {
        --mLiveHandles;
        ForgetProbe(pid, handle);
        if (TurnIntoRelease(cmd) != 0) {
            result = -1;
        }
    }
    return result;
}

int CommandManager::BuildReleaseAllCommand(std::unordered_map<int, HandleCommandMap>& out) {
    MutexLock lock(mMutex);
    ClearExpiredHandle(SteadyNow());
    mEndTimes.Clear();
    mEvents.clear();
    mProbes.clear();
    out = std::move(mCommands);
    mDepartures.fetch_add(1, std::memory_order_release);
    mCommands.clear();
    int result = 0;
    for (auto& [owner, commands] : out) {
        for (auto& [handle, cmd] : commands) {
            --mLiveHandles;
            if (UpdateReleaseCommandType(cmd) != 0) {
                LOGE("[%s:%d] UpdateReleaseCommandType failed");
                result = -1;
            }
        }
    }
    return result;
}

int CommandManager::BuildEventReleaseCommand(PerfEventId id, std::vector<CommandWrapper>& out) {
    MutexLock lock(mMutex);
    ClearExpiredHandle(SteadyNow());
    const auto first = mEvents.lower_bound({id, 0});
    const auto end =
        std::find_if(first, mEvents.end(), [id](const auto& event) { return event.first != id; });
    // Before the first command leaves the table: it would not come back.
    out.reserve(out.size() + static_cast<std::size_t>(std::distance(first, end)));
    int result = -1;
    for (auto entry = first; entry != end; ++entry) {
        CommandWrapper release;
        if (ComposeReleaseCommand(mReservedPid, entry->second, release) != 0) {
            LOGD("[%s:%d] ComposeReleaseCommand failed");
            continue;
        }
        out.push_back(std::move(release));
        result = 0;
    }
    if (first == end) {
        LOGD("[%s:%d] invalid event id: %u", id);
    }
    mEvents.erase(first, end);
    return result;
}

int CommandManager::BuildProbeReleaseCommand(int tid, CommandWrapper& out) {
    MutexLock lock(mMutex);
    ClearExpiredHandle(SteadyNow());
    const auto probe = mProbes.find(tid);
    if (probe == mProbes.end()) {
        LOGD("[%s:%d] invalid tid: %d", tid);
        return -1;
    }
    const unsigned long handle = probe->second;
    mProbes.erase(probe);
    if (!TakeCommand(tid, handle, out)) {
        LOGD("[%s:%d] invalid handle: %lu", handle);
        return -1;
    }
    return TurnIntoRelease(out);
}

int CommandManager::ComposeReleaseCommand(int owner, unsigned long handle, CommandWrapper& out) {
    if (!mCommands.contains(owner)) {
        LOGD("[%s:%d] invalid pid: %d", owner);
        return -1;
    }
    if (!TakeCommand(owner, handle, out)) {
        LOGD("[%s:%d] invalid handle: %lu", handle);
        return -1;
    }
    return TurnIntoRelease(out);
}

bool CommandManager::TakeCommand(int owner, unsigned long handle, CommandWrapper& out) {
    const auto commands = mCommands.find(owner);
    if (commands == mCommands.end()) {
        return false;
    }
    const auto stored = commands->second.find(handle);
    if (stored == commands->second.end()) {
        return false;
    }
    mDepartures.fetch_add(1, std::memory_order_release);
    mSpareCommand = commands->second.extract(stored);
    out = std::exchange(mSpareCommand.mapped(), CommandWrapper());
    if (commands->second.empty()) {
        DropOwner(commands);
    }
    --mLiveHandles;
    // A main thread's id is its process's pid, so a probe can also be released as a request.
    ForgetProbe(owner, handle);
    return true;
}

int CommandManager::TurnIntoRelease(CommandWrapper& cmd) {
    const bool timed = cmd.GetType() == PERF_COMMAND_SHORT_START;
    if (UpdateReleaseCommandType(cmd) != 0) {
        LOGE("[%s:%d] UpdateReleaseCommandType failed");
        return -1;
    }
    if (timed && DeleteFromShortTermEndtimeMap(cmd.GetEndTime(), cmd.GetHandle()) != 0) {
        LOGE("[%s:%d] deleteFromeEndtimeMap failed");
        return -1;
    }
    return 0;
}

}  // namespace corebeacon
