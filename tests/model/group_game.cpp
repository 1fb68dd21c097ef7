#include "model/group_game.h"

#include <random>
#include <sstream>

namespace corebeacon::model {

namespace {

/// A kind that remembers what it was told.
class RecordingGroup : public PerfGroup {
public:
    explicit RecordingGroup(const GroupScript& script)
        : PerfGroup(script.config, static_cast<PerfWorkMode>(script.workMode)),
          mWritesFail(script.writesFail) {}
    void DumpBaseValueAfterMapping(std::vector<SpecifiedGroupDumpInfo>& /*info*/) const override {}
    int DoConfig(int boost, int limit) override {
        calls.push_back({boost, limit, 0});
        return mWritesFail ? -1 : 0;
    }
    void CloseAllFds() override { calls.push_back(kCloseCall); }

    std::vector<KindCall> calls;

private:
    const bool mWritesFail;
};

const char* KindName(GroupStep::Kind kind) {
    switch (kind) {
        case GroupStep::TELL_TIME:
            return "tell time";
        case GroupStep::SHORT_START:
            return "short start";
        case GroupStep::SHORT_STOP:
            return "short stop";
        case GroupStep::TIME_OUT:
            return "time-out";
        case GroupStep::LONG_START:
            return "long start";
        case GroupStep::LONG_STOP:
            return "long stop";
        case GroupStep::BASE_SET:
            return "base set";
        case GroupStep::WORK_MODE:
            return "work mode";
        case GroupStep::SUSPEND:
            return "suspend";
        case GroupStep::VALIDATE:
            return "validate";
        case GroupStep::WRITE_SHORT_TERM:
            return "write short term";
        case GroupStep::WRITE_ALL:
            return "write all";
        default:
            return "?";
    }
}

long Nanoseconds(TimePoint time) {
    return time.time_since_epoch().count();
}

std::string CommandText(const PerfGroupCommand& command) {
    std::ostringstream text;
    text << " handle " << command.handle << " from " << Nanoseconds(command.startTime) << " to "
         << Nanoseconds(command.endTime) << " {";
    for (const auto& [operation, value] : command.values) {
        text << " " << static_cast<std::uint32_t>(operation) << ":" << value;
    }
    return text.str() + " }";
}

std::string CallsText(const std::vector<KindCall>& calls) {
    std::ostringstream text;
    for (const KindCall& call : calls) {
        if (call == kCloseCall) {
            text << " close";
        } else {
            text << " " << call[0] << "~" << call[1];
        }
    }
    return text.str();
}

int Do(const GroupStep& step, OperationValueMap& values, NaiveGroup& group) {
    switch (step.kind) {
        case GroupStep::TELL_TIME:
            group.TellTime(step.time);
            return 0;
        case GroupStep::SHORT_START:
            return group.ShortTermStart(step.command);
        case GroupStep::SHORT_STOP:
            return group.ShortTermStop(step.command);
        case GroupStep::TIME_OUT:
            return group.ShortTermTimeOut(step.time);
        case GroupStep::LONG_START:
            return group.LongTermStart(step.command);
        case GroupStep::LONG_STOP:
            return group.LongTermStop(step.command);
        case GroupStep::BASE_SET:
            return group.BaseSet(step.command);
        case GroupStep::WORK_MODE:
            return group.SetWorkMode(step.number);
        case GroupStep::SUSPEND:
            return group.SetSuspend(step.number != 0);
        case GroupStep::VALIDATE:
            return group.Validate(step.number, values);
        case GroupStep::WRITE_SHORT_TERM:
            return group.WriteShortTerm();
        default:
            return group.WriteAll();
    }
}

int Do(const GroupStep& step, OperationValueMap& values, PerfGroup& group) {
    switch (step.kind) {
        case GroupStep::TELL_TIME:
            group.UpdateCurrTimePoint(step.time);
            return 0;
        case GroupStep::SHORT_START:
            return group.ShortTermStart(step.command);
        case GroupStep::SHORT_STOP:
            return group.ShortTermStop(step.command);
        case GroupStep::TIME_OUT:
            return group.ShortTermTimeOut(step.time);
        case GroupStep::LONG_START:
            return group.LongTermStart(step.command);
        case GroupStep::LONG_STOP:
            return group.LongTermStop(step.command);
        case GroupStep::BASE_SET:
            return group.BaseSet(step.command);
        case GroupStep::WORK_MODE:
            return group.SetWorkMode(static_cast<PerfWorkMode>(step.number));
        case GroupStep::SUSPEND:
            return group.SetSuspend(step.number != 0);
        case GroupStep::VALIDATE:
            return group.GroupValueValidate(static_cast<PerfCommandType>(step.number), values);
        case GroupStep::WRITE_SHORT_TERM:
            return group.UpdateShortTermCommandAndWriteValue();
        default:
            return group.GenerateAndWriteFinalValue();
    }
}

/// All that can be seen of a group after a step, for a person to compare.
std::string Seen(int result, const std::vector<KindCall>& calls, TimePoint wakeUp,
                 const std::string& dump) {
    return "returned " + std::to_string(result) + ", wrote" + CallsText(calls) + ", wakes at " +
           std::to_string(Nanoseconds(wakeUp)) + "\n" + dump;
}

/// Makes the commands of one script. Few different values, so that they meet.
class GroupScriptMaker {
public:
    explicit GroupScriptMaker(std::uint64_t seed) : mRandom(seed) {}

    GroupScript Make() {
        GroupScript script;
        MakeConfig(script);
        mTick = std::chrono::nanoseconds(OneIn(2) ? 1 : 1000000);
        const TimePoint starts[] = {TimePoint(mTick), TimePoint(std::chrono::hours(1)),
                                    TimePoint::max() - 30 * mTick};
        mNow = starts[Below(3)];
        script.steps.push_back(Tell());
        const int length = OneIn(20) ? 400 : 5 + Below(100);
        const int restlessness = Below(3);
        for (int i = 0; i < length; ++i) {
            script.steps.push_back(Next(restlessness));
        }
        return script;
    }

private:
    int Below(int end) { return static_cast<int>(mRandom() % static_cast<std::uint64_t>(end)); }
    bool OneIn(int count) { return Below(count) == 0; }

    void MakeConfig(GroupScript& script) {
        PerfGroupConfig& config = script.config;
        config.rangeFlag = OneIn(2);
        config.availableMin = OneIn(4) ? -50 : 0;
        config.availableMax = 100;
        config.baseMin = OneIn(2) ? 10 : config.availableMin;
        config.baseMax = OneIn(2) ? 90 : OneIn(4) ? config.baseMin : config.availableMax;
        script.workMode = static_cast<std::uint32_t>(Below(3));
        script.writesFail = OneIn(10);
    }

    TimePoint Later(int ticks) const {
        const auto left = TimePoint::max() - mNow;
        return ticks * mTick > left ? TimePoint::max() : mNow + ticks * mTick;
    }

    GroupStep Tell() const {
        GroupStep step;
        step.time = mNow;
        return step;
    }

    int Value() {
        static constexpr int kOften[] = {10, 40, 41, 60, 90};
        static constexpr int kSeldom[] = {-51, -50, -1,  0,   9,         89,
                                          91,  99,  100, 101, INT32_MIN, INT32_MAX};
        return OneIn(4) ? kSeldom[Below(12)] : kOften[Below(5)];
    }

    unsigned long Handle() {
        static constexpr unsigned long kSeldom[] = {
            0, 1025, kMaxValidHandle, kInvalidHandle, kNoHandle, kNoHandle - 1};
        return OneIn(25) ? kSeldom[Below(6)] : static_cast<unsigned long>(1 + Below(7));
    }

    OperationValueMap Values() {
        OperationValueMap values;
        const int kind = Below(30);
        if (kind % 3 != 0) {
            values[PERF_OPERATION_BOOST] = Value();
        }
        if (kind % 3 != 1) {
            values[PERF_OPERATION_LIMIT] = Value();
        }
        if (kind == 0) {
            values.clear();
        } else if (kind < 3) {
            values[static_cast<PerfOperationType>(OneIn(2) ? 2 : UINT32_MAX)] = Value();
        }
        return values;
    }

    PerfGroupCommand Command() {
        PerfGroupCommand command;
        command.handle = Handle();
        const int start = OneIn(3) ? Below(5) : -Below(3);
        command.startTime = start >= 0 ? Later(start) : std::max(TimePoint(), mNow + start * mTick);
        command.endTime = OneIn(10)   ? command.startTime
                          : OneIn(30) ? command.startTime - mTick
                          : OneIn(20) ? TimePoint::max()
                                      : Later(1 + Below(8));
        command.values = Values();
        return command;
    }

    /// Mostly what was started before, at times with something amiss.
    PerfGroupCommand StopOf(const std::vector<PerfGroupCommand>& started) {
        if (started.empty() || OneIn(15)) {
            return Command();
        }
        PerfGroupCommand command = started[static_cast<std::size_t>(
            Below(static_cast<int>(std::min<std::size_t>(started.size(), 1000))))];
        if (OneIn(10)) {
            command.handle = Handle();
        } else if (OneIn(10)) {
            command.values = Values();
        } else if (OneIn(10)) {
            command.startTime = Command().startTime;
        }
        return command;
    }

    GroupStep Next(int restlessness) {
        GroupStep step;
        if (Below(6) < 1 + restlessness) {
            mNow = Later(OneIn(10) ? 10 : Below(4));
            step.kind = OneIn(5) ? GroupStep::TELL_TIME : GroupStep::TIME_OUT;
            step.time = mNow;
            return step;
        }
        static constexpr GroupStep::Kind kKinds[] = {
            GroupStep::SHORT_START, GroupStep::SHORT_START, GroupStep::SHORT_START,
            GroupStep::SHORT_START, GroupStep::SHORT_START, GroupStep::SHORT_STOP,
            GroupStep::SHORT_STOP,  GroupStep::LONG_START,  GroupStep::LONG_START,
            GroupStep::LONG_STOP,   GroupStep::BASE_SET,    GroupStep::TIME_OUT};
        step.kind = kKinds[Below(12)];
        step.time = mNow;
        if (OneIn(12)) {
            step.kind = static_cast<GroupStep::Kind>(GroupStep::WORK_MODE + Below(5));
        }
        Fill(step);
        return step;
    }

    void Fill(GroupStep& step) {
        switch (step.kind) {
            case GroupStep::SHORT_START:
                step.command = OneIn(10) ? StopOf(mShort) : Command();
                mShort.push_back(step.command);
                break;
            case GroupStep::SHORT_STOP:
                step.command = StopOf(OneIn(30) ? mLong : mShort);
                break;
            case GroupStep::LONG_START:
                step.command = OneIn(10) ? StopOf(mLong) : Command();
                mLong.push_back(step.command);
                break;
            case GroupStep::LONG_STOP:
                step.command = StopOf(OneIn(30) ? mShort : mLong);
                break;
            case GroupStep::BASE_SET:
                step.command = Command();
                step.command.values.erase(PERF_OPERATION_LIMIT);
                if (OneIn(20)) {
                    step.command.values = Values();
                }
                break;
            case GroupStep::WORK_MODE:
                step.number = static_cast<std::uint32_t>(OneIn(12) ? 3 + Below(2) : Below(3));
                break;
            case GroupStep::SUSPEND:
                step.number = static_cast<std::uint32_t>(Below(2));
                break;
            case GroupStep::VALIDATE:
                step.command = Command();
                step.number = static_cast<std::uint32_t>(Below(11));
                break;
            default:
                break;
        }
    }

    std::mt19937_64 mRandom;
    std::chrono::nanoseconds mTick{1};
    TimePoint mNow;
    std::vector<PerfGroupCommand> mShort;
    std::vector<PerfGroupCommand> mLong;
};

}  // namespace

GroupScript GroupGame::Make(std::uint64_t seed) const {
    return GroupScriptMaker(seed).Make();
}

std::string GroupGame::Play(const GroupScript& script) const {
    RecordingGroup group(script);
    NaiveGroup model(script.config, script.workMode, mMistake);
    std::size_t at = 0;
    for (const GroupStep& step : script.steps) {
        OperationValueMap values = step.command.values;
        OperationValueMap modelValues = step.command.values;
        group.calls.clear();
        model.calls.clear();
        const int result = Do(step, values, group);
        const int modelResult = Do(step, modelValues, model);
        std::ostringstream dump;
        group.Dump(dump);
        const std::string modelDump = model.Dump();
        const TimePoint wakeUp = group.GetNextWakeUpTimePoint();
        if (result != modelResult || group.calls != model.calls || wakeUp != model.NextWakeUp() ||
            dump.str() != modelDump || values != modelValues) {
            return "step " + std::to_string(at) + " (" + KindName(step.kind) +
                   ")\nengine: " + Seen(result, group.calls, wakeUp, dump.str()) +
                   "model:  " + Seen(modelResult, model.calls, model.NextWakeUp(), modelDump);
        }
        ++at;
    }
    return "";
}

std::string GroupGame::Print(const GroupScript& script) {
    std::ostringstream text;
    text << "range " << script.config.availableMin << "~" << script.config.availableMax
         << (script.config.rangeFlag ? " clamping" : "") << ", base " << script.config.baseMin
         << "~" << script.config.baseMax << ", work mode " << script.workMode
         << (script.writesFail ? ", writes fail" : "") << "\n";
    for (const GroupStep& step : script.steps) {
        text << "  " << KindName(step.kind);
        if (step.kind == GroupStep::TELL_TIME || step.kind == GroupStep::TIME_OUT) {
            text << " " << Nanoseconds(step.time);
        } else if (step.kind == GroupStep::WORK_MODE || step.kind == GroupStep::SUSPEND) {
            text << " " << step.number;
        } else {
            text << " (" << step.number << ")" << CommandText(step.command);
        }
        text << "\n";
    }
    return text.str();
}

GroupScript SmallGroup(std::uint32_t workMode) {
    GroupScript script;
    script.config.availableMax = 100;
    script.config.baseMin = 10;
    script.config.baseMax = 90;
    script.workMode = workMode;
    return script;
}

std::vector<GroupStep> GroupAlphabet() {
    const auto timed = [](GroupStep::Kind kind, unsigned long handle, int start, int end,
                          const OperationValueMap& values) {
        GroupStep step;
        step.kind = kind;
        step.command = {handle, TimePoint(std::chrono::nanoseconds(start)),
                        TimePoint(std::chrono::nanoseconds(end)), values};
        return step;
    };
    const auto at = [](int time) {
        GroupStep step;
        step.kind = GroupStep::TIME_OUT;
        step.time = TimePoint(std::chrono::nanoseconds(time));
        return step;
    };
    const auto number = [](GroupStep::Kind kind, std::uint32_t value) {
        GroupStep step;
        step.kind = kind;
        step.number = value;
        return step;
    };
    constexpr auto kBoost = PERF_OPERATION_BOOST;
    constexpr auto kLimit = PERF_OPERATION_LIMIT;
    return {timed(GroupStep::SHORT_START, 1, 0, 10, {{kBoost, 60}}),
            timed(GroupStep::SHORT_START, 2, 0, 20, {{kBoost, 60}, {kLimit, 70}}),
            timed(GroupStep::SHORT_START, 3, 5, 15, {{kLimit, 40}}),
            timed(GroupStep::SHORT_START, 1, 5, 5, {{kBoost, 95}}),
            timed(GroupStep::SHORT_STOP, 1, 0, 10, {{kBoost, 60}}),
            timed(GroupStep::SHORT_STOP, 3, 5, 15, {{kLimit, 40}}),
            timed(GroupStep::LONG_START, 4, 0, 0, {{kBoost, 50}}),
            timed(GroupStep::LONG_START, 5, 0, 0, {{kBoost, 95}, {kLimit, 30}}),
            timed(GroupStep::LONG_STOP, 4, 0, 0, {{kBoost, 50}}),
            timed(GroupStep::BASE_SET, 0, 0, 0, {{kBoost, 50}}),
            timed(GroupStep::BASE_SET, 0, 0, 0, {{kBoost, 20}}),
            at(5),
            at(10),
            number(GroupStep::WORK_MODE, 1),
            number(GroupStep::SUSPEND, 1),
            number(GroupStep::SUSPEND, 0)};
}

}  // namespace corebeacon::model
