/// The command vocabulary, and the wrapper that carries one command to the many resources it
/// addresses. The front builds a wrapper and CommandManager keeps a copy of it; both share the
/// items, and so do the workers from the moment the wrapper is sent. A wrapper has no lock: one
/// thread at a time owns it, and an item is never changed once it may have been sent.
#pragma once

#include <cstdint>
#include <memory>
#include <sstream>
#include <string>

#include "command/handle.h"
#include "config/group_values.h"
#include "corebeacon/perf_types.h"
#include "platform/small_vector.h"

namespace corebeacon {

/// What a command does. A release carries the stop type that belongs to its start type.
enum PerfCommandType : std::uint32_t {
    PERF_COMMAND_SHORT_START = 0,  ///< timed request
    PERF_COMMAND_SHORT_STOP = 1,
    PERF_COMMAND_LONG_START = 2,  ///< untimed request or scenario, in force until released
    PERF_COMMAND_LONG_STOP = 3,
    PERF_COMMAND_MODE_START = 4,     ///< work-mode request; its release keeps this type
    PERF_COMMAND_GET_LOG = 5,        ///< each resource dumps its groups and limit history
    PERF_COMMAND_GET_BASE_INFO = 6,  ///< each resource dumps its base values
    PERF_COMMAND_SUSPEND = 7,
    PERF_COMMAND_RESUME = 8,
    PERF_COMMAND_BASE_SET = 9,  ///< sets base values; holds no handle
    // Apart from those above, which callers' dumps and logs know by number.
    PERF_COMMAND_INSPECT = 100,  ///< each resource tells the state of its groups
};

/// One QoS's share of a request, with all of the caller's elements for that QoS merged.
struct QosInfoInt {
    PerfQosId qosId = PERF_QOS_INVALID;
    GroupValueMap groups;
};

/// A request, ascending by QoS, each of which occurs once.
class QosInfos : public SmallVector<QosInfoInt, 1> {};

struct PerfCommandItem;

/// A stop that found no memory in its resource's queue and is chained up instead, see CommandFifo.
struct LateStop {
    bool isWaiting = false;
    PerfCommandType type = PERF_COMMAND_SHORT_STOP;
    std::shared_ptr<PerfCommandItem> next;
};

/// The part of a command that goes to one resource.
struct PerfCommandItem {
    PerfQosId qosId = PERF_QOS_CPU_L;
    unsigned long handle = 0;  ///< 0 until FillInHandle
    PerfWorkMode workMode = PERF_WORK_MODE_0;
    TimePoint startTime;
    TimePoint endTime;  ///< the epoch for a command without end
    GroupValueMap groups;
    LateStop lateStop;  ///< the queue's own; guarded by the mutex of the queue
};

/// One item for each addressed resource, in the order in which they were inserted.
using CommandItems = SmallVector<std::shared_ptr<PerfCommandItem>, 1>;

class CommandWrapper {
public:
    CommandWrapper() = default;
    /// `end` is the epoch for an untimed command; `duration` is in milliseconds, 0 for an untimed
    /// one.
    CommandWrapper(PerfCommandType type, const TimePoint& start, const TimePoint& end,
                   unsigned int duration);

    PerfCommandType GetType() const { return mType; }
    void SetType(PerfCommandType type) { mType = type; }
    unsigned long GetHandle() const { return mHandle; }
    const TimePoint& GetStartTime() const { return mStartTime; }
    const TimePoint& GetEndTime() const { return mEndTime; }
    void SetEndTime(const TimePoint& end) { mEndTime = end; }
    /// What the handle table remembers a wrapper's entry by.
    std::uint64_t GetTableStamp() const { return mTableStamp; }
    void SetTableStamp(std::uint64_t stamp) { mTableStamp = stamp; }
    /// Milliseconds, as the caller gave them.
    unsigned int GetDuration() const { return mDuration; }
    const CommandItems& GetItems() const { return mItems; }
    /// Whether a bound thread belongs to the command; it may then be without items.
    bool IsProbe() const { return mIsProbe; }

    /// Stores the handle in the wrapper and, in place, in every item; only before it is sent.
    void FillInHandle(unsigned long handle);

    /// Gives every item the mode by putting an amended copy in its place: a worker may be reading
    /// the item that was sent before. An item that nobody else holds, such as that of a work mode
    /// being released, is amended itself, which takes no memory. The wrapper keeps its handle, the
    /// items theirs.
    void FillInWorkMode(PerfWorkMode mode);

    /// Appends an item with the wrapper's own times.
    void InsertRequestCommand(PerfQosId qos, GroupValueMap groups);
    /// Appends an item with times of its own. The wrapper's end stays as it is.
    void InsertEventCommand(PerfQosId qos, const TimePoint& start, const TimePoint& end,
                            GroupValueMap groups);
    /// Makes room for `count` items.
    void ReserveItems(std::size_t count) { mItems.reserve(count); }
    /// Appends the one item by which a work mode is broadcast; the resource manager sends it to
    /// all.
    void InsertWorkModeCommand();
    void InsertDebugCommand(PerfQosId qos);
    void InsertSuspendCommand(PerfQosId qos);
    /// Makes this the command of a probed thread and appends its boosts: group 0 of CPU_M, CPU_B
    /// and GPU, in this order, each only for a value other than 0.
    void InsertProbeCommand(const TimePoint& start, const TimePoint& end, int cpuM, int cpuB,
                            int gpu);
    /// Appends a ready-made item.
    void InsertItem(std::shared_ptr<PerfCommandItem> item);

    /// "ShortStart", "ShortStop", "LongStart", "LongStop" or "ModeStart"; all further types share
    /// the text "invalid command type", which is what dumps show for them.
    std::string GetCmdTypeString() const;

    /// Writes "<type> duration <ms>", then a line "{<qos>: [<group> (<operation>:<value>)...]...}"
    /// for each item.
    void Dump(std::ostringstream& out) const;

private:
    void AppendItem(PerfQosId qos, const TimePoint& start, const TimePoint& end,
                    GroupValueMap&& groups);

    PerfCommandType mType = PERF_COMMAND_SHORT_START;
    unsigned long mHandle = kNoHandle;
    TimePoint mStartTime;
    TimePoint mEndTime;
    CommandItems mItems;
    std::uint64_t mTableStamp = 0;
    unsigned int mDuration = 0;
    bool mIsProbe = false;
};

}  // namespace corebeacon
