// What suspension, a work mode and a new base bring to the nodes, kind by kind: the order of writes
// of each kind holds for these as for requests.
#include <gtest/gtest.h>

#include <memory>
#include <utility>

#include "resources/eas_resource.h"
#include "resources/frequency_resource.h"
#include "resources/ioctl_level_map_resource.h"
#include "resources/ipa_sustainable_power_resource.h"
#include "resources/level_map_resource.h"
#include "resources/node_fixture.h"

namespace corebeacon::test {
namespace {

using Requests = std::vector<sim::IoctlRequest>;

constexpr PerfOperationType kBoost = PERF_OPERATION_BOOST;
constexpr PerfOperationType kLimit = PERF_OPERATION_LIMIT;

class KindCommandsTest : public NodeFixture {
protected:
    /// A resource with its worker at work.
    template <typename Kind, typename... Extra>
    PerfResource& Run(PerfQosConfig& config, Extra... extra) {
        for (const PerfGroupConfig& row : config.groups) {
            for (const std::string& path : row.sysNodePaths) {
                if (!mDevice.Exists(path)) {
                    mDevice.AddText(path, "-");
                }
            }
        }
        mResource = std::make_unique<Kind>(ResConstructParam{config, PERF_WORK_MODE_0}, extra...);
        Start(*mResource, config);
        return *mResource;
    }

    std::unique_ptr<PerfResource> mResource;
};

// ---- Frequency ranges ----

constexpr const char* kMin = "/freq/min";
constexpr const char* kMax = "/freq/max";
constexpr const char* kTop = "/freq/top";

class FrequencyCommandsTest : public KindCommandsTest {
protected:
    FrequencyCommandsTest() { mDevice.AddText(kTop, "-"); }

    static PerfQosFreqConfig MakeConfig() {
        FreqParameters parameters;
        parameters.gpuTopFreqPath = {kTop, ""};
        return PerfQosFreqConfig(
            "GPU",
            {PerfGroupConfig("GPU", true, 100, 900, 100, 900, {kMin, kMax}, CHIP_TYPE_COMMON)},
            parameters);
    }

    std::string History() {
        std::ostringstream out;
        mResource->DumpLimitHistoryLog(out);
        return out.str();
    }

    PerfQosFreqConfig mConfig = MakeConfig();
    PerfResource& mFreq = Run<FrequencyResource>(mConfig);
};

TEST_F(FrequencyCommandsTest, ALimitLiftedWhileSuspendedIsLiftedInTheKernelByTheEndOfIt) {
    Send(mFreq, PERF_COMMAND_LONG_START, {{0, {{kLimit, 500}}}});
    EXPECT_EQ(TakeWrites(), (Writes{{kMax, "500"}, {kMin, "100"}, {kMax, "500"}, {kTop, "0"}}));
    Send(mFreq, PERF_COMMAND_SUSPEND);
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
    const std::string history = History();
    Send(mFreq, PERF_COMMAND_LONG_STOP, {{0, {{kLimit, 500}}}});
    EXPECT_EQ(TakeWrites(), Writes{});
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
    EXPECT_EQ(History(), history) << "the kernel still has the limit";
    mLog.Clear();
    Send(mFreq, PERF_COMMAND_RESUME);
    EXPECT_EQ(TakeWrites(), (Writes{{kMax, "900"}, {kMin, "100"}, {kMax, "900"}, {kTop, "5000"}}));
    EXPECT_EQ(mLog.Count(4, "[GPU] suspend old = 1, new = 0"), 1U);
    EXPECT_EQ(mLog.Count(4, "[GPU] end limit freq 100 ~ 900"), 1U);
    EXPECT_NE(History(), history);
}

TEST_F(FrequencyCommandsTest, SuspendingTwiceIsSuspendingOnce) {
    Send(mFreq, PERF_COMMAND_RESUME);
    Send(mFreq, PERF_COMMAND_SUSPEND);
    Send(mFreq, PERF_COMMAND_SUSPEND);
    EXPECT_EQ(TakeWrites(), Writes{});
    EXPECT_EQ(mLog.Count(3, "[GPU] same suspend 0"), 1U);
    EXPECT_EQ(mLog.Count(3, "[GPU] same suspend 1"), 1U);
    Send(mFreq, PERF_COMMAND_RESUME);
    EXPECT_EQ(TakeWrites(), (Writes{{kMax, "900"}, {kMin, "100"}, {kMax, "900"}}));
}

TEST_F(FrequencyCommandsTest, AWorkModeWritesThePairAnewAndTheSwitchOnlyForAnotherLimit) {
    const GroupValueMap crossing{{0, {{kBoost, 600}}}};
    Send(mFreq, PERF_COMMAND_LONG_START, {{0, {{kLimit, 500}}}});
    Send(mFreq, PERF_COMMAND_LONG_START, crossing);
    TakeWrites();
    Send(mFreq, PERF_COMMAND_MODE_START, {}, PERF_WORK_MODE_2);
    EXPECT_EQ(TakeWrites(), (Writes{{kMax, "500"}, {kMin, "500"}, {kMax, "500"}}));
    Send(mFreq, PERF_COMMAND_MODE_START, {}, PERF_WORK_MODE_1);
    EXPECT_EQ(TakeWrites(), (Writes{{kMax, "600"}, {kMin, "600"}, {kMax, "600"}, {kTop, "0"}}));
}

TEST_F(FrequencyCommandsTest, AWorkModeUnderASuspensionIsWrittenAtItsEnd) {
    Send(mFreq, PERF_COMMAND_LONG_START, {{0, {{kLimit, 500}}}});
    Send(mFreq, PERF_COMMAND_LONG_START, {{0, {{kBoost, 600}}}});
    Send(mFreq, PERF_COMMAND_SUSPEND);
    TakeWrites();
    Send(mFreq, PERF_COMMAND_MODE_START, {}, PERF_WORK_MODE_1);
    EXPECT_EQ(TakeWrites(), Writes{});
    Send(mFreq, PERF_COMMAND_RESUME);
    EXPECT_EQ(TakeWrites(), (Writes{{kMax, "600"}, {kMin, "600"}, {kMax, "600"}, {kTop, "0"}}));
}

TEST_F(FrequencyCommandsTest, ANewBaseIsTheFloorBehindTheRequests) {
    Send(mFreq, PERF_COMMAND_BASE_SET, {{0, {{kBoost, 300}}}});
    EXPECT_EQ(TakeWrites(), (Writes{{kMax, "900"}, {kMin, "300"}, {kMax, "900"}}));
    Send(mFreq, PERF_COMMAND_LONG_START, {{0, {{kBoost, 400}}}});
    Send(mFreq, PERF_COMMAND_LONG_STOP, {{0, {{kBoost, 400}}}});
    EXPECT_EQ(mDevice.WritesTo(kMin), (Texts{"400", "300"}));
}

// ---- Levels ----

TEST_F(KindCommandsTest, EveryNodeOfALevelIsWrittenAnewAfterASuspension) {
    PerfQosConfig config(
        "LEVELS", {PerfGroupConfig("L", 100, {"/l/first", "/l/second"},
                                   {{90, {"9", "19"}}, {100, {"10", "20"}}}, CHIP_TYPE_COMMON)});
    PerfResource& resource = Run<LevelMapResource>(config);
    Send(resource, PERF_COMMAND_LONG_START, {{0, {{kLimit, 90}}}});
    const Writes low{{"/l/first", "9"}, {"/l/second", "19"}};
    EXPECT_EQ(TakeWrites(), low);
    Send(resource, PERF_COMMAND_SUSPEND);
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
    Send(resource, PERF_COMMAND_RESUME);
    EXPECT_EQ(TakeWrites(), low);
    Send(resource, PERF_COMMAND_MODE_START, {}, PERF_WORK_MODE_1);
    EXPECT_EQ(TakeWrites(), (Writes{{"/l/first", "10"}, {"/l/second", "20"}}))
        << "in this mode the floor wins";
}

TEST_F(KindCommandsTest, APriorityIsSetOrResetAnewAfterASuspensionAndByAWorkMode) {
    constexpr const char* kDevice = "/dev/prio";
    const sim::IoctlRequest set{0x4010781E, {4, 0, 0, 0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 0, 0, 0}};
    const sim::IoctlRequest reset{0x4010781F, {4, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}};
    mDevice.AddIoctl(kDevice, {set.request, reset.request});
    PerfQosConfig config(
        "PRIO",
        {PerfGroupConfig("P", 100, {kDevice}, {{100, {"4:1"}}, {110, {"4:2"}}}, CHIP_TYPE_COMMON)});
    PerfResource& resource = Run<IoctlLevelMapResource>(config);
    Send(resource, PERF_COMMAND_LONG_START, {{0, {{kBoost, 110}}}});
    Send(resource, PERF_COMMAND_SUSPEND);
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
    Send(resource, PERF_COMMAND_RESUME);
    EXPECT_EQ(mDevice.IoctlsTo(kDevice), (Requests{set, set}));
    Send(resource, PERF_COMMAND_SUSPEND);
    Send(resource, PERF_COMMAND_LONG_STOP, {{0, {{kBoost, 110}}}});
    Send(resource, PERF_COMMAND_RESUME);
    Send(resource, PERF_COMMAND_MODE_START, {}, PERF_WORK_MODE_2);
    EXPECT_EQ(mDevice.IoctlsTo(kDevice), (Requests{set, set, reset, reset}));
    // A base that is set is a level like any other; it is the row's own default that resets.
    Send(resource, PERF_COMMAND_BASE_SET, {{0, {{kBoost, 110}}}});
    EXPECT_EQ(mDevice.IoctlsTo(kDevice).back(), set);
}

// ---- The scheduler's boost ----

TEST_F(KindCommandsTest, TheSwitchOfTheSchedulersBoostIsTheLastToBeWrittenAnew) {
    const Level2ValueMap levels{{0, {"0"}}, {30, {"33"}}};
    EasParameters parameters;
    parameters.globalBoost.compiledIn = {{{0, 0}, {30, 1}}, "/eas/switch"};
    mDevice.AddText("/eas/switch", "-");
    PerfQosEasConfig config("EAS",
                            {PerfGroupConfig(0U, "A", 0, {"/eas/a"}, levels, CHIP_TYPE_COMMON),
                             PerfGroupConfig(1U, "B", 0, {"/eas/b"}, levels, CHIP_TYPE_COMMON)},
                            parameters);
    PerfResource& resource = Run<EasResource>(config);
    const auto validated = [&resource](PerfCommandType type, GroupValueMap groups) {
        EXPECT_EQ(resource.RequestValidate(type, groups), 0);
        return groups;
    };
    Send(resource, PERF_COMMAND_LONG_START,
         validated(PERF_COMMAND_LONG_START, {{1, {{kBoost, 30}}}}));
    EXPECT_EQ(TakeWrites(), (Writes{{"/eas/b", "33"}, {"/eas/switch", "1"}}));
    Send(resource, PERF_COMMAND_SUSPEND);
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
    Send(resource, PERF_COMMAND_RESUME);
    const Writes all{{"/eas/a", "0"}, {"/eas/b", "33"}, {"/eas/switch", "1"}};
    EXPECT_EQ(TakeWrites(), all);
    Send(resource, PERF_COMMAND_MODE_START, {}, PERF_WORK_MODE_2);
    EXPECT_EQ(TakeWrites(), all);
    // A base brings the switch's own base along, behind the request that is still there.
    Send(resource, PERF_COMMAND_BASE_SET, validated(PERF_COMMAND_BASE_SET, {{1, {{kBoost, 30}}}}));
    Send(resource, PERF_COMMAND_LONG_STOP,
         validated(PERF_COMMAND_LONG_START, {{1, {{kBoost, 30}}}}));
    EXPECT_EQ(TakeWrites(), Writes{});
    Send(resource, PERF_COMMAND_BASE_SET, validated(PERF_COMMAND_BASE_SET, {{1, {{kBoost, 0}}}}));
    EXPECT_EQ(TakeWrites(), (Writes{{"/eas/b", "0"}, {"/eas/switch", "0"}}));
}

// ---- The power budget ----

TEST_F(KindCommandsTest, AWorkModeTurnsAllocatorsOffAgainButNotOn) {
    PerfQosIpaPowerConfig config(
        "POWER",
        {PerfGroupConfig("P", true, 0, 10000, 3000, 10000, {"/p/power", "/p/board", "/p/soc"},
                         CHIP_TYPE_COMMON)},
        IpaPowerParameters());
    PerfResource& resource = Run<IpaSustainablePowerResource>(config, true);
    const GroupValueMap unbounded{{0, {{kBoost, 10000}}}};
    const Writes off{{"/p/board", "disabled"}, {"/p/soc", "disabled"}};
    Send(resource, PERF_COMMAND_LONG_START, unbounded);
    EXPECT_EQ(TakeWrites(), off);
    Send(resource, PERF_COMMAND_MODE_START, {}, PERF_WORK_MODE_1);
    EXPECT_EQ(TakeWrites(), off);
    Send(resource, PERF_COMMAND_LONG_STOP, unbounded);
    EXPECT_EQ(TakeWrites(),
              (Writes{{"/p/board", "enabled"}, {"/p/soc", "enabled"}, {"/p/power", "3000"}}));
    Send(resource, PERF_COMMAND_MODE_START, {}, PERF_WORK_MODE_0);
    EXPECT_EQ(TakeWrites(), (Writes{{"/p/power", "3000"}}));
    Send(resource, PERF_COMMAND_BASE_SET, {{0, {{kBoost, 9999}}}});
    EXPECT_EQ(TakeWrites(), (Writes{{"/p/board", "disabled"}, {"/p/soc", "enabled"}}));
}

}  // namespace
}  // namespace corebeacon::test
