#include "model/handle_game.h"

#include <algorithm>
#include <random>
#include <sstream>

#include "command/command_manager.h"
#include "support/manual_clock.h"

namespace corebeacon::model {

namespace {

constexpr std::chrono::milliseconds kTick{1};
constexpr unsigned long kPreset = 4711;  // neither a handle nor one of the reserved numbers

const char* KindName(HandleStep::Kind kind) {
    static constexpr const char* kNames[] = {
        "pass time",      "request",     "event",         "probe",         "release",
        "release all of", "release all", "release event", "release probe", "turn"};
    return kNames[kind];
}

CommandWrapper MakeCommand(const HandleStep& step, TimePoint now) {
    const TimePoint end =
        step.type == PERF_COMMAND_LONG_START ? TimePoint() : now + step.ticks * kTick;
    CommandWrapper cmd(static_cast<PerfCommandType>(step.type), now, end,
                       static_cast<unsigned int>(step.ticks));
    std::uint32_t qos = 0;
    for (const int ticks : step.itemEnds) {
        cmd.InsertEventCommand(static_cast<PerfQosId>(qos++), now, now + ticks * kTick,
                               {{0, {{PERF_OPERATION_BOOST, ticks}}}});
    }
    return cmd;
}

template <typename Items>
void AppendItems(std::ostringstream& text, const Items& items) {
    for (const auto& item : items) {
        // The items are shared, never copied, so their addresses say it all.
        text << " " << item.get() << "=" << item->handle;
    }
    text << "\n";
}

std::string Text(const CommandWrapper& cmd) {
    std::ostringstream text;
    text << cmd.GetHandle() << ": type " << cmd.GetType() << ", "
         << cmd.GetStartTime().time_since_epoch().count() << " to "
         << cmd.GetEndTime().time_since_epoch().count() << ", " << cmd.GetDuration();
    AppendItems(text, cmd.GetItems());
    return text.str();
}

std::string Text(const NaiveCommand& command) {
    std::ostringstream text;
    text << command.handle << ": type " << command.type << ", "
         << command.start.time_since_epoch().count() << " to "
         << command.end.time_since_epoch().count() << ", " << command.duration;
    AppendItems(text, command.items);
    return text.str();
}

std::string OwnedText(int owner, const std::string& text) {
    return "of " + std::to_string(owner) + " " + text;
}

/// One step on the engine's table and on the model, in words.
class Sides {
public:
    Sides(const HandleTableSetUp& setUp, bool forgetsProbes)
        : mTable(setUp.maxOwners, setUp.maxHandlesPerOwner, setUp.maxHandles, setUp.reservedPid,
                 setUp.firstHandle),
          mModel(setUp, forgetsProbes),
          mReservedPid(setUp.reservedPid) {}

    void Do(const HandleStep& step) {
        mEngineText.clear();
        mModelText.clear();
        switch (step.kind) {
            case HandleStep::PASS_TIME:
                mClock.Advance(step.ticks * kTick);
                break;
            case HandleStep::REQUEST:
            case HandleStep::EVENT:
            case HandleStep::PROBE:
                Start(step);
                break;
            case HandleStep::TURN:
                Turn(step.type);
                break;
            default:
                Release(step);
                break;
        }
        Look(step);
    }

    bool Equal() const { return mEngineText == mModelText; }
    const std::string& EngineText() const { return mEngineText; }
    const std::string& ModelText() const { return mModelText; }

private:
    void Start(const HandleStep& step) {
        const TimePoint now = mClock.SteadyNow();
        CommandWrapper cmd = MakeCommand(step, now);
        unsigned long handle = kPreset;
        unsigned long modelHandle = kPreset;
        int result = 0;
        int modelResult = 0;
        const auto id = static_cast<std::uint32_t>(step.owner);
        if (step.kind == HandleStep::REQUEST) {
            modelResult = mModel.Request(step.owner, now, cmd, modelHandle);
            result = mTable.RequestHandle(step.owner, now, cmd, handle);
        } else if (step.kind == HandleStep::EVENT) {
            modelResult = mModel.RequestEvent(id, now, cmd, modelHandle);
            result = mTable.RequestEventHandle(id, now, cmd, handle);
        } else {
            modelResult = mModel.RequestProbe(step.owner, now, cmd, modelHandle);
            result = mTable.RequestProbeHandle(step.owner, now, cmd, handle);
        }
        mEngineText = std::to_string(result) + ", handle " + std::to_string(handle) + "\n";
        mModelText = std::to_string(modelResult) + ", handle " + std::to_string(modelHandle) + "\n";
        const bool registered = result == 0 && handle != kPreset && handle != kNoHandle;
        if (registered && cmd.GetHandle() != handle) {
            mEngineText += "but the command says " + std::to_string(cmd.GetHandle()) + "\n";
        }
        for (const auto& item : cmd.GetItems()) {
            if (registered && item->handle != handle) {
                mEngineText += "but an item says " + std::to_string(item->handle) + "\n";
            }
        }
    }

    void Turn(std::uint32_t type) {
        CommandWrapper cmd(static_cast<PerfCommandType>(type), TimePoint(), TimePoint(), 0);
        const int result = mTable.UpdateReleaseCommandType(cmd);
        const bool known = type == 0 || type == 2 || type == 4;
        mEngineText = std::to_string(result) + " type " + std::to_string(cmd.GetType());
        mModelText = std::to_string(known ? 0 : -1) + " type " + std::to_string(StopTypeOf(type));
    }

    void Release(const HandleStep& step) {
        std::vector<std::string> texts;
        mEngineText = std::to_string(ReleaseEngine(step, texts)) + "\n";
        std::sort(texts.begin(), texts.end());
        Append(mEngineText, texts);

        std::vector<NaiveCommand> commands;
        mModelText = std::to_string(ReleaseModel(step, commands)) + "\n";
        texts.clear();
        for (const NaiveCommand& command : commands) {
            texts.push_back(OwnedText(command.owner, Text(command)));
        }
        std::sort(texts.begin(), texts.end());
        Append(mModelText, texts);
    }

    static void Append(std::string& text, const std::vector<std::string>& lines) {
        for (const std::string& line : lines) {
            text += line;
        }
    }

    int ReleaseEngine(const HandleStep& step, std::vector<std::string>& texts) {
        if (step.kind == HandleStep::RELEASE || step.kind == HandleStep::RELEASE_PROBE) {
            CommandWrapper out;
            const int result = step.kind == HandleStep::RELEASE
                                   ? mTable.BuildReleaseCommand(step.owner, step.handle, out)
                                   : mTable.BuildProbeReleaseCommand(step.owner, out);
            if (result == 0) {
                texts.push_back(OwnedText(step.owner, Text(out)));
            }
            return result;
        }
        if (step.kind == HandleStep::RELEASE_EVENT) {
            std::vector<CommandWrapper> out;
            const int result =
                mTable.BuildEventReleaseCommand(static_cast<PerfEventId>(step.owner), out);
            for (const CommandWrapper& cmd : out) {
                texts.push_back(OwnedText(mReservedPid, Text(cmd)));
            }
            return result;
        }
        std::unordered_map<int, HandleCommandMap> out;
        const int result = step.kind == HandleStep::RELEASE_ALL
                               ? mTable.BuildReleaseAllCommand(out)
                               : mTable.BuildReleaseAllCommand(step.owner, out[step.owner]);
        for (const auto& [owner, commands] : out) {
            for (const auto& [handle, cmd] : commands) {
                texts.push_back(OwnedText(owner, Text(cmd)));
            }
        }
        return result;
    }

    int ReleaseModel(const HandleStep& step, std::vector<NaiveCommand>& out) {
        const TimePoint now = mClock.SteadyNow();
        switch (step.kind) {
            case HandleStep::RELEASE:
                return mModel.Release(step.owner, step.handle, now, out);
            case HandleStep::RELEASE_PROBE:
                return mModel.ReleaseProbe(step.owner, now, out);
            case HandleStep::RELEASE_EVENT:
                return mModel.ReleaseEvent(static_cast<std::uint32_t>(step.owner), now, out);
            case HandleStep::RELEASE_ALL:
                return mModel.ReleaseAll(now, out);
            default:
                return mModel.ReleaseAll(step.owner, now, out);
        }
    }

    /// Adds what can be seen of both tables.
    void Look(const HandleStep& step) {
        const CommandManager::Counts counts = mTable.GetCounts();
        std::ostringstream text;
        text << "live " << counts.liveHandles << ", commands " << counts.commands << ", owners "
             << counts.owners << ", timed " << counts.endTimeRecords << ", events " << counts.events
             << ", probes " << counts.probes;
        const auto known = [&step](const auto& table) {
            return std::string(table.IsRegistered(step.owner, step.handle) ? ", registered" : "") +
                   (table.IsProbed(step.owner) ? ", probed" : "") + "\n";
        };
        mEngineText += text.str() + known(mTable);
        mModelText += mModel.CountsText() + known(mModel);
    }

    test::ManualClock mClock;
    CommandManager mTable;
    NaiveHandleTable mModel;
    const int mReservedPid;
    std::string mEngineText;
    std::string mModelText;
};

class HandleScriptMaker {
public:
    explicit HandleScriptMaker(std::uint64_t seed) : mRandom(seed) {}

    HandleScript Make() {
        HandleScript script;
        HandleTableSetUp& setUp = script.setUp;
        setUp.maxOwners = static_cast<unsigned int>(1 + Below(4));
        setUp.maxHandlesPerOwner = static_cast<unsigned int>(1 + Below(6));
        setUp.maxHandles = static_cast<unsigned int>(1 + Below(30));
        setUp.reservedPid = OneIn(3) ? Below(7) - 3 : 0;
        if (OneIn(5)) {
            setUp.firstHandle = kInvalidHandle - static_cast<unsigned long>(Below(20));
        }
        mFirst = setUp.firstHandle;
        const int length = OneIn(20) ? 500 : 5 + Below(100);
        for (int i = 0; i < length; ++i) {
            script.steps.push_back(Next());
        }
        return script;
    }

private:
    int Below(int end) { return static_cast<int>(mRandom() % static_cast<std::uint64_t>(end)); }
    bool OneIn(int count) { return Below(count) == 0; }

    HandleStep Next() {
        static constexpr HandleStep::Kind kKinds[] = {
            HandleStep::REQUEST,   HandleStep::REQUEST,        HandleStep::REQUEST,
            HandleStep::REQUEST,   HandleStep::EVENT,          HandleStep::EVENT,
            HandleStep::PROBE,     HandleStep::PROBE,          HandleStep::RELEASE,
            HandleStep::RELEASE,   HandleStep::RELEASE,        HandleStep::RELEASE_EVENT,
            HandleStep::PASS_TIME, HandleStep::RELEASE_PROBE,  HandleStep::PASS_TIME,
            HandleStep::PASS_TIME, HandleStep::RELEASE_ALL_OF, HandleStep::TURN};
        HandleStep step;
        step.kind = OneIn(60) ? HandleStep::RELEASE_ALL : kKinds[Below(18)];
        const bool ofEvent =
            step.kind == HandleStep::EVENT || step.kind == HandleStep::RELEASE_EVENT;
        step.owner = ofEvent ? (OneIn(10) ? 19 : Below(3)) : (OneIn(15) ? -Below(4) : 1 + Below(4));
        static constexpr std::uint32_t kTypes[] = {0, 0, 0, 0, 2, 2, 4};
        step.type = OneIn(15) || step.kind == HandleStep::TURN
                        ? static_cast<std::uint32_t>(Below(11))
                        : kTypes[Below(7)];
        step.ticks = OneIn(10) ? 0 : OneIn(10) ? -1 : 1 + Below(8);
        if (step.kind == HandleStep::PASS_TIME) {
            step.ticks = Below(5);
        }
        for (int items = Below(4); items > 0; --items) {
            step.itemEnds.push_back(Below(12));
        }
        const bool mayIssue = step.kind == HandleStep::REQUEST || step.kind == HandleStep::EVENT ||
                              step.kind == HandleStep::PROBE;
        mIssued += mayIssue ? 1 : 0;
        // Near the last numbers issued, for those are the ones that live.
        step.handle = mFirst + static_cast<unsigned long>(std::max(0, mIssued - Below(12)));
        return step;
    }

    std::mt19937_64 mRandom;
    unsigned long mFirst = 1;
    int mIssued = 0;
};

}  // namespace

HandleScript HandleGame::Make(std::uint64_t seed) const {
    return HandleScriptMaker(seed).Make();
}

std::string HandleGame::Play(const HandleScript& script) const {
    Sides sides(script.setUp, mForgetsProbes);
    std::size_t at = 0;
    for (const HandleStep& step : script.steps) {
        sides.Do(step);
        if (!sides.Equal()) {
            return "step " + std::to_string(at) + " (" + KindName(step.kind) +
                   ")\nengine: " + sides.EngineText() + "model:  " + sides.ModelText();
        }
        ++at;
    }
    return "";
}

std::string HandleGame::Print(const HandleScript& script) {
    std::ostringstream text;
    text << "owners " << script.setUp.maxOwners << ", handles of one "
         << script.setUp.maxHandlesPerOwner << ", handles " << script.setUp.maxHandles
         << ", reserved pid " << script.setUp.reservedPid << ", first handle "
         << script.setUp.firstHandle << "\n";
    for (const HandleStep& step : script.steps) {
        text << "  " << KindName(step.kind) << " owner " << step.owner << " type " << step.type
             << " ticks " << step.ticks << " handle " << step.handle << " item ends";
        for (const int end : step.itemEnds) {
            text << " " << end;
        }
        text << "\n";
    }
    return text.str();
}

std::vector<HandleStep> HandleAlphabet() {
    return {
        {HandleStep::PASS_TIME, 0, 0, 5, {}, 0},      {HandleStep::REQUEST, 1, 0, 5, {1}, 1},
        {HandleStep::REQUEST, 1, 2, 0, {1, 2}, 2},    {HandleStep::REQUEST, 2, 4, 0, {}, 1},
        {HandleStep::REQUEST, 2, 7, 0, {}, 1},        {HandleStep::EVENT, 3, 0, 0, {3, 10}, 1},
        {HandleStep::PROBE, 1, 0, 5, {}, 1},          {HandleStep::PROBE, 3, 0, 10, {}, 1},
        {HandleStep::RELEASE, 1, 0, 0, {}, 1},        {HandleStep::RELEASE, 1, 0, 0, {}, 2},
        {HandleStep::RELEASE_ALL_OF, 2, 0, 0, {}, 0}, {HandleStep::RELEASE_ALL, 0, 0, 0, {}, 0},
        {HandleStep::RELEASE_EVENT, 3, 0, 0, {}, 0},  {HandleStep::RELEASE_PROBE, 1, 0, 0, {}, 0}};
}

}  // namespace corebeacon::model
