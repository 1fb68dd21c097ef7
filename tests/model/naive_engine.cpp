#include "model/naive_engine.h"

#include <algorithm>

namespace corebeacon::model {

NaiveKnob::NaiveKnob(const Knob& knob, std::uint32_t workMode)
    : mKnob(&knob), mTopLimits(2, kKnobMax) {
    for (const unsigned int group : {0U, 1U}) {
        mGroups.emplace_back(RowOf(knob, group), workMode);
    }
}

int NaiveKnob::Validate(std::uint32_t type, GroupValueMap& groups) const {
    if (groups.size() > mGroups.size()) {
        return -1;
    }
    for (auto& [group, values] : groups) {
        if (group >= mGroups.size() || mGroups[group].Validate(type, values) != 0) {
            return -1;
        }
    }
    return 0;
}

TimePoint NaiveKnob::NextWakeUp() const {
    TimePoint next;
    for (const NaiveGroup& group : mGroups) {
        const TimePoint time = group.NextWakeUp();
        if (time != TimePoint() && (next == TimePoint() || time < next)) {
            next = time;
        }
    }
    return next;
}

/// Turns what the groups' kind was told into writes.
void NaiveKnob::Collect(std::vector<NodeWrite>& writes) {
    for (unsigned int i = 0; i < mGroups.size(); ++i) {
        for (const KindCall& call : mGroups[i].calls) {
            if (call == kCloseCall) {
                continue;
            }
            const std::string boost = std::to_string(call[0]);
            const std::string limit = std::to_string(call[1]);
            if (!mKnob->hasPair) {
                writes.emplace_back(NodePath(*mKnob, i, "value"), boost);
                continue;
            }
            writes.emplace_back(NodePath(*mKnob, i, "max"), limit);
            writes.emplace_back(NodePath(*mKnob, i, "min"), boost);
            writes.emplace_back(NodePath(*mKnob, i, "max"), limit);
            if (mKnob->hasTop && mTopLimits[i] != call[1]) {
                mTopLimits[i] = call[1];
                writes.emplace_back(TopPath(*mKnob), call[1] == kKnobMax ? "5000" : "0");
            }
        }
        mGroups[i].calls.clear();
    }
}

int NaiveKnob::Ask(NaiveGroup& group, const NaiveTask& task, const PerfGroupCommand& command) {
    switch (task.type) {
        case PERF_COMMAND_SHORT_START:
            return group.ShortTermStart(command);
        case PERF_COMMAND_SHORT_STOP:
            return group.ShortTermStop(command);
        case PERF_COMMAND_LONG_START:
            return group.LongTermStart(command);
        default:
            return group.LongTermStop(command);
    }
}

void NaiveKnob::Do(const NaiveTask& task, TimePoint now, std::vector<NodeWrite>& writes) {
    const bool suspend = task.type == PERF_COMMAND_SUSPEND;
    if (suspend || task.type == PERF_COMMAND_RESUME) {
        for (NaiveGroup& group : mGroups) {
            if (mSuspended != suspend) {
                group.SetSuspend(suspend);
            }
        }
        mSuspended = suspend;
    } else if (task.type == PERF_COMMAND_MODE_START) {
        for (NaiveGroup& group : mGroups) {
            group.SetWorkMode(task.workMode);
        }
    } else {
        for (const auto& [index, values] : task.groups) {
            NaiveGroup& group = mGroups[index];
            group.TellTime(now);
            if (Ask(group, task, {task.handle, task.start, task.end, values}) < 0) {
                break;
            }
        }
    }
    Collect(writes);
}

void NaiveKnob::TimeOuts(TimePoint now, std::vector<NodeWrite>& writes) {
    while (NextWakeUp() != TimePoint() && NextWakeUp() <= now) {
        for (NaiveGroup& group : mGroups) {
            group.ShortTermTimeOut(now);
        }
        Collect(writes);
    }
}

void NaiveKnob::RunToGate(TimePoint now, std::vector<NodeWrite>& writes) {
    while (!mTasks.empty()) {
        const std::optional<NaiveTask> task = mTasks.front();
        mTasks.pop_front();
        if (!task) {
            return;
        }
        Do(*task, now, writes);
    }
}

void NaiveKnob::Drain(TimePoint now, std::vector<NodeWrite>& writes) {
    while (!mTasks.empty()) {
        RunToGate(now, writes);
    }
    TimeOuts(now, writes);
}

std::string NaiveKnob::Dump() const {
    return mGroups[0].Dump() + mGroups[1].Dump();
}

NaiveEngine::NaiveEngine(const HandleLimits& limits, std::uint32_t workMode, TimePoint now)
    : mNow(now),
      mReservedPid(limits.reservedPid),
      mTable({limits.maxProcesses, limits.maxHandlesPerProcess, limits.maxHandles,
              limits.reservedPid, 1}) {
    mModes.Init(workMode);
    for (const Knob& knob : Knobs()) {
        mKnobs.emplace_back(knob, workMode);
    }
}

NaiveKnob* NaiveEngine::KnobOf(std::uint32_t qosId) {
    for (NaiveKnob& knob : mKnobs) {
        if (knob.GetKnob().qosId == qosId) {
            return &knob;
        }
    }
    return nullptr;
}

void NaiveEngine::Forget() {
    for (auto owner = mOrder.begin(); owner != mOrder.end();) {
        std::erase_if(owner->second, [this, &owner](const auto& entry) {
            return !mTable.IsRegistered(owner->first, entry.first);
        });
        owner = owner->second.empty() ? mOrder.erase(owner) : std::next(owner);
    }
}

void NaiveEngine::Remember(int owner, unsigned long handle) {
    Forget();
    mOrder[owner][handle] = 0;
}

void NaiveEngine::Send(std::uint32_t type, unsigned long handle,
                       const std::vector<std::shared_ptr<PerfCommandItem>>& items) {
    for (const auto& item : items) {
        KnobOf(item->qosId)
            ->Queue(NaiveTask{type, handle, item->startTime, item->endTime, 0, item->groups});
    }
}

void NaiveEngine::Broadcast(std::uint32_t workMode) {
    NaiveTask task;
    task.type = PERF_COMMAND_MODE_START;
    task.workMode = workMode;
    for (NaiveKnob& knob : mKnobs) {
        knob.Queue(task);
    }
}

int NaiveEngine::Start(int pid, const CommandWrapper& cmd, unsigned long& handle) {
    if (mTable.Request(pid, mNow, cmd, handle) != 0) {
        return -1;
    }
    Remember(pid, handle);
    return 0;
}

int NaiveEngine::Request(int pid, unsigned int duration,
                         const std::vector<PerfRequestInfo>& request, unsigned long& handle) {
    if (duration != 0 && (duration < 20 || duration > 60000)) {
        return -1;
    }
    std::map<std::uint32_t, GroupValueMap> merged;
    for (const PerfRequestInfo& element : request) {
        if (element.qosId == PERF_QOS_EAS_BASE) {
            return -1;  // nothing here has base values to set
        }
        GroupValueMap& groups = merged[element.qosId];
        for (const GroupInfo& group : element.groups) {
            for (const auto& [operation, value] : group.values) {
                groups[group.groupId][operation] = value;
            }
        }
    }
    const std::uint32_t type = duration != 0 ? PERF_COMMAND_SHORT_START : PERF_COMMAND_LONG_START;
    const TimePoint end = duration != 0 ? mNow + std::chrono::milliseconds(duration) : TimePoint();
    CommandWrapper cmd(static_cast<PerfCommandType>(type), mNow, end, duration);
    for (auto& [qosId, groups] : merged) {
        NaiveKnob* knob = KnobOf(qosId);
        if (knob == nullptr) {
            continue;
        }
        if (knob->Validate(type, groups) != 0) {
            return -1;
        }
        cmd.InsertRequestCommand(static_cast<PerfQosId>(qosId), groups);
    }
    if (cmd.GetItems().empty() || Start(pid, cmd, handle) != 0) {
        return -1;
    }
    Send(type, handle, {cmd.GetItems().begin(), cmd.GetItems().end()});
    return 0;
}

int NaiveEngine::SendRelease(const NaiveCommand& command) {
    if (command.type != PERF_COMMAND_MODE_START) {
        Send(command.type, command.handle, command.items);
        return 0;
    }
    std::uint32_t mode = 0;
    const int changed = mModes.Release(command.handle, mode);
    if (changed > 0) {
        Broadcast(mode);
    }
    return std::min(changed, 0);
}

int NaiveEngine::Release(int pid, unsigned long handle) {
    std::vector<NaiveCommand> out;
    const int result = mTable.Release(pid, handle, mNow, out) == 0 ? SendRelease(out.front()) : 0;
    Forget();
    return result;
}

int NaiveEngine::ReleaseAll(int pid) {
    std::vector<NaiveCommand> out;
    if (mTable.ReleaseAll(pid, mNow, out) != 0) {
        Forget();
        return 0;
    }
    int result = 0;
    for (const auto& [handle, unused] : mOrder[pid]) {
        for (const NaiveCommand& command : out) {
            if (command.handle == handle && result == 0) {
                result = SendRelease(command);
            }
        }
    }
    Forget();
    return result;
}

int NaiveEngine::Reset() {
    std::vector<NaiveCommand> out;
    mTable.ReleaseAll(mNow, out);
    for (const auto& [owner, handles] : mOrder) {
        for (const auto& [handle, unused] : handles) {
            for (const NaiveCommand& command : out) {
                if (command.owner == owner && command.handle == handle) {
                    SendRelease(command);
                }
            }
        }
    }
    mOrder = {};
    return 0;
}

int NaiveEngine::SetScenario(int pid, std::uint32_t id, unsigned long& handle) {
    for (const ConfigurableScenario& scenario : Scenarios()) {
        if (scenario.scenarioId == id) {
            return Request(pid, 0, scenario.requests, handle);
        }
    }
    return -1;
}

int NaiveEngine::SetMode(int pid, std::uint32_t mode, unsigned long& handle) {
    if (mode > 2) {
        return -1;
    }
    CommandWrapper cmd(PERF_COMMAND_MODE_START, mNow, mNow, 0);
    cmd.InsertWorkModeCommand();
    if (Start(pid, cmd, handle) != 0) {
        return -1;
    }
    std::uint32_t inForce = 0;
    if (mModes.Set(handle, mode, inForce) > 0) {
        Broadcast(inForce);
    }
    return 0;
}

int NaiveEngine::SetSuspend(const std::vector<unsigned int>& params) {
    if (params.size() < 2) {
        return -1;
    }
    NaiveTask task;
    task.type = params[0] != 0 ? PERF_COMMAND_SUSPEND : PERF_COMMAND_RESUME;
    bool any = false;
    for (std::size_t i = 1; i < params.size(); ++i) {
        if (NaiveKnob* knob = KnobOf(params[i])) {
            knob->Queue(task);
            any = true;
        }
    }
    return any ? 0 : -1;
}

int NaiveEngine::StartEvent(std::uint32_t id, unsigned int duration) {
    const auto event =
        std::find_if(Events().begin(), Events().end(),
                     [id](const ConfigurableEvent& known) { return known.eventId == id; });
    if (event == Events().end()) {
        return -1;
    }
    CommandWrapper cmd(PERF_COMMAND_SHORT_START, mNow, mNow, duration);
    for (const QosCommand& qos : event->qosCommands) {
        TimePoint start = mNow;
        for (const SequenceCommand& step : qos.sequence) {
            GroupValueMap groups;
            for (const GroupInfo& group : step.groups) {
                for (const auto& [operation, value] : group.values) {
                    groups[group.groupId].emplace(operation, value);
                }
            }
            const TimePoint end = start + std::chrono::milliseconds(step.duration);
            if (duration == 0) {
                cmd.InsertEventCommand(qos.qosId, start, end, groups);
            } else if (start == mNow) {
                const TimePoint wanted = mNow + std::chrono::milliseconds(duration);
                cmd.InsertEventCommand(qos.qosId, start, wanted, groups);
            }
            start = end;
        }
    }
    unsigned long handle = 0;
    if (mTable.RequestEvent(id, mNow, cmd, handle) != 0) {
        return -1;
    }
    Remember(mReservedPid, handle);
    Send(PERF_COMMAND_SHORT_START, handle, {cmd.GetItems().begin(), cmd.GetItems().end()});
    return 0;
}

void NaiveEngine::StopEvent(std::uint32_t id) {
    std::vector<NaiveCommand> out;
    mTable.ReleaseEvent(id, mNow, out);
    for (const NaiveCommand& command : out) {
        SendRelease(command);
    }
    Forget();
}

int NaiveEngine::StartProbe(int tid) {
    const ProbeEvent probe = Probe();
    const TimePoint start = mNow + std::chrono::milliseconds(probe.startDelayMs);
    const TimePoint end = start + std::chrono::milliseconds(probe.spanMs);
    CommandWrapper cmd(PERF_COMMAND_SHORT_START, mNow, mNow, 0);
    for (const auto& [qosId, value] :
         {std::pair(PERF_QOS_CPU_M, probe.cpuM), std::pair(PERF_QOS_CPU_B, probe.cpuB),
          std::pair(PERF_QOS_GPU, probe.gpu)}) {
        if (value != 0) {
            cmd.InsertEventCommand(qosId, start, end, {{0, {{PERF_OPERATION_BOOST, value}}}});
        }
    }
    unsigned long handle = ~0UL;
    const int result = tid <= mReservedPid ? 2 : mTable.RequestProbe(tid, mNow, cmd, handle);
    if (result == 0 && handle != ~0UL) {
        Remember(tid, handle);
        Send(PERF_COMMAND_SHORT_START, handle, {cmd.GetItems().begin(), cmd.GetItems().end()});
    }
    Forget();
    return result;
}

void NaiveEngine::StopProbe(int tid) {
    std::vector<NaiveCommand> out;
    mTable.ReleaseProbe(tid, mNow, out);
    for (const NaiveCommand& command : out) {
        SendRelease(command);
    }
    Forget();
}

}  // namespace corebeacon::model
