/// One tunable of a resource, and the arbitration over it. Many callers ask at once for a floor
/// ("boost") or a ceiling ("limit"), for a while (short term) or until they release it (long term,
/// "base"). The group keeps every request in order, reduces them to one final pair and has its kind
/// write that pair. Owned by its PerfResource through a shared pointer. Only the resource's worker
/// calls it, so it has no lock; callers' threads may use GroupValueValidate and the checks that it
/// calls, which read nothing that changes after construction.
///
/// Operations return a negative number for failure, 0 when nothing needs to be written, and else
/// the result of the write that they caused. The group never reads a clock: its resource says what
/// time it is.
#pragma once

#include <sstream>
#include <string>
#include <vector>

#include "command/command_wrapper.h"
#include "corebeacon/group_config.h"
#include "corebeacon/group_state.h"
#include "corebeacon/perf_types.h"
#include "engine/dump_info.h"
#include "engine/perf_group_queue.h"

namespace corebeacon {

/// A command as one group sees it: one or two values.
struct PerfGroupCommand {
    unsigned long handle = kNoHandle;
    TimePoint startTime;
    TimePoint endTime;
    OperationValueMap values;
};

class PerfGroup {
public:
    /// `config` must have passed GroupParametersValidate; it is not referred to afterwards.
    PerfGroup(const PerfGroupConfig& config, PerfWorkMode workMode);
    virtual ~PerfGroup();
    PerfGroup(const PerfGroup&) = delete;
    PerfGroup& operator=(const PerfGroup&) = delete;

    /// Applies `level` on behalf of a related group whose value drives this one too: 0 or -1.
    virtual int RelatedGroupDoConfig(int level);
    /// Appends the base values as they are written, with the nodes that they go to.
    virtual void DumpBaseValueAfterMapping(std::vector<SpecifiedGroupDumpInfo>& info) const = 0;
    /// Appends the limits that were in force lately, if the kind remembers them. Any thread.
    virtual int DumpLimitHistoryLog(std::ostringstream& out);
    /// Whether commands of `type` may carry `operation`: 0 or -1. Any thread.
    virtual int CheckOperationType(PerfCommandType type, PerfOperationType operation) const;
    /// Whether `value` may be asked for: 0 or -1. May bring it into range. Any thread.
    virtual int OperationValueValidate(int& value) const;
    /// Writes the final pair to the kernel. A failure is logged where it is found and the next
    /// change writes afresh, so the result changes nothing.
    virtual int DoConfig(int boost, int limit) = 0;
    /// Closes the nodes; the next write opens them again.
    virtual void CloseAllFds();
    /// Tells the kind and what its nodes were given.
    virtual void DescribeKind(GroupState& state) const;

    /// Whether a group can be built from `config`; logs why not.
    static bool GroupParametersValidate(const PerfGroupConfig& config);
    /// Whether `values` may be queued as a `type` command: 0 or -1. May clamp in place. Any thread.
    int GroupValueValidate(PerfCommandType type, OperationValueMap& values) const;

    /// Tells the time to the starts and stops that follow.
    void UpdateCurrTimePoint(const TimePoint& now) { mCurrTimePoint = now; }
    int ShortTermStart(const PerfGroupCommand& command);
    /// Takes back a ShortTermStart; must carry the same values and start time.
    int ShortTermStop(const PerfGroupCommand& command);
    /// Drops the short-term items that have ended and lets the waiting ones begin.
    int ShortTermTimeOut(const TimePoint& now);
    int LongTermStart(const PerfGroupCommand& command);
    /// Takes back a LongTermStart; must carry the same values.
    int LongTermStop(const PerfGroupCommand& command);
    /// Replaces the value of the floor that stands when nobody asks for anything.
    int BaseSet(const PerfGroupCommand& command);
    /// Settles everything anew under `workMode` and writes it, changed or not.
    int SetWorkMode(PerfWorkMode workMode);
    /// A suspended group goes on arbitrating, but writes nothing and holds no node open.
    int SetSuspend(bool suspend);

    /// When ShortTermTimeOut is next needed; the epoch for never.
    TimePoint GetNextWakeUpTimePoint() const;
    int GetFinalBoostValue() const { return mFinalBoost; }
    int GetFinalLimitValue() const { return mFinalLimit; }
    const std::string& GetName() const { return mName; }
    unsigned int GetGroupId() const { return mGroupId; }

    /// The pair that is written for the effective values: 0 or -1.
    int GenerateFinalValue(int& boost, int& limit) const;
    /// Settles the long-term items and, if that changed anything, all that follows from them.
    int GenerateAndWriteFinalValue();
    /// Settles the short-term items and writes the outcome, changed or not.
    int UpdateShortTermCommandAndWriteValue();
    /// 1 when the effective base pair changed, 0 when it did not, -1 for an unknown work mode.
    int UpdateEffectiveLongTermCommand();
    void UpdateEffectiveShortTermCommand();
    void UpdateEffectiveLimit(bool hasShortTermBoost);

    /// Two lines: what is in force, and what is queued behind it.
    void Dump(std::ostringstream& out) const;
    void DumpPart1(std::ostringstream& out) const;
    void DumpPart2(std::ostringstream& out) const;
    void DumpBase(GroupDumpInfo& info) const;
    /// Tells all that is known of the group at `now`, except the QoS and who holds the handles.
    void Inspect(const TimePoint& now, GroupState& state) const;

protected:
    /// A group in the same state, to try out what would become of it. A kind of its own: it knows
    /// no nodes.
    PerfGroup(const PerfGroup& other, const std::string& name);

    /// Appends what is asked for, each item with what became of it.
    void DescribeItems(const TimePoint& now, std::vector<GroupItemState>& items) const;
    /// The standing floor and ceiling, in the unit of requests.
    int GetBoostBaseValue() const { return mBoostBaseQue.Head().value; }
    int GetLimitBaseValue() const { return mLimitBaseQue.Head().value; }
    PerfWorkMode GetWorkMode() const { return mWorkMode; }
    bool IsSuspended() const { return mSuspended; }

    // Steps of the commands. Each returns -1 for failure, 0 for no change of a head, 1 for one.

    /// 1 for a command to carry out, 0 for one that is over already, -1 for a malformed one.
    int IsValidShortTermCommand(const PerfGroupCommand& command) const;
    bool IsThereNeedTowait(const PerfGroupQueItem& item) const;
    int AddShortTermCommand(const PerfGroupCommand& command);
    int DispathCommandToShortTermQue(const PerfGroupQueItem& item);
    void AddToWaitingQue(const PerfGroupQueItem& item);
    int DeleteShortTermCommand(const PerfGroupCommand& command);
    void DeleteFromWaitingQue(const PerfGroupCommand& command);
    int DeleteFromBoostQue(const PerfGroupQueItem& item);
    int DeleteFromLimitQue(const PerfGroupQueItem& item);
    int DeleteExpiredShortTermCommand();
    int DeleteExpiredWaitingCommand();
    static bool CheckCurrValueChangeAfterTimeOut(const PerfGroupQueItem& before,
                                                 const PerfGroupQueItem& after);

    int AddLongTermCommand(const PerfGroupCommand& command);
    int DeleteLongTermCommand(const PerfGroupCommand& command);
    int DeleteFromBoostBaseQue(const PerfGroupQueItem& item);
    int DeleteFromLimitBaseQue(const PerfGroupQueItem& item);
    int UpdateDefaultBoostBaseItem(const PerfGroupCommand& command);
    int UpdateDefaultBoostBaseValue(const PerfGroupQueItem& item);

    // Fixed after construction.
    const unsigned int mGroupId;
    const std::string mName;
    const int mAvailableMin;
    const int mAvailableMax;
    const bool mClampOutOfRange;

private:
    bool IsValidHandle(unsigned long handle) const;
    bool IsValidOperation(PerfOperationType operation) const;
    bool IsValidCommandNum(const PerfGroupCommand& command) const;
    template <typename Step>
    int ForEachItem(const PerfGroupCommand& command, Step step) const;

    // Worker thread only.
    TimePoint mCurrTimePoint;
    int mFinalBoost;
    int mFinalLimit;
    int mEffectiveBoost;
    int mEffectiveLimit;
    int mEffectiveBaseBoost;
    int mEffectiveBaseLimit;
    PerfGroupQueue mBoostQue;
    PerfGroupQueue mLimitQue;
    PerfGroupQueue mBoostBaseQue;
    PerfGroupQueue mLimitBaseQue;
    PerfGroupQueue mWaitingQue;
    // Whether nobody held a standing limit when the effective limit was settled last. That it has
    // changed since is no reason to settle anew.
    bool mBaseLimitWasAlone = true;
    bool mSuspended = false;
    PerfWorkMode mWorkMode;
};

}  // namespace corebeacon
