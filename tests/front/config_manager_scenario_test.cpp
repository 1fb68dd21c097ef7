#include <gtest/gtest.h>

#include <set>
#include <thread>

#include "front/front_fixture.h"

namespace corebeacon::test {
namespace {

class ScenarioTest : public FrontFixture {
protected:
    void SetUp() override { Start(); }
};

TEST_F(ScenarioTest, AScenarioPutsAllItsValuesInForceUntilItIsReleased) {
    EXPECT_EQ(mFront->PerfSetScenario(kPid, kScenario, mHandle), 0);
    EXPECT_EQ(Value(kMinL), "893000");
    EXPECT_EQ(Value(kMaxGpu), "495000000");
    mClock.Advance(std::chrono::hours(24));
    EXPECT_EQ(Value(kMinL), "893000");
    EXPECT_EQ(mFront->PerfRelease(kPid, mHandle), 0);
    EXPECT_EQ(Value(kMinL), kBaseMinL);
    EXPECT_EQ(Value(kMaxGpu), "750000000");
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{});
}

TEST_F(ScenarioTest, AScenarioGoesWithAllThatItsProcessHolds) {
    ASSERT_EQ(mFront->PerfSetScenario(kPid, kScenario, mHandle), 0);
    ASSERT_EQ(mFront->PerfReleaseAll(kPid), 0);
    EXPECT_EQ(Value(kMinL), kBaseMinL);
    EXPECT_EQ(mFront->PerfRelease(kPid, mHandle), 0);
}

TEST_F(ScenarioTest, TwoHoldersOfOneScenarioHoldItSeparately) {
    unsigned long other = 0;
    ASSERT_EQ(mFront->PerfSetScenario(kPid, kScenario, mHandle), 0);
    ASSERT_EQ(mFront->PerfSetScenario(kOtherPid, kScenario, other), 0);
    EXPECT_NE(mHandle, other);
    ASSERT_EQ(mFront->PerfRelease(kPid, mHandle), 0);
    EXPECT_EQ(Value(kMinL), "893000");
    ASSERT_EQ(mFront->PerfRelease(kOtherPid, other), 0);
    EXPECT_EQ(Value(kMinL), kBaseMinL);
}

TEST_F(ScenarioTest, AnUnknownScenarioIsRefusedAndTakesNoHandle) {
    EXPECT_EQ(mFront->PerfSetScenario(kPid, 99, mHandle), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{"invalid scenario id: 99"});
    EXPECT_EQ(mFront->PerfSetScenario(kPid, kScenario, mHandle), 0);
    EXPECT_EQ(mHandle, 1UL);
}

TEST_F(ScenarioTest, APidMustLieAboveTheReservedOne) {
    EXPECT_EQ(mFront->PerfSetScenario(0, kScenario, mHandle), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Names{"invalid pid: 0", "RequestHandle failed for pid 0"}));
    EXPECT_EQ(WriteCount(), 0U);
}

TEST_F(ScenarioTest, AScenarioThatCannotBeSentFailsButKeepsItsHandle) {
    DropResources();
    EXPECT_EQ(mFront->PerfSetScenario(kPid, kScenario, mHandle), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Names{"invalid qos id: 0", "resource ptr is NULL for qos id 0",
                     "SendCmdToResources failed for pid 1001"}));
    mLog.Clear();
    EXPECT_EQ(mFront->PerfRelease(kPid, mHandle), -1);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "SendCmdToResources failed for handle 1"), 1U);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "ReleaseCommand failed for pid 1001"), 1U);
    EXPECT_EQ(mLog.Lines().back().tag, "PF_CFG_MGR");
}

TEST_F(ScenarioTest, AReleaseAllThatCannotBeSentStopsAtTheFirstFailure) {
    ASSERT_EQ(mFront->PerfSetScenario(kPid, kScenario, mHandle), 0);
    DropResources();
    EXPECT_EQ(mFront->PerfReleaseAll(kPid), -1);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "ReleaseCommand failed for pid 1001, handle 1"), 1U);
}

TEST_F(ScenarioTest, AResetTellsWhatItCannotSendAndGoesOn) {
    ASSERT_EQ(mFront->PerfSetScenario(kPid, kScenario, mHandle), 0);
    ASSERT_EQ(mFront->PerfSetScenario(kOtherPid, kScenario, mHandle), 0);
    DropResources();
    EXPECT_EQ(mFront->Reset(), 0);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "ReleaseCommand failed for pid 1001, handle 1"), 1U);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "ReleaseCommand failed for pid 1002, handle 2"), 1U);
}

class ScenarioTableTest : public FrontFixture {};

TEST_F(ScenarioTableTest, AScenarioOfWhichThisDeviceHasNothingCountsAsUnknown) {
    mScenarios = {{7, {Ask(static_cast<PerfQosId>(63), PERF_OPERATION_BOOST, 110)}}};
    Start();
    EXPECT_EQ(mFront->PerfSetScenario(kPid, 7, mHandle), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{"invalid scenario id: 7"});
}

TEST_F(ScenarioTableTest, ValuesOfAScenarioAreClampedOnceAtTheStart) {
    mScenarios = {{7, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 99999999)}}};
    Start();
    ASSERT_EQ(mFront->PerfSetScenario(kPid, 7, mHandle), 0);
    EXPECT_EQ(Value(kMinL), "1530000");
}

class ChipTest : public ::testing::TestWithParam<ChipTypeAvailableValue> {};

struct WholeEngine : EngineFixture {
    explicit WholeEngine(ChipTypeAvailableValue chip) : EngineFixture(chip) { StartEngine(); }
    void TestBody() override {}
    using EngineFixture::mDevice;
    using EngineFixture::mFront;
};

TEST_P(ChipTest, EveryBuiltInScenarioWithdrawsWhatItApplied) {
    ManualClock clock;
    WholeEngine engine(GetParam());
    LogCapture log;
    for (const ConfigurableScenario& scenario : GetConfigurableScenarioVec(GetParam())) {
        unsigned long handle = 0;
        // The first round brings nodes that boot otherwise to their base values.
        std::map<std::string, std::string> idle;
        for (int round = 0; round < 2; ++round) {
            ASSERT_EQ(engine.mFront->PerfSetScenario(kPid, scenario.scenarioId, handle), 0);
            Settle(*engine.mFront);
            EXPECT_NE(engine.mDevice->Snapshot(), idle) << "scenario " << scenario.scenarioId;
            ASSERT_EQ(engine.mFront->PerfRelease(kPid, handle), 0);
            Settle(*engine.mFront);
            if (round == 1) {
                EXPECT_EQ(engine.mDevice->Snapshot(), idle) << "scenario " << scenario.scenarioId;
            }
            idle = engine.mDevice->Snapshot();
        }
    }
    EXPECT_EQ(log.Texts(LOG_LEVEL_ERROR), Names{});
}

TEST_P(ChipTest, EveryBuiltInEventWithdrawsWhatItApplied) {
    ManualClock clock;
    WholeEngine engine(GetParam());
    LogCapture log;
    for (const ConfigurableEvent& event : GetConfigurableEventVec(GetParam())) {
        std::map<std::string, std::string> idle;
        for (int round = 0; round < 2; ++round) {
            ASSERT_EQ(engine.mFront->PerfEvent(event.eventId, {}, "test"), 0);
            Settle(*engine.mFront);
            EXPECT_NE(engine.mDevice->Snapshot(), idle) << "event " << event.eventId;
            ASSERT_EQ(engine.mFront->PerfEvent(event.eventId, {0}, "test"), 0);
            Settle(*engine.mFront);
            if (round == 1) {
                EXPECT_EQ(engine.mDevice->Snapshot(), idle) << "event " << event.eventId;
            }
            idle = engine.mDevice->Snapshot();
        }
    }
    EXPECT_EQ(log.Texts(LOG_LEVEL_ERROR), Names{});
}

INSTANTIATE_TEST_SUITE_P(EveryChip, ChipTest,
                         ::testing::Values(CHIP_TYPE_COMMON, CHIP_TYPE_VARIANT_1,
                                           CHIP_TYPE_VARIANT_2));

class WorkModeTest : public FrontFixture {
protected:
    void SetUp() override {
        Start();
        // A standing floor above a standing ceiling: which of them wins tells the mode.
        unsigned long handle = 0;
        ASSERT_EQ(mFront->PerfRequest(kPid, 0, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 1211000)},
                                      handle),
                  0);
        ASSERT_EQ(mFront->PerfRequest(kPid, 0, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_LIMIT, 893000)},
                                      handle),
                  0);
        NewWrites(kMinL);
        mLog.Clear();
    }

    int SetMode(int pid, unsigned int mode) { return mFront->PerfSetMode(pid, mode, mHandle); }

    std::string DumpMode() const {
        std::ostringstream out;
        EXPECT_TRUE(mFront->DumpInfo(out, "--workMode"));
        return out.str();
    }
};

TEST_F(WorkModeTest, AnUnknownModeIsRefusedBeforeAnyHandleIsTaken) {
    EXPECT_EQ(SetMode(kPid, 3), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{"invalid work mode id: 3"});
    EXPECT_EQ(SetMode(kPid, 1), 0);
    EXPECT_EQ(mHandle, 3UL);
}

TEST_F(WorkModeTest, EveryResourceFollowsTheHighestModeThatIsAskedFor) {
    EXPECT_EQ(SetMode(kPid, 1), 0);
    const unsigned long first = mHandle;
    EXPECT_EQ(NewWrites(kMinL), Names{"1211000"});
    EXPECT_EQ(NewWrites(kMinM), Names{kBaseMinM});
    EXPECT_EQ(SetMode(kOtherPid, 2), 0);
    const unsigned long second = mHandle;
    EXPECT_EQ(NewWrites(kMinL), Names{"893000"});
    EXPECT_EQ(NewWrites(kMinM), Names{kBaseMinM});
    EXPECT_EQ(DumpMode(), "\ncurrent mode = 2, modeNum(3) <value, handle>:\n<4, 2> <3, 1> <0,*>");

    EXPECT_EQ(SetMode(1003, 1), 0);
    const unsigned long third = mHandle;
    EXPECT_EQ(third, 5UL);
    EXPECT_EQ(NewWrites(kMinL), Names{});
    EXPECT_EQ(NewWrites(kMinM), Names{});
    EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "work mode not change"), 1U);

    EXPECT_EQ(mFront->PerfRelease(kPid, first), 0);
    EXPECT_EQ(NewWrites(kMinL), Names{});
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{"work mode not change"});
    EXPECT_EQ(mFront->PerfRelease(kOtherPid, second), 0);
    EXPECT_EQ(NewWrites(kMinL), Names{"1211000"});
    EXPECT_EQ(mFront->PerfRelease(1003, third), 0);
    EXPECT_EQ(NewWrites(kMinL), Names{"893000"});
    EXPECT_EQ(DumpMode(), "\ncurrent mode = 0, modeNum(1) <value, handle>:\n<0,*>");
}

TEST_F(WorkModeTest, AModeDoesNotExpire) {
    ASSERT_EQ(SetMode(kPid, 1), 0);
    mClock.Advance(std::chrono::hours(24));
    EXPECT_EQ(Value(kMinL), "1211000");
    EXPECT_EQ(mFront->PerfRelease(kPid, mHandle), 0);
    EXPECT_EQ(Value(kMinL), "893000");
}

TEST_F(WorkModeTest, AModeGoesWithAllThatItsProcessHolds) {
    ASSERT_EQ(SetMode(kOtherPid, 1), 0);
    ASSERT_EQ(mFront->PerfReleaseAll(kOtherPid), 0);
    EXPECT_EQ(Value(kMinL), "893000");
    ASSERT_EQ(SetMode(kOtherPid, 1), 0);
    ASSERT_EQ(mFront->Reset(), 0);
    EXPECT_EQ(Value(kMinL), kBaseMinL);
    EXPECT_EQ(DumpMode(), "\ncurrent mode = 0, modeNum(1) <value, handle>:\n<0,*>");
}

TEST_F(WorkModeTest, APidMustLieAboveTheReservedOne) {
    EXPECT_EQ(SetMode(0, 1), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Names{"invalid pid: 0", "RequestHandle failed for pid 0"}));
    EXPECT_EQ(NewWrites(kMinL), Names{});
}

class InitialWorkModeTest : public FrontFixture {};

TEST_F(InitialWorkModeTest, TheModeOfTheStartStandsUntilTheFirstRequestAndNeverComesBack) {
    PerfDefaultConfig config = FrequencyConfig();
    config.workMode = PERF_WORK_MODE_2;
    ASSERT_EQ(InitFront(config), 0);
    ASSERT_EQ(
        mFront->PerfRequest(kPid, 0, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_LIMIT, 893000)}, mHandle),
        0);
    // Only mode 2 holds a short burst below a standing ceiling.
    ASSERT_EQ(mFront->PerfRequest(kPid, 60000, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 1211000)},
                                  mHandle),
              0);
    EXPECT_EQ(NewWrites(kMinL), (Names{kBaseMinL, "893000"}));
    unsigned long same = 0;
    ASSERT_EQ(mFront->PerfSetMode(kPid, 2, same), 0);
    EXPECT_EQ(NewWrites(kMinL), Names{});
    EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "work mode not change"), 1U);
    ASSERT_EQ(mFront->PerfRelease(kPid, same), 0);
    EXPECT_EQ(NewWrites(kMinL), Names{"1211000"});
    std::ostringstream out;
    EXPECT_TRUE(mFront->DumpInfo(out, "--workMode"));
    EXPECT_EQ(out.str(), "\ncurrent mode = 0, modeNum(1) <value, handle>:\n<0,*>");
}

class SuspendTest : public FrontFixture {
protected:
    void SetUp() override { Start(); }

    void BoostL(int value) {
        ASSERT_EQ(mFront->PerfRequest(kPid, 0, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, value)},
                                      mHandle),
                  0);
    }
};

TEST_F(SuspendTest, ASuspendedQosKeepsAccountButWritesOnlyWhenResumed) {
    EXPECT_EQ(mFront->PerfSetSuspend({1, PERF_QOS_CPU_L}), 0);
    BoostL(893000);
    BoostL(1211000);
    EXPECT_EQ(NewWrites(kMinL), Names{});
    EXPECT_EQ(mFront->PerfSetSuspend({0, PERF_QOS_CPU_L}), 0);
    EXPECT_EQ(NewWrites(kMinL), Names{"1211000"});
    BoostL(1370000);
    EXPECT_EQ(NewWrites(kMinL), Names{"1370000"});
}

TEST_F(SuspendTest, AnyOtherSwitchThanZeroSuspendsAndOnlyWhatIsNamed) {
    EXPECT_EQ(mFront->PerfSetSuspend({4294967295U, PERF_QOS_CPU_M, PERF_QOS_CPU_L}), 0);
    ASSERT_EQ(mFront->PerfRequest(kPid, 0,
                                  {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 893000),
                                   Ask(PERF_QOS_CPU_M, PERF_OPERATION_BOOST, 1160000),
                                   Ask(PERF_QOS_CPU_B, PERF_OPERATION_BOOST, 1952000)},
                                  mHandle),
              0);
    EXPECT_EQ(NewWrites(kMinL), Names{});
    EXPECT_EQ(NewWrites(kMinM), Names{});
    EXPECT_EQ(NewWrites(kMinB), Names{"1952000"});
}

TEST_F(SuspendTest, LessThanTwoParametersAreRefused) {
    EXPECT_EQ(mFront->PerfSetSuspend({1}), -1);
    EXPECT_EQ(mFront->PerfSetSuspend({}), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Names{"invalid Set Suspend param size 1", "invalid Set Suspend param size 0"}));
}

TEST_F(SuspendTest, AQosWithoutResourceIsPassedOver) {
    EXPECT_EQ(mFront->PerfSetSuspend({1, 63, PERF_QOS_CPU_L, PERF_QOS_DDR}), 0);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{});
    BoostL(893000);
    EXPECT_EQ(NewWrites(kMinL), Names{});
}

TEST_F(SuspendTest, NothingToSuspendIsAFailure) {
    EXPECT_EQ(mFront->PerfSetSuspend({1, 63}), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Names{"empty command wrapper", "sendSuspendCmd failed"}));
}

TEST_F(SuspendTest, TheMemoryLatencyQosNeverReceiveASuspendCommand) {
    EXPECT_EQ(mFront->PerfSetSuspend({1, 14, 15, 16}), -1);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "suspend not support memlat !"), 3U);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Names{"empty command wrapper", "sendSuspendCmd failed"}));
    EXPECT_EQ(mFront->PerfSetSuspend({1, 14, PERF_QOS_CPU_L, 15, 16}), 0);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "suspend not support memlat !"), 6U);
}

TEST_F(SuspendTest, AnIdBeyondTheTableIsPassedOver) {
    EXPECT_EQ(mFront->PerfSetSuspend({1, 105, 4294967295U, PERF_QOS_CPU_L}), 0);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Names{"invalid qos id: 105", "invalid qos id: 4294967295"}));
    BoostL(893000);
    EXPECT_EQ(NewWrites(kMinL), Names{});
}

TEST(SuspendOfTheWholeTable, LeavesOutTheMemoryLatencyQosThoughTheyAreThere) {
    WholeEngine engine(CHIP_TYPE_COMMON);
    const LogCapture log;
    std::vector<unsigned int> params{1};
    std::vector<PerfQosId> ids;
    engine.mFront->Resources().GetResourceIds(ids);
    params.insert(params.end(), ids.begin(), ids.end());
    ASSERT_EQ(engine.mFront->PerfSetSuspend(params), 0);
    Settle(*engine.mFront);
    EXPECT_EQ(log.Count(LOG_LEVEL_DEBUG, "suspend not support memlat !"), 3U);
    std::set<std::string> suspended;
    for (const std::string& text : log.Texts(LOG_LEVEL_INFO)) {
        if (text.ends_with("] suspend old = 0, new = 1")) {
            suspended.insert(text.substr(1, text.find(']') - 1));
        }
    }
    for (const PerfQosId id : ids) {
        const std::string group =
            engine.mFront->Resources().GetResourcePtr(id)->GetPerfGroupPtr(0)->GetName();
        EXPECT_EQ(suspended.contains(group), id < 14 || id > 16) << group;
    }
}

TEST_F(SuspendTest, AResetDoesNotResume) {
    BoostL(893000);
    ASSERT_EQ(mFront->PerfSetSuspend({1, PERF_QOS_CPU_L}), 0);
    ASSERT_EQ(mFront->Reset(), 0);
    EXPECT_EQ(Value(kMinL), "893000");
    ASSERT_EQ(mFront->PerfSetSuspend({0, PERF_QOS_CPU_L}), 0);
    EXPECT_EQ(Value(kMinL), kBaseMinL);
}

}  // namespace
}  // namespace corebeacon::test
