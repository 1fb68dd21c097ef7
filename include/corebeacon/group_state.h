/// What the engine tells of one group when it is inspected: who asks what of it, what came out of
/// that and why, and what its nodes were given. Plain values that ConfigManager::Inspect fills in
/// and its caller then owns; any thread may copy them.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "corebeacon/perf_types.h"

namespace corebeacon {

/// The two sides of a group's value, in the unit of requests.
struct GroupPair {
    int floor = 0;
    int ceiling = 0;

    bool operator==(const GroupPair&) const = default;
};

/// How a pair becomes writes.
enum class GroupKind : std::uint32_t {
    OTHER = 0,
    FREQUENCY,        ///< floor and ceiling, a node each
    DDR,              ///< the floor, as a frequency or a bandwidth
    SINGLE_NODE,      ///< the floor, as a number
    LEVEL_MAP,        ///< the texts that the floor's level stands for, one a node
    IOCTL_LEVEL_MAP,  ///< the same by ioctl(2)
    IPA_POWER,        ///< a power budget, or the switches that it stands for
    IPA_SWITCH_TEMP,  ///< as SINGLE_NODE, where the board has the allocator
    TARGET_RATIO,     ///< as LEVEL_MAP, when the monitor's switch allows it
    MONITOR_ENABLE,   ///< as LEVEL_MAP, when the ratio allows it
};

/// What became of the last text for a node.
enum class NodeWriteStatus : std::uint32_t {
    NOTHING_WRITTEN = 0,  ///< by this engine; the node has what it had before
    WRITTEN,              ///< the node took it
    FAILED,               ///< the node did not take it
};

struct NodeState {
    std::string path;
    NodeWriteStatus status = NodeWriteStatus::NOTHING_WRITTEN;
    std::string text;  ///< the last one, taken or not; a 4-byte number as decimal text
    int error = 0;     ///< errno of a failure; 0 for a short write
};

/// Who asked.
enum class RequestOrigin : std::uint32_t {
    UNKNOWN = 0,  ///< nobody: a base value, or a handle that is no longer registered
    CLIENT,       ///< a process, by a request or a scenario
    EVENT,        ///< the start of an event
    PROBE,        ///< the probe of a thread
};

/// What became of a request on its own side: a boost's on the floor, a limit's on the ceiling.
enum class GroupRule : std::uint32_t {
    IN_FORCE = 0,    ///< it decides its side
    LOWER_BOOST,     ///< a higher floor is asked for
    HIGHER_LIMIT,    ///< a lower ceiling is asked for
    EQUAL,           ///< another that was there first already gives as much
    LIMIT_WINS,      ///< a boost above a limit that the work mode lets win
    BOOST_WINS,      ///< a limit below a boost that the work mode lets win
    ESCAPED,         ///< a standing limit, lifted by a timed boost
    REPLACED,        ///< a standing limit, in whose place a timed one counts
    NOT_TIGHTENING,  ///< a timed limit, which cannot lower a standing one here
    IGNORED,         ///< a timed limit, which counts for nothing in work mode 2
    WAITING,         ///< its start is still ahead
    EXPIRED,         ///< its end has passed; it is dropped once it comes to the front
};

/// One request on a group, or one of its two base values.
struct GroupItemState {
    unsigned long handle = 0;  ///< all ones for a base value, as GroupState::kNobody
    RequestOrigin origin = RequestOrigin::UNKNOWN;
    int pid = 0;              ///< of a client; the thread of a probe; else 0
    PerfEventId eventId = 0;  ///< of an event, else 0
    PerfOperationType operation = PERF_OPERATION_BOOST;
    int value = 0;                ///< as it was accepted, that is, in the range
    bool isTimed = false;         ///< else it stands until it is released
    TimePoint start;              ///< the epoch for a base value
    TimePoint end;                ///< of a timed one, else the epoch
    bool decidesFloor = false;    ///< a limit may decide the floor, too, by cutting a boost down
    bool decidesCeiling = false;  ///< and a boost the ceiling, by lifting it
    GroupRule rule = GroupRule::IN_FORCE;
    unsigned long beatenBy = 0;  ///< the handle that the rule speaks of; 0 where it names none
    /// Of an item that decides a side: what is in force after it is released now, with all that is
    /// overdue dropped, and after it has come to its end, if nobody asks for anything else until
    /// then. The same for a standing one.
    GroupPair afterRelease;
    GroupPair afterEnd;

    bool Decides() const { return decidesFloor || decidesCeiling; }
};

struct GroupState {
    /// The handle of a base value.
    static constexpr unsigned long kNobody = ~0UL;

    PerfQosId qosId = PERF_QOS_INVALID;
    std::string qosName;
    unsigned int groupId = 0;
    std::string name;
    GroupKind kind = GroupKind::OTHER;
    PerfWorkMode workMode = PERF_WORK_MODE_0;
    bool isSuspended = false;  ///< then the pair in force is not written
    GroupPair base;            ///< what holds while nobody asks for anything
    GroupPair inForce;         ///< the pair that was written last, or would have been
    int rangeMin = 0;
    int rangeMax = 0;
    bool isClamping = false;  ///< requests beyond the range are brought into it, not refused
    std::vector<NodeState> nodes;
    TimePoint inspectedAt;
    TimePoint nextWakeUp;  ///< when the group next changes by itself; the epoch for never
    /// Boosts and limits, timed and standing, those ahead first; then what waits, by its start.
    std::vector<GroupItemState> items;
};

}  // namespace corebeacon
