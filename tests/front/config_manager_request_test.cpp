#include <gtest/gtest.h>

#include "support/deadline.h"
#include "support/engine_fixture.h"
#include "support/log_capture.h"
#include "support/manual_clock.h"

namespace corebeacon::test {
namespace {

using Names = std::vector<std::string>;

constexpr int kPid = 1001;
constexpr int kOtherPid = 1002;

class RequestTest : public EngineFixture {
protected:
    void SetUp() override { StartEngine(); }

    int Request(unsigned int duration, const std::vector<PerfRequestInfo>& request,
                int pid = kPid) {
        const int result = mFront->PerfRequest(pid, duration, request, mHandle);
        Settle(*mFront);
        return result;
    }

    /// The writes since the last call.
    Names NewWrites() {
        Settle(*mFront);
        Names names = WrittenNames();
        mDevice->ClearRecord();
        return names;
    }

    ManualClock mClock;
    LogCapture mLog;
    unsigned long mHandle = 0;
};

TEST_F(RequestTest, ABoostReachesTheNodesInTheOrderCeilingFloorCeiling) {
    EXPECT_EQ(Request(500, {Ask(PERF_QOS_CPU_B, PERF_OPERATION_BOOST, 2000000)}), 0);
    EXPECT_EQ(NewWrites(), (Names{"scaling_max_freq=2487000", "scaling_min_freq=2000000",
                                  "scaling_max_freq=2487000"}));
    EXPECT_EQ(mHandle, 1UL);
}

TEST_F(RequestTest, ATimedRequestEndsByItselfAtItsEndAndNotBefore) {
    ASSERT_EQ(Request(500, {Ask(PERF_QOS_CPU_B, PERF_OPERATION_BOOST, 2000000)}), 0);
    NewWrites();
    mClock.Advance(std::chrono::milliseconds(499));
    EXPECT_EQ(NewWrites(), Names{});
    mClock.Advance(std::chrono::milliseconds(1));
    ASSERT_TRUE(Eventually([this] { return mDevice->Writes().size() == 3; }));
    EXPECT_EQ(NewWrites(), (Names{"scaling_max_freq=2487000", "scaling_min_freq=1239000",
                                  "scaling_max_freq=2487000"}));
}

TEST_F(RequestTest, AnUntimedRequestLastsUntilItIsReleased) {
    ASSERT_EQ(Request(0, {Ask(PERF_QOS_GPU, PERF_OPERATION_LIMIT, 500000000)}), 0);
    EXPECT_EQ(NewWrites(),
              (Names{"max_freq=500000000", "min_freq=279000000", "max_freq=500000000"}));
    mClock.Advance(std::chrono::hours(24));
    EXPECT_EQ(NewWrites(), Names{});
    EXPECT_EQ(mFront->PerfRelease(kPid, mHandle), 0);
    EXPECT_EQ(NewWrites(),
              (Names{"max_freq=750000000", "min_freq=279000000", "max_freq=750000000"}));
}

TEST_F(RequestTest, TheDurationIsZeroOrLiesBetween20And60000Ms) {
    const std::vector<PerfRequestInfo> boost = {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 1000000)};
    EXPECT_EQ(Request(20, boost), 0);
    EXPECT_EQ(Request(60000, boost), 0);
    EXPECT_EQ(Request(0, boost), 0);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{});
    EXPECT_EQ(Request(19, boost), -1);
    EXPECT_EQ(Request(60001, boost), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), (Names{"duration(19) out of range(20, 60000)",
                                                  "duration(60001) out of range(20, 60000)"}));
}

TEST_F(RequestTest, BaseValuesAreNeitherMixedWithOthersNorTimed) {
    const PerfRequestInfo base = Ask(PERF_QOS_EAS_BASE, PERF_OPERATION_BOOST, 1);
    const PerfRequestInfo boost = Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 1000000);
    EXPECT_EQ(Request(0, {base, boost}), -1);
    EXPECT_EQ(Request(100, {base}), -1);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "invalid set base command!"), 2U);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "PreHandleEasBaseCommand failed"), 2U);
    EXPECT_EQ(NewWrites(), Names{});
}

TEST_F(RequestTest, AQosWithoutResourceIsDroppedAndTheRestIsServed) {
    const auto absent = static_cast<PerfQosId>(63);
    EXPECT_EQ(Request(0, {Ask(absent, PERF_OPERATION_BOOST, 1),
                          Ask(PERF_QOS_L3C, PERF_OPERATION_BOOST, 1000000000)}),
              0);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "resource ptr is NULL for qos id 63"), 1U);
    EXPECT_EQ(NewWrites().size(), 3U);
}

TEST_F(RequestTest, ARequestOfWhichNothingIsLeftNamesTheLastMissingQos) {
    EXPECT_EQ(Request(0, {Ask(static_cast<PerfQosId>(63), PERF_OPERATION_BOOST, 1),
                          Ask(static_cast<PerfQosId>(13), PERF_OPERATION_BOOST, 1)}),
              -1);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "RequestValidate failed, pid=1001, invalidQosId=63"), 1U);
}

TEST_F(RequestTest, AnEmptyRequestIsRefusedWithoutAQosToBlame) {
    EXPECT_EQ(Request(0, {}), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              Names{"RequestValidate failed, pid=1001, invalidQosId=105"});
}

TEST_F(RequestTest, AGroupWithoutValuesAddsNothing) {
    EXPECT_EQ(Request(0, {{PERF_QOS_CPU_L, {{9, {}}, {0, {{PERF_OPERATION_BOOST, 893000}}}}}}), 0);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{});
    EXPECT_EQ(NewWrites(), (Names{"scaling_max_freq=1530000", "scaling_min_freq=893000",
                                  "scaling_max_freq=1530000"}));
}

TEST_F(RequestTest, AQosWithoutAnyValueIsNoReasonToRefuseTheOthers) {
    EXPECT_EQ(Request(0, {{PERF_QOS_CPU_M, {{0, {}}}},
                          Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 893000)}),
              0);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "[CPU_M] invalid group num: 0"), 1U);
    EXPECT_EQ(NewWrites().size(), 3U);
    EXPECT_EQ(mFront->PerfRelease(kPid, mHandle), 0);
    EXPECT_EQ(NewWrites().size(), 3U);
}

TEST_F(RequestTest, ARefusedValueRefusesTheWholeRequest) {
    EXPECT_EQ(Request(0, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 1000000),
                          Ask(PERF_QOS_CPU_M, static_cast<PerfOperationType>(7), 1000000)}),
              -1);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "RequestValidate failed for qos id 1"), 1U);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "RequestValidate failed, pid=1001, invalidQosId=1"), 1U);
    EXPECT_EQ(NewWrites(), Names{});
}

TEST_F(RequestTest, ElementsOfOneQosAreMergedAndTheLaterValueWins) {
    EXPECT_EQ(Request(0, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 576000),
                          Ask(PERF_QOS_CPU_L, PERF_OPERATION_LIMIT, 1370000),
                          Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 893000)}),
              0);
    EXPECT_EQ(NewWrites(), (Names{"scaling_max_freq=1370000", "scaling_min_freq=893000",
                                  "scaling_max_freq=1370000"}));
}

TEST_F(RequestTest, ValuesBeyondTheRangeAreClampedNotRefused) {
    EXPECT_EQ(Request(0, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 99999999)}), 0);
    EXPECT_EQ(NewWrites(), (Names{"scaling_max_freq=1530000", "scaling_min_freq=1530000",
                                  "scaling_max_freq=1530000"}));
}

TEST_F(RequestTest, APidMustLieAboveTheReservedOne) {
    EXPECT_EQ(Request(0, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 1000000)}, 0), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Names{"invalid pid: 0", "RequestHandle failed for pid 0"}));
}

TEST_F(RequestTest, ReleasingAnExpiredOrUnknownHandleIsNoError) {
    ASSERT_EQ(Request(20, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 1000000)}), 0);
    mClock.Advance(std::chrono::milliseconds(20));
    EXPECT_EQ(mFront->PerfRelease(kPid, mHandle), 0);
    EXPECT_EQ(mFront->PerfRelease(kPid, 4711), 0);
    EXPECT_EQ(mFront->PerfRelease(kOtherPid, mHandle), 0);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "BuildReleaseCommand failed for pid 1001"), 2U);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{});
}

TEST_F(RequestTest, AHandleReleasesOnceAndASecondReleaseIsNoError) {
    ASSERT_EQ(Request(0, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 1211000)}), 0);
    EXPECT_EQ(mFront->PerfRelease(kPid, mHandle), 0);
    NewWrites();
    mLog.Clear();
    EXPECT_EQ(mFront->PerfRelease(kPid, mHandle), 0);
    EXPECT_EQ(mLog.Texts(), (Names{"invalid pid: 1001", "ComposeReleaseCommand failed",
                                   "BuildReleaseCommand failed for pid 1001"}));
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_DEBUG).size(), 3U);
    EXPECT_EQ(NewWrites(), Names{});
}

TEST_F(RequestTest, OfTwoCallersOnOneKnobTheGreaterBoostHoldsUntilItIsReleased) {
    ASSERT_EQ(Request(0, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 576000)}), 0);
    const unsigned long smaller = mHandle;
    ASSERT_EQ(Request(0, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 1211000)}, kOtherPid), 0);
    const unsigned long greater = mHandle;
    EXPECT_EQ(mDevice->Value("/sys/devices/system/cpu/cpufreq/policy0/scaling_min_freq"),
              "1211000");
    EXPECT_EQ(mFront->PerfRelease(kOtherPid, greater), 0);
    Settle(*mFront);
    EXPECT_EQ(mDevice->Value("/sys/devices/system/cpu/cpufreq/policy0/scaling_min_freq"), "576000");
    EXPECT_EQ(mFront->PerfRelease(kPid, smaller), 0);
    Settle(*mFront);
    EXPECT_EQ(mDevice->Value("/sys/devices/system/cpu/cpufreq/policy0/scaling_min_freq"), "418000");
}

TEST_F(RequestTest, ReleaseAllWithdrawsWhatOneProcessHoldsAndNothingElse) {
    ASSERT_EQ(Request(0, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 1211000)}), 0);
    ASSERT_EQ(Request(1000, {Ask(PERF_QOS_CPU_M, PERF_OPERATION_BOOST, 1407000)}), 0);
    ASSERT_EQ(Request(0, {Ask(PERF_QOS_GPU, PERF_OPERATION_LIMIT, 495000000)}, kOtherPid), 0);
    EXPECT_EQ(mFront->PerfReleaseAll(kPid), 0);
    Settle(*mFront);
    EXPECT_EQ(mDevice->Value("/sys/devices/system/cpu/cpufreq/policy0/scaling_min_freq"), "418000");
    EXPECT_EQ(mDevice->Value("/sys/devices/system/cpu/cpufreq/policy1/scaling_min_freq"), "418000");
    EXPECT_EQ(mDevice->Value("/sys/class/devfreq/gpufreq/max_freq"), "495000000");
    EXPECT_EQ(mFront->PerfReleaseAll(kPid), 0);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "no command need to release"), 1U);
}

TEST_F(RequestTest, ResetWithdrawsEverything) {
    const auto before = mDevice->Snapshot();
    ASSERT_EQ(Request(0, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 1211000)}), 0);
    ASSERT_EQ(Request(0, {Ask(PERF_QOS_GPU, PERF_OPERATION_LIMIT, 495000000)}, kOtherPid), 0);
    EXPECT_NE(mDevice->Snapshot(), before);
    EXPECT_EQ(mFront->Reset(), 0);
    Settle(*mFront);
    EXPECT_EQ(mDevice->Snapshot(), before);
    EXPECT_EQ(mFront->Reset(), 0);
}

TEST_F(RequestTest, NobodyHasStartedAGame) {
    EXPECT_FALSE(mFront->GetGameStartFlag());
}

class LimitedFrontTest : public EngineFixture {
protected:
    LogCapture mLog;
};

TEST_F(LimitedFrontTest, TheHostChoosesTheBoundsOfTheHandleTable) {
    StartEngine({.maxProcesses = 1, .maxHandlesPerProcess = 2, .maxHandles = 8, .reservedPid = 10});
    const std::vector<PerfRequestInfo> boost = {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 1000000)};
    unsigned long handle = 0;
    EXPECT_EQ(mFront->PerfRequest(10, 0, boost, handle), -1);
    EXPECT_EQ(mFront->PerfRequest(11, 0, boost, handle), 0);
    EXPECT_EQ(mFront->PerfRequest(12, 0, boost, handle), -1);
    EXPECT_EQ(mFront->PerfRequest(11, 0, boost, handle), 0);
    EXPECT_EQ(mFront->PerfRequest(11, 0, boost, handle), -1);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "process num reach maximum: 1"), 1U);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "handle num in one process reach maximum: 2"), 1U);
}

}  // namespace
}  // namespace corebeacon::test
