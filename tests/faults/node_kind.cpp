#include "faults/node_kind.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <utility>

#include "corebeacon/qos_config.h"
#include "engine/perf_thread_binder.h"
#include "resources/ddr_resource.h"
#include "resources/eas_resource.h"
#include "resources/frequency_resource.h"
#include "resources/ioctl_level_map_resource.h"
#include "resources/ipa_sustainable_power_resource.h"
#include "resources/ipa_switch_temp_resource.h"
#include "resources/level_map_resource.h"
#include "resources/mem_lat_target_ratio_resource.h"
#include "resources/single_node_value_resource.h"
#include "support/deadline.h"

namespace corebeacon::test {

namespace {

using sim::SimulatedDevice;
using std::chrono::milliseconds;
using WriterMaker = std::function<std::unique_ptr<Writer>(ManualClock&, const LogCapture&)>;

constexpr const char* kName = "NODES";
const std::string kPolicy = "/policy0";
const std::string kMin = kPolicy + "/scaling_min_freq";
const std::string kMax = kPolicy + "/scaling_max_freq";
const std::string kGpuTop = "/gpu_top_freq";
const std::string kNode = "/node";
const std::string kSecondNode = "/second_node";
const std::string kThirdNode = "/third_node";
constexpr unsigned long kSetPrio = 0x4010781E;
constexpr unsigned long kResetPrio = 0x4010781F;

/// A resource whose worker is the test: commands pass the front's validation and are carried out
/// at once.
class ResourceWriter : public Writer {
public:
    ResourceWriter(ManualClock& clock, std::shared_ptr<PerfResource> resource)
        : mClock(clock), mResource(std::move(resource)) {}

    void Do(const Action& action) override {
        if (action.pause > milliseconds(0)) {
            mClock.Advance(action.pause);
            mResource->HandleCommand(WorkStatus::TIME_OUT);
            return;
        }
        auto item = std::make_shared<PerfCommandItem>();
        item->handle = action.handle;
        item->startTime = mClock.SteadyNow();
        item->endTime = item->startTime + action.span;
        item->groups = action.groups;
        if (!item->groups.empty()) {
            EXPECT_EQ(mResource->RequestValidate(action.type, item->groups), 0);
        }
        mResource->SendCommandToFifoQ({action.type, item});
        mResource->HandleCommand(WorkStatus::NEW_COMMAND);
    }

private:
    ManualClock& mClock;
    const std::shared_ptr<PerfResource> mResource;
};

/// The binder with its own worker, which says of each write that it is done. A start probes the
/// thread whose id is the handle, a stop ends that probe.
class BinderWriter : public Writer {
public:
    BinderWriter(ManualClock& clock, const LogCapture& log) : mClock(clock), mLog(log) {
        mBinder.SetNodePath(kNode);
        EXPECT_EQ(mBinder.Init("bind", "unbind"), 0);
    }

    void Do(const Action& action) override {
        const int tid = static_cast<int>(action.handle);
        if (action.pause > milliseconds(0)) {
            mClock.Advance(action.pause);
        } else if (action.type == PERF_COMMAND_SHORT_START) {
            const TimePoint now = mClock.SteadyNow();
            mBinder.AddThreadInfo({tid, now, now + action.span});
        } else {
            mBinder.DeleteThreadInfo(tid);
        }
        ++mWrites;
        EXPECT_TRUE(Eventually([this] { return WritesDone() == mWrites; }));
    }

private:
    std::size_t WritesDone() const {
        std::size_t count = 0;
        for (const std::string& text : mLog.Texts(LOG_LEVEL_DEBUG)) {
            count += text.starts_with("thread bind: ") ? 1U : 0U;
        }
        return count;
    }

    ManualClock& mClock;
    const LogCapture& mLog;
    std::size_t mWrites = 0;
    PerfThreadBinder mBinder;
};

template <typename Resource, typename Config, typename... Switch>
WriterMaker MakerOf(const Config& config, Switch... boardSwitch) {
    return [config, boardSwitch...](ManualClock& clock, const LogCapture& /*log*/) {
        Config own = config;
        auto resource = std::make_shared<Resource>(
            ResConstructParam{own, PERF_WORK_MODE_0, PERF_QOS_GPU}, boardSwitch...);
        EXPECT_EQ(resource->InitResource(own, false), 0);
        return std::make_unique<ResourceWriter>(clock, std::move(resource));
    };
}

using Paths = std::vector<std::string>;

PerfGroupConfig ValueRow(int base, int max, const Paths& paths) {
    return PerfGroupConfig(std::string(kName), true, 1, max, base, max, paths, CHIP_TYPE_COMMON);
}

PerfGroupConfig LevelRow(unsigned int groupId, const Paths& paths, const Level2ValueMap& levels,
                         const char* name = kName) {
    return PerfGroupConfig(groupId, name, levels.begin()->first, paths, levels, CHIP_TYPE_COMMON);
}

std::function<void(SimulatedDevice&)> TextNodes(const Paths& paths) {
    return [paths](SimulatedDevice& device) {
        for (const std::string& path : paths) {
            device.AddText(path, "-");
        }
    };
}

std::function<void(SimulatedDevice&)> BinaryNode() {
    return
        [](SimulatedDevice& device) { device.AddBinary(kNode, sim::Aggregate::LARGEST, 0, false); };
}

// The scripts end as they began, with nobody asking for anything, so that the recovery brings a
// head to each queue that it names.

/// For a group whose base is below 200: from value to value, suspended between, to an expiry.
std::vector<Action> FloorScript(int low, int high) {
    return {Boost(1, low), Boost(2, high),      Stop(Boost(2, high)), Suspend(),
            Resume(),      Stop(Boost(1, low)), Boost(3, high),       Pause(1000)};
}

NodeKind Frequency(const char* name, sim::KernelStyle style) {
    FreqParameters parameters;
    parameters.gpuTopFreqPath = {kGpuTop, kGpuTop};
    NodeKind kind{.name = name};
    kind.addNodes = [style](SimulatedDevice& device) {
        device.SetKernelStyle(style);
        device.AddCpufreqPolicy(kPolicy, {400000, 800000, 1000000, 1600000, 2000000});
        device.AddText(kGpuTop, "-");
    };
    kind.makeWriter = MakerOf<FrequencyResource>(
        PerfQosFreqConfig(kName, {ValueRow(400000, 2000000, {kMin, kMax})}, parameters));
    kind.script = {Range(1, 1600000, 1600000),
                   Range(2, 400000, 800000),
                   Suspend(),
                   Resume(),
                   Stop(Range(1, 1600000, 1600000)),
                   Stop(Range(2, 400000, 800000)),
                   Boost(3, 2000000),
                   Pause(1000)};
    // A ceiling that the script does not know: one that the switch was set for is not set again.
    kind.recovery = {Range(9, 800000, 1000000)};
    kind.inOrder = {{kMin, "800000"}, {kMax, "1000000"}, {kGpuTop, "0"}};
    kind.gpuTopNode = kGpuTop;
    return kind;
}

NodeKind SingleNode() {
    NodeKind kind{.name = "SingleNode"};
    kind.addNodes = TextNodes({kNode});
    kind.makeWriter =
        MakerOf<SingleNodeValueResource>(PerfQosConfig(kName, {ValueRow(100, 1000, {kNode})}));
    kind.script = FloorScript(200, 300);
    kind.recovery = {Boost(9, 250)};
    kind.inOrder = {{kNode, "250"}};
    return kind;
}

NodeKind Ddr(const char* name, float coefficient, const std::string& written) {
    DdrParameters parameters;
    parameters.bandwidthCoefficient = {coefficient, coefficient};
    NodeKind kind{.name = name};
    kind.isBinary = coefficient != 0.0F;
    kind.addNodes = kind.isBinary ? BinaryNode() : TextNodes({kNode});
    kind.makeWriter = MakerOf<DdrResource>(
        PerfQosDdrConfig(kName, {ValueRow(100, 9000000, {kNode})}, {}, parameters));
    kind.script = FloorScript(400000, 800000);
    kind.recovery = {Boost(9, 600000)};
    kind.inOrder = {{kNode, written}};
    return kind;
}

NodeKind LevelMap(const char* name, const char* groupName) {
    const Level2ValueMap levels{
        {0, {"idle", "0"}}, {1, {"low", "10"}}, {2, {"mid", "20"}}, {3, {"high", "30"}}};
    NodeKind kind{.name = name};
    kind.addNodes = TextNodes({kNode, kSecondNode});
    kind.makeWriter = MakerOf<LevelMapResource>(
        PerfQosConfig(kName, {LevelRow(0, {kNode, kSecondNode}, levels, groupName)}));
    kind.script = FloorScript(1, 2);
    kind.recovery = {Boost(9, 3)};
    kind.inOrder = {{kNode, "high"}, {kSecondNode, "30"}};
    return kind;
}

NodeKind OptionalLevelMap() {
    NodeKind kind = LevelMap("LevelMapWithOptionalNodes", "REMAINDER");
    kind.otherNames = {{kNode, "REMAINDER"}, {kSecondNode, "REMAINDER"}};
    kind.isOptional = true;
    return kind;
}

NodeKind IoctlLevelMap() {
    const Level2ValueMap levels{
        {100, {"3:1", "4:1"}}, {110, {"3:5", "4:6"}}, {120, {"3:7", "4:8"}}, {130, {"3:8", "4:9"}}};
    NodeKind kind{.name = "IoctlLevelMap"};
    kind.addNodes = [](SimulatedDevice& device) {
        device.AddIoctl(kNode, {kSetPrio, kResetPrio});
        device.AddIoctl(kSecondNode, {kSetPrio, kResetPrio});
    };
    kind.makeWriter = MakerOf<IoctlLevelMapResource>(
        PerfQosConfig(kName, {LevelRow(0, {kNode, kSecondNode}, levels)}));
    kind.script = FloorScript(110, 120);
    kind.recovery = {Boost(9, 130)};
    kind.inOrder = {{kNode, "3:8"}, {kSecondNode, "4:9"}};
    return kind;
}

NodeKind Eas() {
    const Level2ValueMap levels{{0, {"0"}}, {10, {"11"}}, {20, {"22"}}, {30, {"33"}}};
    EasParameters parameters;
    parameters.globalBoost.compiledIn = {{{0, 0}, {10, 0}, {30, 1}}, kThirdNode};
    NodeKind kind{.name = "EasWithGlobalBoost"};
    kind.addNodes = TextNodes({kNode, kSecondNode, kThirdNode});
    kind.makeWriter = MakerOf<EasResource>(PerfQosEasConfig(
        kName, {LevelRow(0, {kNode}, levels), LevelRow(1, {kSecondNode}, levels)}, parameters));
    kind.script = {Boost(1, 30), Boost(2, 10, 1),       Stop(Boost(1, 30)), Suspend(),
                   Resume(),     Stop(Boost(2, 10, 1)), Boost(3, 30, 1),    Pause(1000)};
    Action both = Boost(9, 30);
    both.groups[1] = {{PERF_OPERATION_BOOST, 20}};
    kind.recovery = {both};
    kind.inOrder = {{kNode, "33"}, {kSecondNode, "22"}, {kThirdNode, "1"}};
    kind.otherNames = {{kThirdNode, "GLOBAL_BOOST"}};
    return kind;
}

NodeKind IpaPower(const char* name, bool withBoardSwitch) {
    NodeKind kind{.name = name};
    kind.addNodes = TextNodes({kNode, kSecondNode, kThirdNode});
    kind.makeWriter = MakerOf<IpaSustainablePowerResource>(
        PerfQosIpaPowerConfig(kName, {ValueRow(100, 12000, {kNode, kSecondNode, kThirdNode})}, {}),
        withBoardSwitch);
    kind.script = {Boost(1, 5000),        Boost(2, 9999), Boost(3, 12000), Suspend(),  Resume(),
                   Stop(Boost(3, 12000)), Pause(1000),    Boost(4, 12000), Pause(1000)};
    // With one on the board a switch is turned on once, on the way down past its threshold. When
    // that one write is lost, the next way down mends it.
    if (withBoardSwitch) {
        kind.recovery = {Boost(8, 12000), Stop(Boost(8, 12000)), Boost(9, 7000)};
        kind.inOrder = {{kNode, "7000"}, {kSecondNode, "enabled"}, {kThirdNode, "enabled"}};
    } else {
        kind.recovery = {Boost(9, 12000)};
        kind.inOrder = {{kThirdNode, "disabled"}};
    }
    return kind;
}

NodeKind IpaSwitchTemp() {
    NodeKind kind = SingleNode();
    kind.name = "IpaSwitchTemp";
    kind.makeWriter =
        MakerOf<IpaSwitchTempResource>(PerfQosConfig(kName, {ValueRow(100, 1000, {kNode})}), true);
    return kind;
}

NodeKind MemLat() {
    const Level2ValueMap ratios{{0, {"closed"}}, {80, {"800"}}, {90, {"900"}}, {100, {"1000"}}};
    const Level2ValueMap switches{{0, {"off"}}, {1, {"on"}}};
    NodeKind kind{.name = "MemLatRatioAndMonitor"};
    kind.addNodes = TextNodes({kNode, kSecondNode});
    kind.makeWriter = MakerOf<MemLatTargetRatioResource>(PerfQosTargetRatioConfig(
        kName, {LevelRow(0, {kNode}, ratios), LevelRow(1, {kSecondNode}, switches)}));
    kind.script = {Boost(1, 80),  Boost(2, 100), Boost(3, 1, 1),      Stop(Boost(3, 1, 1)),
                   Suspend(),     Resume(),      Stop(Boost(2, 100)), Stop(Boost(1, 80)),
                   Boost(4, 100), Pause(1000)};
    kind.recovery = {Boost(9, 90)};  // from closed to open, which takes both nodes
    kind.inOrder = {{kNode, "900"}, {kSecondNode, "off"}};
    return kind;
}

NodeKind Binder() {
    NodeKind kind{.name = "ThreadBinder"};
    kind.addNodes = TextNodes({kNode});
    kind.makeWriter = [](ManualClock& clock, const LogCapture& log) {
        return std::make_unique<BinderWriter>(clock, log);
    };
    kind.script = {Boost(71, 0), Stop(Boost(71, 0)), Boost(72, 0), Pause(1000)};
    kind.recovery = {Boost(73, 0)};
    kind.inOrder = {{kNode, "bind|73"}};
    kind.otherNames = {{kNode, "ThreadBinder"}};
    return kind;
}

}  // namespace

Writer::~Writer() = default;

Action Boost(unsigned long handle, int value, unsigned int groupId) {
    return {.handle = handle, .groups = {{groupId, {{PERF_OPERATION_BOOST, value}}}}};
}

Action Range(unsigned long handle, int boost, int limit) {
    return {.handle = handle,
            .groups = {{0, {{PERF_OPERATION_BOOST, boost}, {PERF_OPERATION_LIMIT, limit}}}}};
}

Action Stop(Action start) {
    start.type = PERF_COMMAND_SHORT_STOP;
    return start;
}

Action Suspend() {
    return {.type = PERF_COMMAND_SUSPEND};
}

Action Resume() {
    return {.type = PERF_COMMAND_RESUME};
}

Action Lasting(Action start) {
    start.type =
        start.type == PERF_COMMAND_SHORT_STOP ? PERF_COMMAND_LONG_STOP : PERF_COMMAND_LONG_START;
    return start;
}

Action Pause(int length) {
    return {.pause = milliseconds(length)};
}

std::ostream& operator<<(std::ostream& out, const NodeKind& kind) {
    return out << kind.name;
}

const NodeKind& NodeKindOf(const std::string& name) {
    const std::vector<NodeKind>& kinds = AllNodeKinds();
    return *std::find_if(kinds.begin(), kinds.end(),
                         [&name](const NodeKind& kind) { return kind.name == name; });
}

const std::vector<NodeKind>& AllNodeKinds() {
    static const std::vector<NodeKind> kinds{
        Frequency("Frequency", sim::KernelStyle::CURRENT),
        Frequency("FrequencyOnAnOldKernel", sim::KernelStyle::OLD),
        SingleNode(),
        Ddr("DdrBandwidth", 9.6F, "5760"),
        Ddr("DdrBinaryFrequency", -1.0F, "600000"),
        Ddr("DdrText", 0.0F, "600000"),
        LevelMap("LevelMap", kName),
        OptionalLevelMap(),
        IoctlLevelMap(),
        Eas(),
        IpaPower("IpaPowerWithBoardSwitch", true),
        IpaPower("IpaPowerOfTheSoc", false),
        IpaSwitchTemp(),
        MemLat(),
        Binder(),
    };
    return kinds;
}

}  // namespace corebeacon::test
