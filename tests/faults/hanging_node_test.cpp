// A node whose operations do not come back: whoever asks its QoS for something is not held up, nor
// is any other QoS. A gate holds the node's operation for as long as a test wants.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "command/command_manager.h"
#include "front/front_fixture.h"
#include "support/thread_state.h"

namespace corebeacon::test {
namespace {

using sim::Fault;
using sim::Gate;
using sim::OperationKind;

constexpr int kGpuBoost = 400000000;
constexpr int kGpuHigherBoost = 495000000;
const std::string kGpuText = "400000000";

class HangingNode : public FrontFixture {
protected:
    void SetUp() override {
        mProbe.startDelayMs = 0;
        Start();
    }

    /// The engine waits for its nodes at its end.
    void TearDown() override {
        mGate->Open();
        FrontFixture::TearDown();
    }

    /// The next operation of this kind on the node hangs, and so do those after it.
    void Hang(const std::string& node, OperationKind operation) {
        mDevice->Inject(node, operation, Fault::Hold(mGate).Forever());
    }

    int Request(PerfQosId qos, int value, unsigned int duration = 0) {
        return mFront->PerfRequest(kPid, duration, {Ask(qos, PERF_OPERATION_BOOST, value)},
                                   mHandle);
    }

    /// A request of the GPU whose write of the floor hangs.
    void HangTheGpu(OperationKind operation = OperationKind::WRITE) {
        Hang(kMinGpu, operation);
        ASSERT_EQ(Request(PERF_QOS_GPU, kGpuBoost), 0);
        ASSERT_TRUE(mGate->AwaitWaiting(1));
    }

    bool Becomes(const std::string& node, const std::string& value) const {
        return Eventually([&] { return mDevice->Value(node) == value; });
    }

    /// The log of one resource, fetched past the front, which asks all of them.
    std::string LogOf(PerfQosId qos) const {
        const auto resource = mFront->Resources().GetResourcePtr(qos);
        auto item = std::make_shared<PerfCommandItem>();
        item->qosId = qos;
        resource->SendCommandToFifoQ({PERF_COMMAND_GET_LOG, item});
        std::ostringstream out;
        EXPECT_TRUE(resource->WaitLogFinish(false, out));
        return out.str();
    }

    /// Whether the dump under way has the answers of the three others.
    bool AwaitsTheGpuOnly() const {
        return Eventually([this] {
            const Names texts = mLog.Texts(LOG_LEVEL_DEBUG);
            return std::any_of(texts.begin(), texts.end(), [](const std::string& text) {
                return text.ends_with("res 2 log finish");
            });
        });
    }

    const std::shared_ptr<Gate> mGate = std::make_shared<Gate>();
};

/// Whichever operation hangs. A request opens the node and writes it, a suspension closes it.
class HangingOperation : public HangingNode, public testing::WithParamInterface<OperationKind> {
protected:
    void HangIt() {
        if (GetParam() == OperationKind::CLOSE) {
            ASSERT_EQ(Request(PERF_QOS_GPU, kGpuBoost), 0);
            Hang(kMinGpu, OperationKind::CLOSE);
            ASSERT_EQ(mFront->PerfSetSuspend({1, PERF_QOS_GPU}), 0);
            ASSERT_TRUE(mGate->AwaitWaiting(1));
            ASSERT_EQ(mFront->PerfSetSuspend({0, PERF_QOS_GPU}), 0);
            return;
        }
        // Opened anew by the resumption.
        ASSERT_EQ(mFront->PerfSetSuspend({1, PERF_QOS_GPU}), 0);
        Settle(*mFront);
        Hang(kMinGpu, GetParam());
        ASSERT_EQ(Request(PERF_QOS_GPU, kGpuBoost), 0);
        ASSERT_EQ(mFront->PerfSetSuspend({0, PERF_QOS_GPU}), 0);
        ASSERT_TRUE(mGate->AwaitWaiting(1));
    }
};

// The gate stays closed while these call: that they return at all is what is shown.

TEST_P(HangingOperation, HoldsUpNoCallerOfItsQos) {
    HangIt();
    for (int i = 0; i < 1000; ++i) {
        unsigned long handle = 0;
        ASSERT_EQ(
            mFront->PerfRequest(kOtherPid, 20 + static_cast<unsigned int>(i % 2),
                                {Ask(PERF_QOS_GPU, PERF_OPERATION_BOOST, kGpuHigherBoost)}, handle),
            0);
        ASSERT_EQ(mFront->PerfRelease(kOtherPid, handle), 0);
    }
    EXPECT_EQ(
        mFront->PerfRequest(kOtherPid, 0, {Ask(PERF_QOS_GPU, PERF_OPERATION_BOOST, 1)}, mHandle),
        0);
    EXPECT_EQ(mFront->PerfReleaseAll(kOtherPid), 0);
    EXPECT_EQ(mFront->StartEvent(kEvent, 0), 0);
    mFront->StopEvent(kEvent);
    EXPECT_EQ(mFront->PerfSetScenario(kOtherPid, kScenario, mHandle), 0);
    EXPECT_EQ(mFront->PerfSetMode(kOtherPid, PERF_WORK_MODE_1, mHandle), 0);
    EXPECT_EQ(mFront->PerfRelease(kOtherPid, mHandle), 0);
    EXPECT_EQ(mFront->Reset(), 0);
    EXPECT_EQ(mGate->Waiting(), 1U);
    mGate->Open();
    EXPECT_EQ(Value(kMinGpu), kBaseMinGpu);
}

TEST_P(HangingOperation, HoldsUpNoOtherQos) {
    HangIt();
    EXPECT_EQ(Request(PERF_QOS_CPU_L, 893000, 100), 0);
    EXPECT_TRUE(Becomes(kMinL, "893000"));
    EXPECT_EQ(mFront->StartProbe(77), 0);
    EXPECT_TRUE(Becomes(kMinM, "1407000"));
    EXPECT_TRUE(BinderWrote({"bind|77"}));
    EXPECT_TRUE(BecomesAfter(milliseconds(100), kMinL, kBaseMinL));
    EXPECT_TRUE(Becomes(kMinM, kBaseMinM));
    EXPECT_TRUE(BinderWrote({"bind|77", "unbind|77"}));
    EXPECT_EQ(mGate->Waiting(), 1U);
}

TEST_P(HangingOperation, HoldsUpNoDumpThatAsksAnotherWorkerOrNone) {
    HangIt();
    EXPECT_EQ(Request(PERF_QOS_CPU_L, 893000), 0);
    EXPECT_NE(LogOf(PERF_QOS_CPU_L).find("final: 893000~"), std::string::npos);
    for (const char* type : {"--event", "--scenario", "--workMode", "--limit_history"}) {
        std::ostringstream out;
        EXPECT_TRUE(mFront->DumpInfo(out, type));
        EXPECT_NE(out.str(), "") << type;
    }
    std::ostringstream history;
    mFront->DumpFreqLimitHistory(history);
    EXPECT_NE(history.str().find("*****GPU"), std::string::npos);
    EXPECT_EQ(mGate->Waiting(), 1U);
}

INSTANTIATE_TEST_SUITE_P(Of, HangingOperation,
                         testing::Values(OperationKind::OPEN, OperationKind::WRITE,
                                         OperationKind::CLOSE),
                         [](const auto& operation) {
                             return std::string(sim::OperationName(operation.param));
                         });

TEST_F(HangingNode, GetsTheNewestValueOnceItIsBack) {
    HangTheGpu();
    unsigned long handle = 0;
    EXPECT_EQ(mFront->PerfRequest(
                  kOtherPid, 0, {Ask(PERF_QOS_GPU, PERF_OPERATION_BOOST, kGpuHigherBoost)}, handle),
              0);
    EXPECT_EQ(mFront->PerfRelease(kPid, mHandle), 0);
    mGate->Open();
    EXPECT_EQ(Value(kMinGpu), "495000000");
}

TEST_F(HangingNode, LosesNoEndOfARequest) {
    Hang(kMinGpu, OperationKind::WRITE);
    EXPECT_EQ(Request(PERF_QOS_GPU, kGpuBoost, 100), 0);
    ASSERT_TRUE(mGate->AwaitWaiting(1));
    mClock.Advance(std::chrono::seconds(10));
    // The handle goes in time, whatever the node does.
    EXPECT_EQ(Request(PERF_QOS_CPU_L, 893000), 0);
    EXPECT_EQ(mFront->Commands().GetCounts().liveHandles, 1U);
    mGate->Open();
    EXPECT_TRUE(Eventually([this] { return mDevice->WritesTo(kMinGpu).size() == 2; }));
    EXPECT_EQ(mDevice->WritesTo(kMinGpu), (Names{kGpuText, kBaseMinGpu}));
}

TEST_F(HangingNode, OfTheBinderHoldsUpNoProbe) {
    Hang(kBindNode, OperationKind::WRITE);
    EXPECT_EQ(mFront->StartProbe(77), 0);
    ASSERT_TRUE(mGate->AwaitWaiting(1));
    EXPECT_EQ(mFront->StartProbe(78), 0);
    EXPECT_EQ(Value(kMinM), "1407000");
    mFront->StopProbe(77);
    mFront->StopProbe(78);
    EXPECT_EQ(Value(kMinM), kBaseMinM);
    mGate->Open();
    EXPECT_TRUE(BinderWrote({"bind|77", "unbind|77"}));
}

// What needs an answer of the worker that hangs waits for it.

TEST_F(HangingNode, HoldsUpADumpOfAllRequests) {
    HangTheGpu();
    std::atomic<bool> opened{false};
    std::ostringstream out;
    std::thread dumper([&] {
        EXPECT_EQ(mFront->TaskDump(false, out), 0);
        EXPECT_TRUE(opened);
    });
    EXPECT_TRUE(AwaitsTheGpuOnly());
    EXPECT_EQ(Request(PERF_QOS_CPU_L, 893000), 0);
    EXPECT_TRUE(Becomes(kMinL, "893000"));
    opened = true;
    mGate->Open();
    dumper.join();
    EXPECT_NE(out.str().find("final: " + kGpuText), std::string::npos);
}

class DestructionOnAHangingNode : public HangingNode {
protected:
    /// Destroys the engine while the gate is closed, and opens it once every other worker has left.
    void Destroy() {
        std::atomic<bool> opened{false};
        std::atomic<pid_t> tid{0};
        std::thread destroyer([&] {
            tid = ::gettid();
            mFront.reset();
            EXPECT_TRUE(opened);
        });
        for (const char* name : {"CPU_L", "CPU_M", "CPU_B"}) {
            const std::string text = "[" + std::string(name) + "] work thread exit";
            EXPECT_TRUE(Eventually([&] { return mLog.Count(LOG_LEVEL_INFO, text) == 1; })) << name;
        }
        // The worker that hangs is told last: once the destroyer waits, it has been.
        EXPECT_TRUE(Eventually([&] { return IsAsleep(tid); }));
        EXPECT_EQ(mLog.Count(LOG_LEVEL_INFO, "[GPU] work thread exit"), 0U);
        opened = true;
        mGate->Open();
        destroyer.join();
        EXPECT_EQ(mDevice->OpenDescriptors(), 0U);
    }
};

TEST_F(DestructionOnAHangingNode, WaitsForTheOneOperationAndDropsWhatIsQueuedBehindIt) {
    HangTheGpu();
    for (int i = 1; i <= 100; ++i) {
        EXPECT_EQ(Request(PERF_QOS_GPU, kGpuBoost + i), 0);
    }
    Destroy();
    EXPECT_EQ(mDevice->WritesTo(kMinGpu), Names{kGpuText});
}

TEST_F(DestructionOnAHangingNode, FinishesTheFinalPairThatWasBeingWritten) {
    Hang(kMinGpu, OperationKind::WRITE);
    const std::size_t before = mDevice->WritesTo(kMaxGpu).size();
    EXPECT_EQ(
        mFront->PerfRequest(kPid, 0, {AskRange(PERF_QOS_GPU, kGpuBoost, kGpuHigherBoost)}, mHandle),
        0);
    ASSERT_TRUE(mGate->AwaitWaiting(1));
    Destroy();
    EXPECT_EQ(mDevice->WritesTo(kMaxGpu).size() - before, 2U);
    EXPECT_EQ(mDevice->Value(kMinGpu), kGpuText);
}

TEST_F(DestructionOnAHangingNode, EndsADumpThatWaitsForTheNode) {
    HangTheGpu();
    std::ostringstream out;
    std::thread dumper([&] { EXPECT_EQ(mFront->TaskDump(false, out), 0); });
    EXPECT_TRUE(AwaitsTheGpuOnly());
    Destroy();
    dumper.join();
    EXPECT_NE(out.str().find("CPU_B: "), std::string::npos);
    EXPECT_EQ(out.str().find("GPU: boostBase"), std::string::npos);
}

TEST_F(DestructionOnAHangingNode, EndsAnInspectionThatWaitsForTheNode) {
    HangTheGpu();
    // The other workers and the binder sleep, so one sleeper more is the inspection.
    constexpr std::size_t kSleepers = 4;
    ASSERT_TRUE(Eventually([&] { return mClock.SleeperCount() == kSleepers; }));
    std::thread inspector([&] {
        std::vector<GroupState> groups;
        EXPECT_EQ(mFront->Inspect(PERF_QOS_GPU, groups), -1);
        EXPECT_TRUE(groups.empty());
    });
    EXPECT_TRUE(Eventually([&] { return mClock.SleeperCount() == kSleepers + 1; }));
    Destroy();
    inspector.join();
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "fail to inspect res GPU"), 1U);
}

}  // namespace
}  // namespace corebeacon::test
