#include "command/command_manager.h"

#include <algorithm>
#include <new>

#include "platform/logging.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_CMD_MGR";

constexpr int kNoProbeHandle = 2;

/// As many as a table begins with.
constexpr std::size_t kFewBuckets = 16;

/// The items of an event or probe have times of their own. Were the command filed under its own
/// end, the table would forget it while its values are still in force.
void ExtendEndToItems(CommandWrapper& cmd) {
    TimePoint end = cmd.GetEndTime();
    for (const auto& item : cmd.GetItems()) {
        if (item != nullptr) {
            end = std::max(end, item->endTime);
        }
    }
    cmd.SetEndTime(end);
}

}  // namespace

CommandManager::CommandManager(unsigned int maxProcesses, unsigned int maxHandlesPerProcess,
                               unsigned int maxHandles, int reservedPid, unsigned long firstHandle)
    : mMaxProcesses(maxProcesses),
      mMaxHandlesPerProcess(maxHandlesPerProcess),
      mMaxHandles(maxHandles),
      mReservedPid(reservedPid),
      mNextHandle(firstHandle) {}

int CommandManager::RequestHandle(int pid, const TimePoint& now, CommandWrapper& cmd,
                                  unsigned long& handle) {
    if (pid <= mReservedPid) {
        LOGE("[%s:%d] invalid pid: %d", pid);
        return -1;
    }
    if (cmd.GetType() == PERF_COMMAND_BASE_SET) {
        handle = kNoHandle;
        LOGD("[%s:%d] PERF_COMMAND_BASE_SET not need allocate handle!");
        return 0;
    }
    MutexLock lock(mMutex);
    ClearExpiredHandle(now);
    handle = AllocHandleByPid(pid);
    if (handle == kInvalidHandle) {
        LOGE("[%s:%d] alloc new handle failed for pid %d", pid);
        return -1;
    }
    return StoreCommand(pid, handle, kRequestRecordKind, cmd);
}

int CommandManager::RequestEventHandle(PerfEventId id, const TimePoint& now, CommandWrapper& cmd,
                                       unsigned long& handle) {
    MutexLock lock(mMutex);
    ClearExpiredHandle(now);
    handle = AllocHandleByPid(mReservedPid);
    if (handle == kInvalidHandle) {
        LOGE("[%s:%d] alloc new handle failed for pid %d", mReservedPid);
        return -1;
    }
    ExtendEndToItems(cmd);
    return StoreCommand(mReservedPid, handle, id, cmd);
}

int CommandManager::RequestProbeHandle(int tid, const TimePoint& now, CommandWrapper& cmd,
                                       unsigned long& handle) {
    MutexLock lock(mMutex);
    // First of all, so that a probe which has run out does not pass for a duplicate.
    ClearExpiredHandle(now);
    if (mProbes.contains(tid)) {
        return 0;
    }
    // Ids up to the reserved one belong to the service, whose events must not mix with a thread's
    // probe; negative ones are left to the allocator's own refusal.
    const bool reserved = tid >= 0 && tid <= mReservedPid;
    handle = reserved ? kInvalidHandle : AllocHandleByPid(tid);
    if (handle == kInvalidHandle) {
        LOGE("[%s:%d] alloc new handle failed for tid %d", tid);
        return kNoProbeHandle;
    }
    ExtendEndToItems(cmd);
    return StoreCommand(tid, handle, kProbeRecordKind, cmd);
}

bool CommandManager::IsRegistered(int pid, unsigned long handle) const {
    MutexLock lock(mMutex);
    const auto owner = mCommands.find(pid);
    return owner != mCommands.end() && owner->second.contains(handle);
}

bool CommandManager::IsProbed(int tid) const {
    MutexLock lock(mMutex);
    return mProbes.contains(tid);
}

void CommandManager::FindOrigins(HandleOrigins& origins) const {
    MutexLock lock(mMutex);
    const auto enter = [&origins](unsigned long handle, const HandleOrigin& origin) {
        const auto wanted = origins.find(handle);
        if (wanted != origins.end()) {
            wanted->second = origin;
        }
    };
    for (const auto& [pid, commands] : mCommands) {
        for (const auto& [handle, cmd] : commands) {
            enter(handle, {.kind = RequestOrigin::CLIENT, .pid = pid});
        }
    }
    for (const auto& [eventId, handle] : mEvents) {
        enter(handle, {.kind = RequestOrigin::EVENT, .eventId = eventId});
    }
    for (const auto& [tid, handle] : mProbes) {
        enter(handle, {.kind = RequestOrigin::PROBE, .pid = tid});
    }
}

CommandManager::Counts CommandManager::GetCounts() const {
    MutexLock lock(mMutex);
    Counts counts{.liveHandles = mLiveHandles,
                  .owners = mCommands.size(),
                  .endTimeRecords = mEndTimes.Size(),
                  .events = mEvents.size(),
                  .probes = mProbes.size()};
    for (const auto& [owner, commands] : mCommands) {
        counts.commands += commands.size();
    }
    return counts;
}

unsigned long CommandManager::AllocHandleByPid(int pid) {
    if (mLiveHandles >= mMaxHandles) {
        LOGE("[%s:%d] total handle num reach maximum: %u", mMaxHandles);
        return kInvalidHandle;
    }
    if (pid < 0) {
        LOGE("[%s:%d] invalid pid: %d", pid);
        return kInvalidHandle;
    }
    const auto owner = mCommands.find(pid);
    if (owner != mCommands.end()) {
        if (owner->second.size() >= mMaxHandlesPerProcess) {
            LOGE("[%s:%d] handle num in one process reach maximum: %u", mMaxHandlesPerProcess);
            return kInvalidHandle;
        }
    } else if (mCommands.size() >= mMaxProcesses) {
        LOGE("[%s:%d] process num reach maximum: %u", mMaxProcesses);
        return kInvalidHandle;
    }
    if (mNextHandle == kInvalidHandle) {
        LOGE("[%s:%d] not enough handle");
        return kInvalidHandle;
    }
    ++mLiveHandles;
    return mNextHandle++;
}

int CommandManager::StoreCommand(int owner, unsigned long handle, std::uint32_t kind,
                                 CommandWrapper& cmd) {
    switch (cmd.GetType()) {
        case PERF_COMMAND_SHORT_START:
        case PERF_COMMAND_LONG_START:
        case PERF_COMMAND_MODE_START:
            break;
        default:
            // The number is spent and stays counted: no command of the front comes here, and the
            // count falls only for what leaves the table.
            LOGE("[%s:%d] invalid command type: %u", static_cast<unsigned int>(cmd.GetType()));
            return -1;
    }
    cmd.FillInHandle(handle);
    cmd.SetTableStamp(mDepartures.load(std::memory_order_relaxed));
    const EndTimeRecord record{owner, handle, cmd.GetEndTime(), kind};
    try {
        if (!EnterCommand(record, cmd)) {
            LOGE("[%s:%d] handle duplicate: %lu", handle);
            --mLiveHandles;
            return -1;
        }
        EnterEventOrProbe(record);
    } catch (const std::bad_alloc&) {
        --mLiveHandles;
        mEndTimes.Erase(record.endTime, handle);
        ForgetEventOrProbe(record);
        EraseCommand(owner, handle);
        throw;
    }
    return 0;
}

bool CommandManager::EnterCommand(const EndTimeRecord& record, const CommandWrapper& cmd) {
    if (!InsertCommand(record.owner, record.handle, cmd)) {
        return false;
    }
    // The type decides, not the end time: a work mode carries its time of request as its end.
    if (cmd.GetType() == PERF_COMMAND_SHORT_START) {
        mEndTimes.Insert(record);
    }
    return true;
}

void CommandManager::EnterEventOrProbe(const EndTimeRecord& record) {
    if (record.owner == mReservedPid) {
        mEvents.emplace(record.kind, record.handle);
    } else if (record.kind == kProbeRecordKind) {
        mProbes.emplace(record.owner, record.handle);
    }
}

void CommandManager::Withdraw(int owner, unsigned long handle) {
    MutexLock lock(mMutex);
    std::erase_if(mEvents, [handle](const auto& event) { return event.second == handle; });
    CommandWrapper cmd;
    if (TakeCommand(owner, handle, cmd)) {
        TurnIntoRelease(cmd);
    }
}

bool CommandManager::InsertCommand(int owner, unsigned long handle, const CommandWrapper& cmd) {
    if (mSpareCommand.empty()) {
        return CommandsOf(owner).try_emplace(handle, cmd).second;
    }
    mSpareCommand.key() = handle;
    mSpareCommand.mapped() = cmd;
    auto inserted = CommandsOf(owner).insert(std::move(mSpareCommand));
    mSpareCommand = std::move(inserted.node);
    return inserted.inserted;
}

HandleCommandMap& CommandManager::CommandsOf(int owner) {
    if (mSpareOwner.empty()) {
        return mCommands[owner];
    }
    mSpareOwner.key() = owner;
    auto inserted = mCommands.insert(std::move(mSpareOwner));
    mSpareOwner = std::move(inserted.node);
    return inserted.position->second;
}

void CommandManager::DropOwner(OwnerMap::iterator owner) {
    mSpareOwner = mCommands.extract(owner);
    if (mSpareOwner.mapped().bucket_count() > kFewBuckets) {
        // The buckets of an owner of very many would stay as many.
        mSpareOwner.mapped() = HandleCommandMap();
    }
}

void CommandManager::ClearExpiredHandle(const TimePoint& now) {
    EndTimeRecord record;
    while (mEndTimes.TakeExpired(now, record)) {
        DropExpired(record);
    }
}

void CommandManager::DropExpired(const EndTimeRecord& record) {
    ForgetEventOrProbe(record);
    if (EraseCommand(record.owner, record.handle)) {
        --mLiveHandles;
    }
}

void CommandManager::ForgetEventOrProbe(const EndTimeRecord& record) {
    if (record.owner == mReservedPid) {
        mEvents.erase({record.kind, record.handle});
    } else if (record.kind == kProbeRecordKind) {
        ForgetProbe(record.owner, record.handle);
    }
}

bool CommandManager::EraseCommand(int owner, unsigned long handle) {
    const auto commands = mCommands.find(owner);
    if (commands == mCommands.end()) {
        return false;
    }
    const bool isErased = commands->second.erase(handle) != 0;
    mDepartures.fetch_add(1, std::memory_order_release);
    if (commands->second.empty()) {
        DropOwner(commands);
    }
    return isErased;
}

void CommandManager::ForgetProbe(int tid, unsigned long handle) {
    const auto probe = mProbes.find(tid);
    if (probe != mProbes.end() && probe->second == handle) {
        mProbes.erase(probe);
    }
}

int CommandManager::DeleteFromShortTermEndtimeMap(const TimePoint& end, unsigned long handle) {
    return mEndTimes.Erase(end, handle) ? 0 : -1;
}

}  // namespace corebeacon
