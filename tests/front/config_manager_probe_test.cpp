#include <gtest/gtest.h>

#include <functional>
#include <thread>

#include "front/front_fixture.h"

namespace corebeacon::test {
namespace {

constexpr int kTid = 77;
constexpr PerfEventId kProbeEvent = 4097;

class ProbeTest : public FrontFixture {
protected:
    void SetUp() override {
        mProbe.startDelayMs = 0;
        Start();
    }

    int Event(const std::vector<unsigned int>& params) {
        return mFront->PerfEvent(kProbeEvent, params, "");
    }
};

TEST_F(ProbeTest, AProbeBoostsItsThreeQosAndBindsTheThreadForItsSpan) {
    EXPECT_EQ(Event({1, 0, kTid}), 0);
    EXPECT_EQ(Value(kMinM), "1407000");
    EXPECT_EQ(Value(kMinB), "1952000");
    EXPECT_EQ(Value(kMinGpu), "400000000");
    EXPECT_TRUE(BinderWrote({"bind|77"}));
    EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "add probe tid = 77"), 1U);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "del probe tid = 77"), 0U);
    mClock.Advance(milliseconds(99));
    EXPECT_EQ(Value(kMinM), "1407000");
    EXPECT_TRUE(BecomesAfter(milliseconds(1), kMinM, kBaseMinM));
    EXPECT_TRUE(Eventually([this] { return mDevice->Value(kMinB) == kBaseMinB; }));
    EXPECT_TRUE(Eventually([this] { return mDevice->Value(kMinGpu) == kBaseMinGpu; }));
    EXPECT_TRUE(BinderWrote({"bind|77", "unbind|77"}));
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{});
}

TEST_F(ProbeTest, AStopEndsTheProbeAtOnce) {
    EXPECT_EQ(Event({1, 12345, kTid}), 0);
    EXPECT_TRUE(BinderWrote({"bind|77"}));
    EXPECT_EQ(Event({0, 54321, kTid}), 0);
    EXPECT_EQ(Value(kMinM), kBaseMinM);
    EXPECT_EQ(Value(kMinB), kBaseMinB);
    EXPECT_EQ(Value(kMinGpu), kBaseMinGpu);
    EXPECT_TRUE(BinderWrote({"bind|77", "unbind|77"}));
}

TEST_F(ProbeTest, AProbeEventHasThreeParametersOfWhichTheFirstStartsOrStops) {
    EXPECT_EQ(Event({2, 0, kTid}), -1);
    EXPECT_EQ(Event({1, kTid}), -1);
    EXPECT_EQ(Event({}), -1);
    EXPECT_EQ(Event({1, 0, kTid, 0}), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Names{"invalid start notion", "invalid probe event request format. size = 2",
                     "invalid probe event request format. size = 0",
                     "invalid probe event request format. size = 4"}));
    EXPECT_EQ(WriteCount(), 0U);
}

TEST_F(ProbeTest, AThreadThatIsProbedAlreadyKeepsItsSpan) {
    EXPECT_EQ(mFront->StartProbe(kTid), 0);
    EXPECT_TRUE(BinderWrote({"bind|77"}));
    mClock.Advance(milliseconds(50));
    const std::size_t writes = WriteCount();
    EXPECT_EQ(mFront->StartProbe(kTid), 0);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "duplicate probe for tid 77"), 1U);
    EXPECT_EQ(WriteCount(), writes);
    EXPECT_TRUE(BecomesAfter(milliseconds(50), kMinM, kBaseMinM));
    EXPECT_TRUE(BinderWrote({"bind|77", "unbind|77"}));
}

TEST_F(ProbeTest, AThreadCanBeProbedAgainOnceItsSpanIsOver) {
    EXPECT_EQ(mFront->StartProbe(kTid), 0);
    EXPECT_TRUE(BinderWrote({"bind|77"}));
    mClock.Advance(milliseconds(100));
    EXPECT_EQ(mFront->StartProbe(kTid), 0);
    EXPECT_EQ(Value(kMinM), "1407000");
    EXPECT_TRUE(BinderWrote({"bind|77", "unbind|77", "bind|77"}));
}

TEST_F(ProbeTest, ThreadsAreProbedApart) {
    EXPECT_EQ(mFront->StartProbe(kTid), 0);
    mClock.Advance(milliseconds(60));
    EXPECT_EQ(mFront->StartProbe(kTid + 1), 0);
    Settle(*mFront);
    mFront->StopProbe(kTid);
    EXPECT_EQ(Value(kMinM), "1407000");
    EXPECT_TRUE(BecomesAfter(milliseconds(100), kMinM, kBaseMinM));
}

TEST_F(ProbeTest, StoppingAThreadThatIsNotProbedIsNoError) {
    mFront->StopProbe(kTid);
    EXPECT_EQ(mLog.Texts(), (Names{"invalid tid: 77", "BuildEventReleaseCommand failed"}));
    EXPECT_EQ(WriteCount(), 0U);
}

TEST_F(ProbeTest, AThreadIdUpToTheReservedOneIsRefused) {
    EXPECT_EQ(mFront->StartProbe(0), 2);
    EXPECT_EQ(Event({1, 0, 4294967295U}), 2);
    EXPECT_EQ(
        mLog.Texts(LOG_LEVEL_ERROR),
        (Names{"alloc new handle failed for tid 0", "RequestEventHandle failed for probe tid: 0",
               "invalid pid: -1", "alloc new handle failed for tid -1",
               "RequestEventHandle failed for probe tid: -1"}));
    EXPECT_EQ(WriteCount(), 0U);
}

TEST_F(ProbeTest, AProbeWhoseStopCannotBeSentStaysBoundUntilItsSpanEnds) {
    EXPECT_EQ(mFront->StartProbe(kTid), 0);
    EXPECT_TRUE(BinderWrote({"bind|77"}));
    DropResources();
    mLog.Clear();
    mFront->StopProbe(kTid);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Names{"invalid qos id: 1", "resource ptr is NULL for qos id 1",
                     "SendCmdToResources failed."}));
    EXPECT_TRUE(BinderWrote({"bind|77"}));
    mClock.Advance(milliseconds(100));
    EXPECT_TRUE(BinderWrote({"bind|77", "unbind|77"}));
}

// A main thread's id is its process's pid: what ends all that the process holds ends its probe too,
// and the thread must be free to be probed, and bound, again.

TEST_F(ProbeTest, ReleaseAllOfTheProcessUnbindsItsMainThread) {
    EXPECT_EQ(mFront->StartProbe(kPid), 0);
    EXPECT_TRUE(BinderWrote({"bind|1001"}));
    EXPECT_EQ(mFront->PerfReleaseAll(kPid), 0);
    EXPECT_EQ(Value(kMinM), kBaseMinM);
    EXPECT_TRUE(BinderWrote({"bind|1001", "unbind|1001"}));
    EXPECT_EQ(mFront->StartProbe(kPid), 0);
    EXPECT_TRUE(BinderWrote({"bind|1001", "unbind|1001", "bind|1001"}));
}

TEST_F(ProbeTest, ReleasingTheHandleOfAProbeUnbindsItsThread) {
    EXPECT_EQ(mFront->StartProbe(kPid), 0);
    EXPECT_TRUE(BinderWrote({"bind|1001"}));
    EXPECT_EQ(mFront->PerfRelease(kPid, 1), 0);
    EXPECT_EQ(Value(kMinM), kBaseMinM);
    EXPECT_TRUE(BinderWrote({"bind|1001", "unbind|1001"}));
    EXPECT_EQ(mFront->StartProbe(kPid), 0);
    EXPECT_EQ(Value(kMinM), "1407000");
}

TEST_F(ProbeTest, AResetUnbindsEveryThread) {
    EXPECT_EQ(mFront->StartProbe(kTid), 0);
    EXPECT_TRUE(BinderWrote({"bind|77"}));
    EXPECT_EQ(mFront->Reset(), 0);
    EXPECT_EQ(Value(kMinM), kBaseMinM);
    EXPECT_TRUE(BinderWrote({"bind|77", "unbind|77"}));
}

TEST_F(ProbeTest, ReleasesOfOtherRequestsLeaveTheThreadBound) {
    EXPECT_EQ(mFront->StartProbe(kPid), 0);
    EXPECT_TRUE(BinderWrote({"bind|1001"}));
    ASSERT_EQ(
        mFront->PerfRequest(kPid, 50, {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 893000)}, mHandle),
        0);
    EXPECT_EQ(mFront->PerfRelease(kPid, mHandle), 0);
    EXPECT_EQ(mFront->StartProbe(kPid), 0);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "duplicate probe for tid 1001"), 1U);
    EXPECT_TRUE(BinderWrote({"bind|1001"}));
}

class ProbeSetUpTest : public FrontFixture {
protected:
    /// The items that a start of the probe sends, as the debug trace tells their values.
    void ExpectFloors(const std::string& gpu, const std::string& cpuM, const std::string& cpuB) {
        EXPECT_EQ(mFront->StartProbe(kTid), 0);
        EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG,
                             "build probe cmd: gpu=" + gpu + ", cpuM=" + cpuM + ", cpuB=" + cpuB),
                  1U);
    }
};

TEST_F(ProbeSetUpTest, TheSpanBeginsAfterTheDelay) {
    Start();
    EXPECT_EQ(mFront->StartProbe(kTid), 0);
    EXPECT_EQ(WriteCount(), 0U);
    mClock.Advance(milliseconds(9));
    EXPECT_EQ(WriteCount(), 0U);
    EXPECT_TRUE(BecomesAfter(milliseconds(1), kMinM, "1407000"));
    EXPECT_TRUE(BinderWrote({"bind|77"}));
    mClock.Advance(milliseconds(99));
    EXPECT_EQ(Value(kMinM), "1407000");
    EXPECT_TRUE(BecomesAfter(milliseconds(1), kMinM, kBaseMinM));
    EXPECT_TRUE(BinderWrote({"bind|77", "unbind|77"}));
}

TEST_F(ProbeSetUpTest, AProbeStoppedBeforeItsSpanLeavesNoTrace) {
    Start();
    EXPECT_EQ(mFront->StartProbe(kTid), 0);
    Settle(*mFront);
    mFront->StopProbe(kTid);
    Settle(*mFront);
    mClock.Advance(milliseconds(1000));
    EXPECT_EQ(WriteCount(), 0U);
}

TEST_F(ProbeSetUpTest, AFloorOfZeroIsNoFloor) {
    mProbe.startDelayMs = 0;
    mProbe.cpuB = 0;
    Start();
    ExpectFloors("400000000", "1407000", "0");
    EXPECT_EQ(NewWrites(kMinB), Names{});
    EXPECT_EQ(Value(kMinGpu), "400000000");
}

TEST_F(ProbeSetUpTest, AFloorIsClampedAsAnyRequestIs) {
    mProbe.startDelayMs = 0;
    mProbe.cpuM = 99999999;
    Start();
    ExpectFloors("400000000", "2150000", "1952000");
    EXPECT_EQ(Value(kMinM), "2150000");
}

TEST_F(ProbeSetUpTest, AFloorOfAMissingQosIsLeftOut) {
    mProbe.startDelayMs = 0;
    PerfDefaultConfig config = FrequencyConfig();
    config.qosConfigMap.erase(PERF_QOS_GPU);
    ASSERT_EQ(InitFront(config), 0);
    ExpectFloors("0", "1407000", "1952000");
    EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "resource ptr is NULL for qos id 3"), 1U);
    EXPECT_EQ(Value(kMinM), "1407000");
}

TEST_F(ProbeSetUpTest, AFloorThatItsResourceRefusesIsLeftOut) {
    mProbe.startDelayMs = 0;
    mProbe.gpu = 1;
    PerfDefaultConfig config = FrequencyConfig();
    for (PerfGroupConfig& row : config.qosConfigMap.at(PERF_QOS_GPU).get().groups) {
        row.rangeFlag = false;
    }
    ASSERT_EQ(InitFront(config), 0);
    ExpectFloors("0", "1407000", "1952000");
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "RequestValidate failed for qos id 3"), 1U);
    EXPECT_EQ(Value(kMinM), "1407000");
    EXPECT_EQ(NewWrites(kMinGpu), Names{});
}

TEST_F(ProbeSetUpTest, WithoutAnyFloorTheThreadIsBoundAllTheSame) {
    mProbe.startDelayMs = 0;
    mProbe.cpuM = mProbe.cpuB = mProbe.gpu = 0;
    Start();
    EXPECT_EQ(mFront->StartProbe(kTid), 0);
    EXPECT_TRUE(BinderWrote({"bind|77"}));
    EXPECT_EQ(mFront->StartProbe(kTid), 0);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "duplicate probe for tid 77"), 1U);
    mFront->StopProbe(kTid);
    EXPECT_TRUE(BinderWrote({"bind|77", "unbind|77"}));

    EXPECT_EQ(mFront->StartProbe(kTid), 0);
    EXPECT_TRUE(BinderWrote({"bind|77", "unbind|77", "bind|77"}));
    EXPECT_EQ(mFront->Reset(), 0);
    EXPECT_TRUE(BinderWrote({"bind|77", "unbind|77", "bind|77", "unbind|77"}));
    EXPECT_EQ(WriteCount(), 4U);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{});
}

TEST_F(ProbeSetUpTest, AHostWithoutEventsHasItsProbesAllTheSame) {
    mProbe.startDelayMs = 0;
    mEvents.clear();
    Start();
    EXPECT_EQ(mFront->StartProbe(kTid), 0);
    EXPECT_EQ(Value(kMinM), "1407000");
    EXPECT_TRUE(BinderWrote({"bind|77"}));
}

TEST_F(ProbeSetUpTest, AHostWithoutProbesLosesNothing) {
    mProbe = {};
    Start();
    EXPECT_EQ(mFront->StartProbe(kTid), 0);
    EXPECT_EQ(mFront->StartProbe(kTid), 0);
    mFront->StopProbe(kTid);
    EXPECT_EQ(WriteCount(), 0U);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{});
}

TEST_F(ProbeSetUpTest, AnExhaustedHandleTableRefusesAProbe) {
    Start({.maxProcesses = 1, .maxHandlesPerProcess = 1, .maxHandles = 8, .reservedPid = 0});
    EXPECT_EQ(mFront->StartProbe(kTid), 0);
    EXPECT_EQ(mFront->StartProbe(kTid + 1), 2);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Names{"process num reach maximum: 1", "alloc new handle failed for tid 78",
                     "RequestEventHandle failed for probe tid: 78"}));
}

/// Does something at the moment a certain line is logged, on the logging thread.
class ActingLog : public LogSink {
public:
    ActingLog(std::string text, std::function<void()> action)
        : mText(std::move(text)), mAction(std::move(action)) {
        PfLogonNamespace::PfLogonSet(3);
        SetLogSink(this);
    }
    ~ActingLog() override {
        SetLogSink(nullptr);
        PfLogonNamespace::PfLogonSet(0);
    }
    ActingLog(const ActingLog&) = delete;
    ActingLog& operator=(const ActingLog&) = delete;

    void Write(int /*level*/, const char* /*tag*/, const char* message) noexcept override {
        if (std::string(message).ends_with(mText) && !mDone.exchange(true)) {
            std::thread(mAction).join();
        }
    }

private:
    const std::string mText;
    const std::function<void()> mAction;
    std::atomic<bool> mDone{false};
};

TEST_F(ProbeTest, AStartThatCannotBeSentGivesItsHandleBack) {
    {
        const ActingLog log("build probe cmd: gpu=400000000, cpuM=1407000, cpuB=1952000",
                            [this] { DropResources(); });
        EXPECT_EQ(mFront->StartProbe(kTid), -1);
    }
    const LogCapture log;
    EXPECT_EQ(mFront->StartProbe(kTid), 0);
    EXPECT_EQ(log.Count(LOG_LEVEL_DEBUG, "duplicate probe for tid 77"), 0U);
    EXPECT_TRUE(BinderWrote({"bind|77"}));
}

TEST_F(ProbeTest, AProbeThatIsStoppedWhileItStartsIsNeitherBoostedNorBound) {
    Settle(*mFront);
    {
        // Between the handle and the sending there is no line to wait for, so the stop comes when
        // the worker takes up the first floor, that is, once it is sent; the rest follows it.
        sim::SimulatedDevice& device = *mDevice;
        auto gate = std::make_shared<sim::Gate>();
        device.Inject(kMinM, sim::OperationKind::WRITE, sim::Fault::Hold(gate));
        std::thread starter([this] { EXPECT_EQ(mFront->StartProbe(kTid), 0); });
        std::thread stopper([this, &gate] {
            EXPECT_TRUE(gate->AwaitWaiting(1));
            mFront->StopProbe(kTid);
            gate->Open();
        });
        starter.join();
        stopper.join();
    }
    EXPECT_EQ(Value(kMinM), kBaseMinM);
    EXPECT_EQ(Value(kMinB), kBaseMinB);
    EXPECT_EQ(Value(kMinGpu), kBaseMinGpu);
    EXPECT_TRUE(Eventually([this] {
        const Names written = mDevice->WritesTo(kBindNode);
        return written.empty() || written == Names{"bind|77", "unbind|77"};
    }));
}

TEST_F(ProbeTest, ANewProbeIsNotEndedByTheReleaseOfAnEarlierOne) {
    EXPECT_EQ(mFront->StartProbe(kPid), 0);
    EXPECT_TRUE(BinderWrote({"bind|1001"}));
    {
        // The earlier probe has left the handle table, but not the binder.
        const ActingLog log("ReleaseCommand for pid: 1001", [this] {
            mClock.Advance(milliseconds(50));
            EXPECT_EQ(mFront->StartProbe(kPid), 0);
        });
        EXPECT_EQ(mFront->PerfReleaseAll(kPid), 0);
    }
    EXPECT_TRUE(BinderWrote({"bind|1001", "unbind|1001", "bind|1001"}));
    Settle(*mFront);
    mClock.Advance(milliseconds(50));
    EXPECT_EQ(Value(kMinM), "1407000");
    EXPECT_TRUE(BecomesAfter(milliseconds(50), kMinM, kBaseMinM));
    EXPECT_TRUE(BinderWrote({"bind|1001", "unbind|1001", "bind|1001", "unbind|1001"}));
}

}  // namespace
}  // namespace corebeacon::test
