#include "model/engine_game.h"

#include <memory>
#include <mutex>
#include <random>
#include <sstream>

#include "engine/resource_manager.h"
#include "model/naive_engine.h"
#include "model/stage.h"
#include "sim/simulated_device.h"
#include "support/scoped_node_io.h"

namespace corebeacon::model {

namespace {

constexpr unsigned long kPreset = 4711;

const char* KindName(EngineStep::Kind kind) {
    static constexpr const char* kNames[] = {
        "pass time", "run",  "drain",   "request",     "release",    "release all", "reset",
        "scenario",  "mode", "suspend", "start event", "stop event", "start probe", "stop probe"};
    return kNames[kind];
}

/// A plain description that also names a top switch.
struct KnobConfig : PerfQosConfig, FreqParameters {
    explicit KnobConfig(const Knob& knob)
        : PerfQosConfig(knob.name, {RowOf(knob, 0), RowOf(knob, 1)}) {
        gpuTopFreqPath.compiledIn = TopPath(knob);
    }
};

/// The boost in every second group that never ends: it keeps each worker waiting for a time, which
/// can be seen, where it would else wait for commands only.
NaiveTask Beacon(TimePoint now) {
    return {PERF_COMMAND_SHORT_START,
            kMaxValidHandle,
            now,
            now + std::chrono::hours(100000),
            0,
            {{1, {{PERF_OPERATION_BOOST, 20}}}}};
}

/// An engine on a stage, its device and its model.
class Performance {
public:
    explicit Performance(const EngineScript& script)
        : mNodeIo(mDevice),
          mModel(script.limits, script.workMode, mStage.SteadyNow()),
          mFront(std::make_unique<ConfigManager>(script.limits)) {
        mDevice.SetRecordLimit(0);
        PerfDefaultConfig config;
        config.workMode = static_cast<PerfWorkMode>(script.workMode);
        config.controlInfo.chipType = CHIP_TYPE_VARIANT_1;
        for (const Knob& knob : Knobs()) {
            AddNodes(knob);
            mConfigs.push_back(std::make_unique<KnobConfig>(knob));
            config.qosConfigMap.emplace(knob.qosId, *mConfigs.back());
        }
        mDevice.AddText(Probe().nodePath, "");
        mDevice.SetObserver([this](const sim::Operation& operation) { Note(operation); });
        mReady = mFront->Init(config, Events(), Scenarios(), Probe()) == 0 && ParkAll();
    }

    ~Performance() {
        mStage.OpenAll();
        mFront.reset();
    }
    Performance(const Performance&) = delete;
    Performance& operator=(const Performance&) = delete;

    bool IsReady() const { return mReady; }

    /// What differs after the step.
    std::string Do(const EngineStep& step, bool modelIsLate) {
        std::string difference;
        if (step.kind == EngineStep::PASS_TIME) {
            const std::chrono::milliseconds time(step.number);
            mStage.Advance(time);
            mModel.PassTime(time);
        } else if (step.kind == EngineStep::RUN || step.kind == EngineStep::DRAIN) {
            const std::size_t at = step.number % Knobs().size();
            const bool toGate = step.kind == EngineStep::RUN;
            if (!(toGate ? Run(at) : Drain(at))) {
                return "the worker of " + Knobs()[at].name + " is stuck\n";
            }
            if (modelIsLate && at == 0) {
                return CompareWrites();
            }
            if (toGate) {
                mModel.RunToGate(at);
            } else {
                mModel.Drain(at);
            }
        } else {
            difference = Call(step);
            QueueGates();
        }
        return difference + CompareWrites();
    }

    /// Lets everything settle; what differs then.
    std::string End() {
        for (std::size_t at = 0; at < Knobs().size(); ++at) {
            EngineStep step;
            step.kind = EngineStep::DRAIN;
            step.number = static_cast<unsigned int>(at);
            if (const std::string difference = Do(step, false); !difference.empty()) {
                return difference;
            }
        }
        std::map<std::string, std::string> values;
        for (const auto& [path, text] : mModel.writes) {
            values[path] = text;
        }
        for (const auto& [path, text] : values) {
            if (mDevice.Value(path) != text) {
                return path + " holds " + mDevice.Value(path) + " instead of " + text + "\n";
            }
        }
        return CompareDumps();
    }

    /// All writes of the engine so far, in order.
    std::string Record() {
        const std::lock_guard<std::mutex> lock(mMutex);
        mCompared = 0;
        return WritesText(mWrites);
    }

private:
    void AddNodes(const Knob& knob) {
        for (const unsigned int group : {0U, 1U}) {
            for (const std::string& path : NodePaths(knob, group)) {
                mDevice.AddText(path, "");
            }
        }
        if (knob.hasTop) {
            mDevice.AddText(TopPath(knob), "");
        }
    }

    /// Called by the worker that writes.
    void Note(const sim::Operation& operation) {
        if (operation.kind == sim::OperationKind::WRITE && operation.path != Probe().nodePath) {
            const std::lock_guard<std::mutex> lock(mMutex);
            mWrites.emplace_back(operation.path, operation.bytes);
        }
    }

    void SendTo(std::size_t at, const PerfCommand& command) {
        mFront->Resources().GetResourcePtr(Knobs()[at].qosId)->SendCommandToFifoQ(command);
    }

    bool ParkAll() {
        const NaiveTask beacon = Beacon(mStage.SteadyNow());
        mGates.assign(Knobs().size(), 0);
        for (std::size_t at = 0; at < Knobs().size(); ++at) {
            auto item = std::make_shared<PerfCommandItem>();
            item->qosId = Knobs()[at].qosId;
            item->handle = beacon.handle;
            item->startTime = beacon.start;
            item->endTime = beacon.end;
            item->groups = beacon.groups;
            SendTo(at, {PERF_COMMAND_SHORT_START, item});
            mModel.Queue(at, beacon);
            mModel.Drain(at);
            SendTo(at, {});
            if (!mStage.AwaitParked(Knobs()[at].name)) {
                return false;
            }
        }
        return true;
    }

    void QueueGates() {
        for (std::size_t at = 0; at < Knobs().size(); ++at) {
            SendTo(at, {});
            mModel.Queue(at, std::nullopt);
            ++mGates[at];
        }
    }

    /// To the next gate, if there is one.
    bool Run(std::size_t at) {
        if (mGates[at] == 0) {
            return true;
        }
        --mGates[at];
        mStage.Permit(Knobs()[at].name);
        return mStage.AwaitParked(Knobs()[at].name);
    }

    /// Past all gates, until the worker rests; then back to a gate.
    bool Drain(std::size_t at) {
        while (mGates[at] > 0) {
            if (!Run(at)) {
                return false;
            }
        }
        mStage.Permit(Knobs()[at].name);
        if (!mStage.AwaitIdle(Knobs()[at].name)) {
            return false;
        }
        SendTo(at, {});
        return mStage.AwaitParked(Knobs()[at].name);
    }

    std::string Call(const EngineStep& step) {
        unsigned long handle = kPreset;
        unsigned long modelHandle = kPreset;
        const int modelResult = Ask(mModel, step, modelHandle);
        const int result = Ask(*mFront, step, handle);
        if (result == modelResult && handle == modelHandle) {
            return "";
        }
        const auto text = [](int code, unsigned long number) {
            return std::to_string(code) + ", handle " + std::to_string(number) + "\n";
        };
        return "engine: " + text(result, handle) + "model:  " + text(modelResult, modelHandle);
    }

    static int Ask(NaiveEngine& model, const EngineStep& step, unsigned long& handle) {
        switch (step.kind) {
            case EngineStep::REQUEST:
                return model.Request(step.pid, step.duration, step.request, handle);
            case EngineStep::RELEASE:
                return model.Release(step.pid, step.handle);
            case EngineStep::RELEASE_ALL:
                return model.ReleaseAll(step.pid);
            case EngineStep::RESET:
                return model.Reset();
            case EngineStep::SCENARIO:
                return model.SetScenario(step.pid, step.number, handle);
            case EngineStep::MODE:
                return model.SetMode(step.pid, step.number, handle);
            case EngineStep::SUSPEND:
                return model.SetSuspend(step.params);
            case EngineStep::START_EVENT:
                return model.StartEvent(step.number, step.duration);
            case EngineStep::STOP_EVENT:
                model.StopEvent(step.number);
                return 0;
            case EngineStep::START_PROBE:
                return model.StartProbe(step.pid);
            default:
                model.StopProbe(step.pid);
                return 0;
        }
    }

    static int Ask(ConfigManager& front, const EngineStep& step, unsigned long& handle) {
        switch (step.kind) {
            case EngineStep::REQUEST:
                return front.PerfRequest(step.pid, step.duration, step.request, handle);
            case EngineStep::RELEASE:
                return front.PerfRelease(step.pid, step.handle);
            case EngineStep::RELEASE_ALL:
                return front.PerfReleaseAll(step.pid);
            case EngineStep::RESET:
                return front.Reset();
            case EngineStep::SCENARIO:
                return front.PerfSetScenario(step.pid, step.number, handle);
            case EngineStep::MODE:
                return front.PerfSetMode(step.pid, step.number, handle);
            case EngineStep::SUSPEND:
                return front.PerfSetSuspend(step.params);
            case EngineStep::START_EVENT:
                return front.StartEvent(step.number, step.duration);
            case EngineStep::STOP_EVENT:
                front.StopEvent(step.number);
                return 0;
            case EngineStep::START_PROBE:
                return front.StartProbe(step.pid);
            default:
                front.StopProbe(step.pid);
                return 0;
        }
    }

    std::string CompareWrites() {
        const std::lock_guard<std::mutex> lock(mMutex);
        if (mWrites.size() != mModel.writes.size() ||
            !std::equal(mWrites.begin() + mCompared, mWrites.end(),
                        mModel.writes.begin() + mCompared)) {
            return "engine:" + WritesText(mWrites) + "model: " + WritesText(mModel.writes);
        }
        mCompared = static_cast<std::ptrdiff_t>(mWrites.size());
        return "";
    }

    /// Those that were not compared before.
    std::string WritesText(const std::vector<NodeWrite>& writes) const {
        std::string text;
        for (auto at = static_cast<std::size_t>(mCompared); at < writes.size(); ++at) {
            text += " " + writes[at].first + "=" + writes[at].second;
        }
        return text + "\n";
    }

    std::string CompareDumps() {
        mStage.OpenAll();
        std::ostringstream dump;
        mFront->TaskDump(false, dump);
        for (std::size_t at = 0; at < Knobs().size(); ++at) {
            if (dump.str().find(mModel.Dump(at)) == std::string::npos) {
                return "engine:\n" + dump.str() + "model:\n" + mModel.Dump(at);
            }
        }
        return "";
    }

    Stage mStage;
    sim::SimulatedDevice mDevice;
    const test::ScopedNodeIo mNodeIo;
    std::mutex mMutex;
    std::vector<NodeWrite> mWrites;  // guarded by mMutex
    std::ptrdiff_t mCompared = 0;
    NaiveEngine mModel;
    std::vector<int> mGates;  // behind the one that each worker stands at
    std::vector<std::unique_ptr<KnobConfig>> mConfigs;
    std::unique_ptr<ConfigManager> mFront;
    bool mReady = false;
};

class EngineScriptMaker {
public:
    explicit EngineScriptMaker(std::uint64_t seed) : mRandom(seed) {}

    EngineScript Make() {
        EngineScript script;
        script.workMode = static_cast<std::uint32_t>(Below(3));
        if (OneIn(4)) {
            script.limits = {2, 3, 6, 0};
        }
        // In some scripts all is settled after each step, in others the workers lag behind.
        const bool lagging = OneIn(2);
        const int length = 4 + Below(OneIn(4) ? 60 : 20);
        for (int i = 0; i < length; ++i) {
            script.steps.push_back(OneIn(3) ? PassTime() : Next());
            if (!lagging) {
                AddDrains(script);
            } else {
                AddTurns(script);
            }
        }
        return script;
    }

private:
    int Below(int end) { return static_cast<int>(mRandom() % static_cast<std::uint64_t>(end)); }
    bool OneIn(int count) { return Below(count) == 0; }
    unsigned int Number(int end) { return static_cast<unsigned int>(Below(end)); }

    EngineStep Turn(EngineStep::Kind kind, unsigned int knob) {
        EngineStep step;
        step.kind = kind;
        step.number = knob;
        return step;
    }

    void AddDrains(EngineScript& script) {
        for (unsigned int knob = 0; knob < Knobs().size(); ++knob) {
            script.steps.push_back(Turn(EngineStep::DRAIN, knob));
        }
    }

    void AddTurns(EngineScript& script) {
        for (int turns = Below(5); turns > 0; --turns) {
            const auto kind = OneIn(4) ? EngineStep::DRAIN : EngineStep::RUN;
            script.steps.push_back(Turn(kind, Number(5)));
        }
    }

    EngineStep PassTime() {
        EngineStep step;
        step.number = 5 * Number(7);
        return step;
    }

    EngineStep Next() {
        static constexpr EngineStep::Kind kKinds[] = {
            EngineStep::REQUEST,     EngineStep::REQUEST,     EngineStep::REQUEST,
            EngineStep::REQUEST,     EngineStep::REQUEST,     EngineStep::RELEASE,
            EngineStep::RELEASE,     EngineStep::RELEASE,     EngineStep::RELEASE_ALL,
            EngineStep::SCENARIO,    EngineStep::MODE,        EngineStep::SUSPEND,
            EngineStep::START_EVENT, EngineStep::START_EVENT, EngineStep::STOP_EVENT,
            EngineStep::START_PROBE, EngineStep::STOP_PROBE};
        EngineStep step;
        step.kind = OneIn(40) ? EngineStep::RESET : kKinds[Below(17)];
        step.pid = OneIn(30) ? -Below(2) : 1 + Below(3);
        Fill(step);
        const bool takesHandle =
            step.kind == EngineStep::REQUEST || step.kind == EngineStep::SCENARIO ||
            step.kind == EngineStep::MODE || step.kind == EngineStep::START_EVENT ||
            step.kind == EngineStep::START_PROBE;
        mIssued += takesHandle ? 1 : 0;
        return step;
    }

    void Fill(EngineStep& step) {
        static constexpr unsigned int kDurations[] = {0, 0, 20, 25, 40, 60, 60, 100};
        static constexpr unsigned int kBadDurations[] = {1, 19, 60001};
        switch (step.kind) {
            case EngineStep::REQUEST:
                step.duration = OneIn(30) ? kBadDurations[Below(3)] : kDurations[Below(8)];
                for (int elements = 1 + Below(3); elements > 0; --elements) {
                    step.request.push_back(Element());
                }
                break;
            case EngineStep::RELEASE:
                step.handle = static_cast<unsigned long>(std::max(1, mIssued - Below(6)));
                break;
            case EngineStep::SCENARIO:
                step.number = OneIn(10) ? 1 : 5 * Number(2);
                break;
            case EngineStep::MODE:
                step.number = OneIn(10) ? 3 : Number(3);
                break;
            case EngineStep::SUSPEND:
                for (int params = OneIn(15) ? 1 : 2 + Below(3); params > 0; --params) {
                    step.params.push_back(step.params.empty() ? Number(2) : AnyQos());
                }
                break;
            case EngineStep::START_EVENT:
                step.duration = OneIn(3) ? 30 + Number(3) : 0;
                step.number = OneIn(10) ? 1 : 3 * Number(2);
                break;
            case EngineStep::STOP_EVENT:
                step.number = 3 * Number(2);
                break;
            default:
                break;
        }
    }

    unsigned int AnyQos() {
        static constexpr unsigned int kOthers[] = {0, 4, 14, 45, 104, 105, 4000000000};
        return OneIn(15) ? kOthers[Below(7)] : Knobs()[static_cast<std::size_t>(Below(5))].qosId;
    }

    int Value() {
        static constexpr int kUsual[] = {20, 40, 40, 60, 75, 90, 100};
        static constexpr int kOdd[] = {-1, 0, 5, 101, 1000};
        return OneIn(10) ? kOdd[Below(5)] : kUsual[Below(7)];
    }

    PerfRequestInfo Element() {
        PerfRequestInfo element;
        element.qosId = static_cast<PerfQosId>(AnyQos());
        for (int groups = OneIn(15) ? 0 : 1 + Below(2); groups > 0; --groups) {
            GroupInfo info;
            info.groupId = OneIn(40) ? 2 : Number(2);
            const int low = Value();
            const int high = OneIn(20) ? Value() : std::max(low, Value());
            const int kind = Below(20);
            if (kind % 3 != 0) {
                info.values.emplace_back(PERF_OPERATION_BOOST, low);
            }
            if (kind % 3 != 1) {
                info.values.emplace_back(PERF_OPERATION_LIMIT, high);
            }
            if (kind == 19) {
                info.values.clear();
            }
            element.groups.push_back(info);
        }
        return element;
    }

    std::mt19937_64 mRandom;
    int mIssued = 0;
};

std::string RequestText(const std::vector<PerfRequestInfo>& request) {
    std::ostringstream text;
    for (const PerfRequestInfo& element : request) {
        text << " {" << element.qosId;
        for (const GroupInfo& group : element.groups) {
            text << " [" << group.groupId;
            for (const auto& [operation, value] : group.values) {
                text << " " << operation << ":" << value;
            }
            text << "]";
        }
        text << "}";
    }
    return text.str();
}

}  // namespace

EngineScript EngineGame::Make(std::uint64_t seed) const {
    return EngineScriptMaker(seed).Make();
}

std::string EngineGame::Play(const EngineScript& script) const {
    std::string record;
    return PlayAndRecord(script, record);
}

std::string EngineGame::PlayAndRecord(const EngineScript& script, std::string& record) const {
    Performance performance(script);
    if (!performance.IsReady()) {
        return "the engine does not start\n";
    }
    std::size_t at = 0;
    for (const EngineStep& step : script.steps) {
        const std::string difference = performance.Do(step, mModelIsLate);
        if (!difference.empty()) {
            return "step " + std::to_string(at) + " (" + KindName(step.kind) + ")\n" + difference;
        }
        ++at;
    }
    const std::string difference = performance.End();
    record = performance.Record();
    return difference.empty() ? "" : "in the end\n" + difference;
}

std::string EngineGame::Print(const EngineScript& script) {
    std::ostringstream text;
    text << "work mode " << script.workMode << ", at most " << script.limits.maxHandles
         << " handles\n";
    for (const EngineStep& step : script.steps) {
        text << "  " << KindName(step.kind) << " pid " << step.pid << " number " << step.number
             << " duration " << step.duration << " handle " << step.handle
             << RequestText(step.request) << " params";
        for (const unsigned int param : step.params) {
            text << " " << param;
        }
        text << "\n";
    }
    return text.str();
}

}  // namespace corebeacon::model
