/// What a whole engine must do, made of the models of its parts: callers' operations become tasks
/// in each knob's queue, and a queue moves on only when it is told to. Owned by a test, used by one
/// thread.
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "corebeacon/config_manager.h"
#include "model/engine_table.h"
#include "model/naive_group.h"
#include "model/naive_handle_table.h"
#include "model/work_mode_game.h"

namespace corebeacon::model {

/// Node and text.
using NodeWrite = std::pair<std::string, std::string>;

struct NaiveTask {
    std::uint32_t type = 0;
    unsigned long handle = 0;
    TimePoint start;
    TimePoint end;
    std::uint32_t workMode = 0;
    GroupValueMap groups;
};

/// One QoS: its groups and what is queued for them. A gate in the queue is an empty task.
class NaiveKnob {
public:
    NaiveKnob(const Knob& knob, std::uint32_t workMode);

    int Validate(std::uint32_t type, GroupValueMap& groups) const;
    void Queue(const std::optional<NaiveTask>& task) { mTasks.push_back(task); }
    /// Carries out what is queued before the next gate, and removes that.
    void RunToGate(TimePoint now, std::vector<NodeWrite>& writes);
    /// Carries out all that is queued and what is due.
    void Drain(TimePoint now, std::vector<NodeWrite>& writes);

    const Knob& GetKnob() const { return *mKnob; }
    std::string Dump() const;

private:
    void Do(const NaiveTask& task, TimePoint now, std::vector<NodeWrite>& writes);
    static int Ask(NaiveGroup& group, const NaiveTask& task, const PerfGroupCommand& command);
    void TimeOuts(TimePoint now, std::vector<NodeWrite>& writes);
    void Collect(std::vector<NodeWrite>& writes);
    TimePoint NextWakeUp() const;

    const Knob* mKnob;
    std::vector<NaiveGroup> mGroups;
    std::vector<int> mTopLimits;
    bool mSuspended = false;
    std::deque<std::optional<NaiveTask>> mTasks;
};

class NaiveEngine {
public:
    NaiveEngine(const HandleLimits& limits, std::uint32_t workMode, TimePoint now);

    int Request(int pid, unsigned int duration, const std::vector<PerfRequestInfo>& request,
                unsigned long& handle);
    int Release(int pid, unsigned long handle);
    int ReleaseAll(int pid);
    int Reset();
    int SetScenario(int pid, std::uint32_t id, unsigned long& handle);
    int SetMode(int pid, std::uint32_t mode, unsigned long& handle);
    int SetSuspend(const std::vector<unsigned int>& params);
    int StartEvent(std::uint32_t id, unsigned int duration);
    void StopEvent(std::uint32_t id);
    int StartProbe(int tid);
    void StopProbe(int tid);

    void PassTime(std::chrono::milliseconds step) { mNow += step; }
    /// Queues a task, or a gate, for one knob alone.
    void Queue(std::size_t knob, const std::optional<NaiveTask>& task) { mKnobs[knob].Queue(task); }
    void RunToGate(std::size_t knob) { mKnobs[knob].RunToGate(mNow, writes); }
    void Drain(std::size_t knob) { mKnobs[knob].Drain(mNow, writes); }
    std::string Dump(std::size_t knob) const { return mKnobs[knob].Dump(); }

    std::vector<NodeWrite> writes;  ///< of all knobs, in order

private:
    NaiveKnob* KnobOf(std::uint32_t qosId);
    /// The order in which the engine's table hands out what one owner holds is the order of its
    /// hash map, so a map of the same type goes through the same insertions and removals here.
    void Remember(int owner, unsigned long handle);
    void Forget();
    void Send(std::uint32_t type, unsigned long handle,
              const std::vector<std::shared_ptr<PerfCommandItem>>& items);
    int SendRelease(const NaiveCommand& command);
    int Start(int pid, const CommandWrapper& cmd, unsigned long& handle);
    void Broadcast(std::uint32_t workMode);

    TimePoint mNow;
    const int mReservedPid;
    NaiveHandleTable mTable;
    NaiveWorkModes mModes;
    std::vector<NaiveKnob> mKnobs;
    std::unordered_map<int, std::unordered_map<unsigned long, int>> mOrder;
};

}  // namespace corebeacon::model
