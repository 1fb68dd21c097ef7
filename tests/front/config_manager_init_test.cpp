#include <gtest/gtest.h>

#include "command/command_manager.h"
#include "support/engine_fixture.h"
#include "support/log_capture.h"
#include "support/no_threads.h"

namespace corebeacon::test {
namespace {

using Names = std::vector<std::string>;

class InitTest : public EngineFixture {
protected:
    void SetUp() override { mFront = std::make_unique<ConfigManager>(); }

    int Init(PerfDefaultConfig config, const std::vector<ConfigurableEvent>& events = {},
             const std::vector<ConfigurableScenario>& scenarios = {}) {
        return mFront->Init(config, events, scenarios, ProbeEvent());
    }

    std::size_t ResourceCount() const {
        std::vector<PerfQosId> ids;
        mFront->Resources().GetResourceIds(ids);
        return ids.size();
    }

    std::string Text(const std::string& type) const {
        std::ostringstream out;
        EXPECT_TRUE(mFront->DumpInfo(out, type));
        return out.str();
    }

    LogCapture mLog;
};

std::vector<ConfigurableEvent> OneStepEvent(PerfEventId id, PerfQosId qosId, int value) {
    return {{id, {{qosId, {{100, {{0, {{PERF_OPERATION_BOOST, value}}}}}}}}}};
}

TEST_F(InitTest, TheFrequencyResourcesOfTheBuiltInTableAreThere) {
    ASSERT_EQ(Init(BuiltinConfig(), GetConfigurableEventVec(CHIP_TYPE_COMMON),
                   GetConfigurableScenarioVec(CHIP_TYPE_COMMON)),
              0);
    for (const PerfQosId id :
         {PERF_QOS_CPU_L, PERF_QOS_CPU_M, PERF_QOS_CPU_B, PERF_QOS_GPU, PERF_QOS_L3C}) {
        EXPECT_NE(mFront->Resources().GetResourcePtr(id), nullptr) << PerfQosName(id);
    }
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{});
}

TEST_F(InitTest, StartingWritesNothing) {
    ASSERT_EQ(Init(BuiltinConfig()), 0);
    Settle(*mFront);
    EXPECT_EQ(WrittenNames(), Names{});
}

TEST_F(InitTest, AWorkModeAboveTwoIsRefused) {
    PerfDefaultConfig config = BuiltinConfig();
    config.workMode = static_cast<PerfWorkMode>(3);
    EXPECT_EQ(Init(config), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Names{"Init invalid workMode 3", "workMode invalid 3"}));
    EXPECT_EQ(ResourceCount(), 0U);
}

TEST_F(InitTest, OnlyOneOfTheTwoQosTablesMayBeFilled) {
    PerfDefaultConfig config = BuiltinConfig();
    config.qosXmlConfigMap = config.qosConfigMap;
    EXPECT_EQ(Init(config), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Names{"not support qosConfigMap and qosXmlConfigMap meanwhile!",
                     "resource manager Init failed"}));
}

TEST_F(InitTest, ASecondInitFailsAndChangesNothing) {
    ASSERT_EQ(Init(BuiltinConfig()), 0);
    const std::size_t count = ResourceCount();
    EXPECT_EQ(Init(BuiltinConfig()), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{"already initialised"});
    EXPECT_EQ(ResourceCount(), count);
    unsigned long handle = 0;
    EXPECT_EQ(
        mFront->PerfRequest(1, 0, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 1000000)}, handle), 0);
}

TEST_F(InitTest, AFailedInitLeavesNothingBehindAndMayBeTriedAgain) {
    EXPECT_EQ(Init(BuiltinConfig(), OneStepEvent(20, PERF_QOS_CPU_L, 1000000)), -1);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "event manager Init failed"), 1U);
    EXPECT_EQ(ResourceCount(), 0U);
    EXPECT_EQ(Init(BuiltinConfig(), OneStepEvent(19, PERF_QOS_CPU_L, 1000000)), 0);
    EXPECT_GT(ResourceCount(), 0U);
}

TEST_F(InitTest, AnEventWhoseResourceRefusesItsValueFailsInit) {
    PerfDefaultConfig config = BuiltinConfig();
    auto events = OneStepEvent(0, PERF_QOS_CPU_L, 1000000);
    events[0].qosCommands[0].sequence[0].groups[0].groupId = 1;
    EXPECT_EQ(Init(config, events), -1);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "RequestValidate failed for qos id 0"), 1U);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "EventValidate failed"), 1U);
}

TEST_F(InitTest, AnEventOfAMissingQosIsNoFailure) {
    EXPECT_EQ(Init(BuiltinConfig(), OneStepEvent(0, static_cast<PerfQosId>(63), 1)), 0);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "resource ptr is NULL for qos id 63"), 1U);
}

TEST_F(InitTest, WithoutScenariosAndEventsThereIsNoneAndThatIsNoFailure) {
    ASSERT_EQ(Init(BuiltinConfig(), {}, {}), 0);
    std::ostringstream dump;
    EXPECT_EQ(mFront->Dump(dump, {"--scenario"}), 0);
    EXPECT_EQ(mFront->Dump(dump, {"--event"}), 0);
    EXPECT_EQ(dump.str(), "");
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{});
}

TEST_F(InitTest, AScenarioThatContradictsItselfFailsInit) {
    ConfigurableScenario scenario{0, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 1000000)}};
    EXPECT_EQ(Init(BuiltinConfig(), {}, {scenario, scenario}), -1);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "duplicate scenario id: 0"), 1U);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "scenario manager Init failed"), 1U);
    EXPECT_EQ(ResourceCount(), 0U);
}

TEST_F(InitTest, AScenarioWhoseResourceRefusesItsValueFailsInit) {
    EXPECT_EQ(Init(BuiltinConfig(), {}, {{0, {AskRange(PERF_QOS_CPU_L, 1370000, 576000)}}}), -1);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "ScenarioValidate failed"), 1U);
}

TEST_F(InitTest, OnAMachineWithoutItsBigClusterOnlyThatIsMissing) {
    for (const ChipTypeAvailableValue chip : {CHIP_TYPE_COMMON, CHIP_TYPE_VARIANT_2}) {
        mFront = std::make_unique<ConfigManager>();
        PerfDefaultConfig config = BuiltinConfig();
        config.controlInfo.chipType = chip;
        config.controlInfo.invalidClusters = {"policy2", "cluster2"};
        ASSERT_EQ(Init(config, GetConfigurableEventVec(chip), GetConfigurableScenarioVec(chip)), 0);
        for (const PerfQosId id :
             {PERF_QOS_CPU_B, PERF_QOS_MEMLAT_TARGET_RATIO_CPU_B, PERF_QOS_GOVERNOR_LOAD_CPU_B,
              PERF_QOS_ISOLATION_MIN_CPUS_B, PERF_QOS_FREQ_REPORTING_POLICY_CPU_B}) {
            EXPECT_EQ(mFront->Resources().GetResourcePtr(id), nullptr) << PerfQosName(id);
        }
        EXPECT_EQ(ResourceCount(), 38U);
        Settle(*mFront);
        mDevice->ClearRecord();
        unsigned long handle = 0;
        // Each of the nodes that are left still gets its own text.
        ASSERT_EQ(mFront->PerfRequest(1, 0, {Ask(PERF_QOS_CPU_ED_TASK, PERF_OPERATION_BOOST, 110)},
                                      handle),
                  0);
        Settle(*mFront);
        EXPECT_EQ(
            WrittenNames(),
            (Names{"ed_task_running_duration=60000000", "ed_new_task_running_duration=40000000",
                   "ed_task_running_duration=40000000", "ed_new_task_running_duration=20000000"}));
        for (const ConfigurableScenario& scenario : GetConfigurableScenarioVec(chip)) {
            EXPECT_EQ(mFront->PerfSetScenario(1, scenario.scenarioId, handle), 0);
        }
        Settle(*mFront);
        for (const std::string& path : mDevice->TouchedNodes()) {
            EXPECT_EQ(path.find("policy2"), std::string::npos) << path;
            EXPECT_EQ(path.find("cluster2"), std::string::npos) << path;
        }
        EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{});
        mFront.reset();
    }
}

TEST_F(InitTest, TheStepsRunInTheirOrderAndTheFirstFailureEndsThem) {
    const auto events = OneStepEvent(20, PERF_QOS_CPU_L, 1000000);
    const ConfigurableScenario scenario{0, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 1000000)}};
    PerfDefaultConfig config = BuiltinConfig();
    config.qosXmlConfigMap = config.qosConfigMap;
    config.workMode = static_cast<PerfWorkMode>(3);
    EXPECT_EQ(Init(config, events, {scenario, scenario}), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR).back(), "workMode invalid 3");
    config.workMode = PERF_WORK_MODE_2;
    EXPECT_EQ(Init(config, events, {scenario, scenario}), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR).back(), "resource manager Init failed");
    EXPECT_TRUE(Text("--workMode").starts_with("\ncurrent mode = 0,")) << "the mode goes as well";
    config.qosXmlConfigMap.clear();
    EXPECT_EQ(Init(config, events, {scenario, scenario}), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR).back(), "event manager Init failed");
    EXPECT_TRUE(Text("--workMode").starts_with("\ncurrent mode = 0,"));
    EXPECT_EQ(Init(BuiltinConfig(), {}, {scenario, scenario}), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR).back(), "scenario manager Init failed");
    EXPECT_EQ(Init(BuiltinConfig(), {}, {scenario}), 0);
}

#if defined(__GLIBC__)
TEST_F(InitTest, WithoutAThreadForTheBinderInitFailsAndMayBeTriedAgain) {
    const ConfigurableScenario scenario{0, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 1000000)}};
    {
        const NoThreads noThreads;
        EXPECT_EQ(Init(PerfDefaultConfig(), OneStepEvent(19, PERF_QOS_CPU_L, 1000000), {scenario}),
                  -1);
    }
    EXPECT_EQ(Text("--event"), "") << "the tables go as well";
    EXPECT_EQ(Text("--scenario"), "");
    ASSERT_EQ(mLog.Texts(LOG_LEVEL_ERROR).size(), 1U);
    EXPECT_TRUE(mLog.Texts(LOG_LEVEL_ERROR)[0].starts_with("starting the thread binder failed: "));
    EXPECT_EQ(Init(BuiltinConfig(), {}, {scenario}), 0);
    EXPECT_GT(ResourceCount(), 0U);
}
#endif

TEST_F(InitTest, AHostThatChoosesNoBoundsGetsThoseOfTheHandleTable) {
    const HandleLimits limits;
    EXPECT_EQ(limits.maxProcesses, kDefaultMaxProcesses);
    EXPECT_EQ(limits.maxHandlesPerProcess, kDefaultMaxHandlesPerProcess);
    EXPECT_EQ(limits.maxHandles, kDefaultMaxHandles);
    EXPECT_EQ(limits.reservedPid, kDefaultReservedPid);
}

TEST_F(InitTest, OnAMachineWithNoneOfTheNodesInitSucceeds) {
    PerfDefaultConfig config = BuiltinConfig();
    sim::SimulatedDevice bare;
    const ScopedNodeIo nodeIo(bare);
    ASSERT_EQ(Init(config), 0);
    EXPECT_EQ(mFront->Resources().GetResourcePtr(PERF_QOS_CPU_L), nullptr);
    unsigned long handle = 0;
    EXPECT_EQ(
        mFront->PerfRequest(1, 0, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 1000000)}, handle),
        -1);
    mFront.reset();
}

TEST(FrontWithoutInit, RequestsFailAndReleasesAreNoErrors) {
    LogCapture log;
    ConfigManager front;
    unsigned long handle = 0;
    EXPECT_EQ(front.PerfRequest(1, 0, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 1000000)}, handle),
              -1);
    EXPECT_EQ(front.PerfRelease(1, 1), 0);
    EXPECT_EQ(front.PerfReleaseAll(1), 0);
    EXPECT_EQ(front.Reset(), 0);
}

}  // namespace
}  // namespace corebeacon::test
