/// The handle table: issues the handles by which callers release what they asked for, keeps a copy
/// of every live command, forgets timed commands once their end has passed, and turns a stored
/// command into its release. Owned by the front; any thread may call it. Its mutex is held for the
/// whole of each operation and never while commands are sent. An operation that lacks memory throws
/// std::bad_alloc and leaves the table as it was; releases need none, but for those of an event.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <set>
#include <unordered_map>
#include <utility>
#include <vector>

#include "command/command_wrapper.h"
#include "command/end_time_index.h"
#include "corebeacon/group_state.h"
#include "platform/mutex.h"

namespace corebeacon {

inline constexpr unsigned int kDefaultMaxProcesses = 512;
inline constexpr unsigned int kDefaultMaxHandlesPerProcess = 1024;
inline constexpr unsigned int kDefaultMaxHandles = 8192;
inline constexpr int kDefaultReservedPid = 0;
inline constexpr unsigned long kFirstHandle = 1;

/// Handles of one owner, each with the command that it stands for.
using HandleCommandMap = std::unordered_map<unsigned long, CommandWrapper>;

/// Who holds a handle.
struct HandleOrigin {
    RequestOrigin kind = RequestOrigin::UNKNOWN;
    int pid = 0;              ///< of a client; the thread of a probe
    PerfEventId eventId = 0;  ///< of an event
};
using HandleOrigins = std::unordered_map<unsigned long, HandleOrigin>;

class CommandManager {
    using OwnerMap = std::unordered_map<int, HandleCommandMap>;

public:
    /// Sizes of the tables.
    struct Counts {
        unsigned int liveHandles = 0;
        std::size_t commands = 0;
        std::size_t owners = 0;
        std::size_t endTimeRecords = 0;
        std::size_t events = 0;
        std::size_t probes = 0;
    };

    /// Requests must name a pid above `reservedPid`, which owns the service's events.
    explicit CommandManager(unsigned int maxProcesses = kDefaultMaxProcesses,
                            unsigned int maxHandlesPerProcess = kDefaultMaxHandlesPerProcess,
                            unsigned int maxHandles = kDefaultMaxHandles,
                            int reservedPid = kDefaultReservedPid,
                            unsigned long firstHandle = kFirstHandle);

    /// Issues a handle for a client's request, fills it into `cmd` and stores a copy of `cmd`.
    /// ShortStart, LongStart and ModeStart are taken; a base-set command succeeds with kNoHandle.
    /// Returns 0, or -1 for a bad pid or type or a full table; `handle` is kInvalidHandle when none
    /// could be allocated.
    int RequestHandle(int pid, const TimePoint& now, CommandWrapper& cmd, unsigned long& handle);

    /// As RequestHandle, for a start of event `id`: one event may hold many handles. Sets the end
    /// of `cmd` to the latest end among itself and its items, since that ends the event.
    int RequestEventHandle(PerfEventId id, const TimePoint& now, CommandWrapper& cmd,
                           unsigned long& handle);

    /// As RequestEventHandle, for a probed thread. Returns 0 without touching `handle` when the
    /// thread is probed already, so a caller that presets kNoHandle can tell; 2 when no handle can
    /// be allocated; -1 for a bad command type.
    int RequestProbeHandle(int tid, const TimePoint& now, CommandWrapper& cmd,
                           unsigned long& handle);

    /// Whether the command table holds `handle` for `pid`; expired commands may still be there.
    bool IsRegistered(int pid, unsigned long handle) const;

    /// The same of a command that the table filled a handle into, by one look at a number as long
    /// as nothing has left the table since.
    bool IsStillRegistered(int owner, const CommandWrapper& cmd) const {
        // Counted before the stop of what left is queued: who had its start queued behind that
        // stop sees the count.
        return cmd.GetTableStamp() == mDepartures.load(std::memory_order_acquire) ||
               IsRegistered(owner, cmd.GetHandle());
    }

    /// Whether a probe of the thread is stored; likewise, an expired one may still be there.
    bool IsProbed(int tid) const;

    /// Turns a start type into its stop type; ModeStart stays, for its release goes through the
    /// work mode manager. -1 for any other type, which is left unchanged.
    int UpdateReleaseCommandType(CommandWrapper& cmd) const;

    /// Forgets a command whose start was not sent after all; harmless for an unknown handle.
    void Withdraw(int owner, unsigned long handle);

    // The builders take commands out of the table and answer with their releases. What has expired
    // is no longer found. They return 0, or -1 when there is nothing to release or a command could
    // not be turned; a command once taken out does not come back.

    int BuildReleaseCommand(int pid, unsigned long handle, CommandWrapper& out);
    int BuildReleaseAllCommand(int pid, HandleCommandMap& out);
    /// Everything of every owner, events and probes included.
    int BuildReleaseAllCommand(std::unordered_map<int, HandleCommandMap>& out);
    /// All running starts of the event; appends to `out`.
    int BuildEventReleaseCommand(PerfEventId id, std::vector<CommandWrapper>& out);
    int BuildProbeReleaseCommand(int tid, CommandWrapper& out);

    /// Tells of each handle that is a key of `origins` who holds it; those that nobody holds stay
    /// as they are. Looks at every handle in the table, and takes no memory.
    void FindOrigins(HandleOrigins& origins) const;

    Counts GetCounts() const;

private:
    friend class CommandManagerPeer;  // lets tests break the tables, which no operation can

    /// The next handle, counted as live; kInvalidHandle when there is none for this owner.
    unsigned long AllocHandleByPid(int pid) REQUIRES(mMutex);
    /// Stores a copy of `cmd` under a handle just allocated, with all that belongs to a command of
    /// its kind.
    int StoreCommand(int owner, unsigned long handle, std::uint32_t kind, CommandWrapper& cmd)
        REQUIRES(mMutex);
    /// The steps of StoreCommand: false, with nothing entered, for a handle that is there already.
    bool EnterCommand(const EndTimeRecord& record, const CommandWrapper& cmd) REQUIRES(mMutex);
    void EnterEventOrProbe(const EndTimeRecord& record) REQUIRES(mMutex);
    void ClearExpiredHandle(const TimePoint& now) REQUIRES(mMutex);
    /// Removes an expired record's command and event entry or probe entry.
    void DropExpired(const EndTimeRecord& record) REQUIRES(mMutex);
    int DeleteFromShortTermEndtimeMap(const TimePoint& end, unsigned long handle) REQUIRES(mMutex);
    void ForgetEventOrProbe(const EndTimeRecord& record) REQUIRES(mMutex);
    void ForgetProbe(int tid, unsigned long handle) REQUIRES(mMutex);
    /// Whether it was there. The live count is left to the caller.
    bool EraseCommand(int owner, unsigned long handle) REQUIRES(mMutex);

    int ComposeReleaseCommand(int owner, unsigned long handle, CommandWrapper& out)
        REQUIRES(mMutex);
    /// Moves a stored command into `out`, with all that the tables say of it; false if not stored.
    bool TakeCommand(int owner, unsigned long handle, CommandWrapper& out) REQUIRES(mMutex);
    /// Stores a copy of `cmd`; false if the handle is taken.
    bool InsertCommand(int owner, unsigned long handle, const CommandWrapper& cmd) REQUIRES(mMutex);
    /// The commands of an owner, who may be new.
    HandleCommandMap& CommandsOf(int owner) REQUIRES(mMutex);
    /// Forgets an owner who has no command left.
    void DropOwner(OwnerMap::iterator owner) REQUIRES(mMutex);
    /// Turns a command that has left the table into its release.
    int TurnIntoRelease(CommandWrapper& cmd) REQUIRES(mMutex);

    // fixed after construction
    const unsigned int mMaxProcesses;
    const unsigned int mMaxHandlesPerProcess;
    const unsigned int mMaxHandles;
    const int mReservedPid;

    std::atomic<std::uint64_t> mDepartures{0};  // changed under mMutex

    mutable Mutex mMutex;
    // guarded by mMutex
    unsigned int mLiveHandles GUARDED_BY(mMutex) = 0;
    unsigned long mNextHandle GUARDED_BY(mMutex);
    EndTimeIndex mEndTimes GUARDED_BY(mMutex);
    OwnerMap mCommands GUARDED_BY(mMutex);
    // What left the table last, kept without its content for who comes next: most clients hold one
    // request at a time, and would ask the heap for both each time.
    OwnerMap::node_type mSpareOwner GUARDED_BY(mMutex);
    HandleCommandMap::node_type mSpareCommand GUARDED_BY(mMutex);
    /// Event id and handle. An ordered set serves as a multimap whose single entry is found fast.
    std::set<std::pair<PerfEventId, unsigned long>> mEvents GUARDED_BY(mMutex);
    std::unordered_map<int, unsigned long> mProbes GUARDED_BY(mMutex);
};

}  // namespace corebeacon
