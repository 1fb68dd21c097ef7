/// One QoS at work: the groups of its tunables, a queue of commands and the one thread that carries
/// them out. All node writes of a QoS happen on that thread in order of arrival, so groups need no
/// locks and callers never wait for the kernel. Owned by ResourceManager through shared pointers;
/// built by construction, InitResource and InitThread, in this order, on one thread. Sending,
/// validating and dumping may be done from any thread; everything else is the worker's.
///
/// Every most-derived destructor calls StopThread() first, so that the worker never runs a virtual
/// operation of a part that is already gone.
#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "command/command_wrapper.h"
#include "corebeacon/group_state.h"
#include "corebeacon/perf_types.h"
#include "corebeacon/qos_config.h"
#include "engine/command_fifo.h"
#include "engine/dump_info.h"
#include "engine/perf_group.h"
#include "platform/mutex.h"
#include "platform/thread_annotations.h"

namespace corebeacon {

/// What every kind of resource is constructed from. The configuration is read only while the
/// resource is being built.
struct ResConstructParam {
    const PerfQosConfig& config;
    PerfWorkMode workMode;
    PerfQosId qosId = PERF_QOS_INVALID;
};

/// What the worker woke up for.
enum class WorkStatus : std::uint32_t {
    NEW_COMMAND = 0,
    TIME_OUT = 1,
};

/// The member of PerfGroup that carries out one type of command.
using GroupCommandHandler = std::function<int(std::shared_ptr<PerfGroup>, const PerfGroupCommand&)>;

class PerfResource {
public:
    explicit PerfResource(const ResConstructParam& param);
    virtual ~PerfResource();
    PerfResource(const PerfResource&) = delete;
    PerfResource& operator=(const PerfResource&) = delete;

    /// Builds the groups: 0, or -1 when the rows are missing, misnumbered or refused by the kind.
    /// `isLoaded` is true for a configuration that was loaded as a description, false for one that
    /// was compiled in; kinds with two variants of a setting choose by it.
    virtual int InitResource(PerfQosConfig& config, bool isLoaded);
    /// Whether `groups` may be queued as a `type` command: 0 or -1. May clamp values in place.
    /// Any thread; reads only what is fixed once the resource is built.
    virtual int RequestValidate(PerfCommandType type, GroupValueMap& groups);
    /// Worker thread only. Lets every group expire and promote its short-term items.
    virtual int HandleCommandTimeOut();
    /// Worker thread only. Puts the item's work mode in force in every group.
    virtual int SetWorkMode(const PerfCommandItem& item);
    /// Worker thread only. Groups write nothing and hold no node open while suspended.
    virtual void SetSuspend(bool suspend);
    /// Fills mGroups, each group at the position that its id tells: 0 or -1.
    virtual int InitGroups(const PerfQosConfig& config, bool isLoaded) = 0;
    /// Worker thread only. Hands each group that `item` addresses its part of the command.
    virtual int CommandProcess(const PerfCommandItem& item, const GroupCommandHandler& handler);
    /// Worker thread only. Appends name, id and the groups' base values to `info`.
    virtual void DumpBase(ResourceDumpInfo& info);

    /// Starts the worker: 0, or -1 when the system grants no thread or the resource was stopped.
    int InitThread();
    /// Stops and joins the worker and closes the dump hand-over; commands still queued are dropped.
    /// Idempotent; for the owner's thread, never the worker's.
    void StopThread() EXCLUDES(mFifoMutex, mLogMutex);
    /// Tells the worker to end, without waiting for it; StopThread() must follow. Any thread.
    void RequestStop() EXCLUDES(mFifoMutex);

    /// Queues a command and returns 0 at once. Any thread. Throws std::bad_alloc, with nothing
    /// queued, when memory is lacking for a command that is neither a stop nor a work mode.
    int SendCommandToFifoQ(PerfCommand command) EXCLUDES(mFifoMutex);

    /// Waits, without a time limit, for the dump that the caller has queued a command for, and
    /// appends it to `out`: base information when `isBaseInfo`, else the log. It is empty when the
    /// worker had no memory for it. False, with nothing appended, when the resource is stopped
    /// before the worker got to it. Any thread.
    bool WaitLogFinish(bool isBaseInfo, std::ostringstream& out) EXCLUDES(mLogMutex);
    /// The same for the state of the groups; false also when there was no memory for it.
    bool WaitInspection(std::vector<GroupState>& groups) EXCLUDES(mLogMutex);
    /// Appends the limits that the groups had in force lately. Any thread.
    void DumpLimitHistoryLog(std::ostringstream& out);

    const std::string& GetName() const { return mName; }
    PerfQosId GetQosId() const { return mQosId; }
    std::size_t GetGroupCount() const { return mGroups.size(); }
    bool IsValidPerfGroupId(unsigned int groupId) const { return groupId < mGroups.size(); }
    /// Null for an id out of range and for a group that was not built.
    std::shared_ptr<PerfGroup> GetPerfGroupPtr(unsigned int groupId) const;

    // The worker's steps. Worker thread only, or, while no worker was started, whoever drives the
    // resource by hand.
    void HandleCommand(WorkStatus status) EXCLUDES(mFifoMutex);
    /// The earliest time at which a group changes by itself; the epoch when none does.
    TimePoint FindMinTime() const;
    /// Appends every group's queues and then the limit history.
    void Dump(std::ostringstream& out);
    /// Appends the state of every group.
    void Inspect(std::vector<GroupState>& groups) const;
    void GetLog() EXCLUDES(mLogMutex);
    void GetBaseInfo() EXCLUDES(mLogMutex);
    void GetInspection() EXCLUDES(mLogMutex);

protected:
    /// Whether every addressed group exists and accepts its values: 0 or -1. Any thread.
    int GroupValidate(PerfCommandType type, GroupValueMap& groups);
    /// What CommandProcess does in a kind that adds nothing to it.
    int NormalCommandProcess(const PerfCommandItem& item, const GroupCommandHandler& handler);

    // Fixed after InitResource.
    const std::string mName;
    const PerfQosId mQosId;
    std::vector<std::shared_ptr<PerfGroup>> mGroups;

    // Worker thread only, once it runs.
    PerfWorkMode mWorkMode;
    bool mSuspended = false;

private:
    /// What the worker may be asked to hand over; each kind is counted on its own.
    enum DumpKind : std::size_t { LOG_DUMP, BASE_INFO_DUMP, INSPECTION, DUMP_KIND_COUNT };

    /// How far one kind of dump has come. Counters instead of a flag: a text that nobody fetched is
    /// never taken for the answer to a later question.
    struct DumpProgress {
        std::uint64_t collected = 0;
        std::uint64_t delivered = 0;

        /// Counts a delivery, if there is a dump at least as new as the `wanted`-th question.
        bool Deliver(std::uint64_t wanted) {
            if (collected < wanted || delivered == collected) {
                return false;
            }
            ++delivered;
            return true;
        }
        /// Callers who asked at the same time share the newest dump; the last takes it away.
        bool IsLast() const { return delivered == collected; }
    };

    void WorkThread();
    std::optional<WorkStatus> WaitForWork(TimePoint next) EXCLUDES(mFifoMutex);
    int HandleNewCommand() EXCLUDES(mFifoMutex);
    int CommandDispath(const PerfCommand& command);
    void TakeBack(const PerfCommand& command);
    GroupCommandHandler GetCommandHandle(PerfCommandType type) const;
    void CountQuestion(PerfCommandType type);
    bool HandlePrintInfoLocked(bool isBaseInfo, std::uint64_t wanted, std::ostringstream& out)
        REQUIRES(mLogMutex);
    void PrintBaseInfo(std::ostringstream& out) const REQUIRES(mLogMutex);

    // Owner's thread only.
    std::thread mThread;

    Mutex mFifoMutex;
    CondVar mFifoCond;
    CommandFifo mFifo GUARDED_BY(mFifoMutex);
    bool mStop GUARDED_BY(mFifoMutex) = false;

    // How many dumps of each kind were queued.
    std::array<std::atomic<std::uint64_t>, DUMP_KIND_COUNT> mDumpsAsked{};

    Mutex mLogMutex;
    CondVar mLogCond;
    std::array<DumpProgress, DUMP_KIND_COUNT> mDumpProgress GUARDED_BY(mLogMutex);
    std::string mLogText GUARDED_BY(mLogMutex);
    ResourceDumpInfo mBaseInfo GUARDED_BY(mLogMutex);
    std::vector<GroupState> mInspection GUARDED_BY(mLogMutex);
    bool mHandOverClosed GUARDED_BY(mLogMutex) = false;
};

}  // namespace corebeacon
