// How often a request asks for memory, counted block by block: the heap is the one thing that all
// callers and workers share, and its cost is the least even.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "corebeacon/qos_config.h"
#include "platform/clock.h"
#include "platform/logging.h"
#include "resources/frequency_resource.h"
#include "resources/ioctl_level_map_group.h"
#include "soak/heap_count.h"
#include "support/engine_fixture.h"
#include "support/log_capture.h"

namespace corebeacon::test {
namespace {

constexpr const char* LOG_TAG = "PF_TEST";

constexpr std::size_t kMostOfACaller = 6;
constexpr std::size_t kMostOfAWorker = 2;
constexpr int kTop = 2400000;

template <typename Act>
std::size_t HeapRequestsOf(Act act) {
    const std::size_t before = HeapRequestsOfThread();
    act();
    return HeapRequestsOfThread() - before;
}

class CallersHeap : public EngineFixture, public ::testing::WithParamInterface<unsigned int> {
protected:
    unsigned long Start(int pid) {
        unsigned long handle = 0;
        EXPECT_EQ(mFront->PerfRequest(pid, GetParam(), mRequest, handle), 0);
        return handle;
    }

    const std::vector<PerfRequestInfo> mRequest{Ask(PERF_QOS_CPU_B, PERF_OPERATION_BOOST, kTop)};
};

TEST_P(CallersHeap, IsNotAskedByOneRequestAfterTheOther) {
    StartEngine();
    mFront->PerfRelease(1, Start(1));
    for (int i = 0; i < 100; ++i) {
        unsigned long handle = 0;
        EXPECT_EQ(HeapRequestsOf([&] { handle = Start(1); }), 0U);
        EXPECT_EQ(HeapRequestsOf([&] { mFront->PerfRelease(1, handle); }), 0U);
        Settle(*mFront);
    }
}

TEST_P(CallersHeap, IsAskedAtMostSixTimesByTheFirstRequestOfAProcessWhileOthersStand) {
    constexpr std::size_t kProcesses = 500;
    // Tables grow by the chunk: now and then a request pays for those that follow.
    constexpr std::size_t kGrowth = kProcesses / 20;
    StartEngine();
    std::size_t asked = 0;
    for (std::size_t pid = 1; pid <= kProcesses; ++pid) {
        asked += HeapRequestsOf([&] { Start(static_cast<int>(pid)); });
        Settle(*mFront);
    }
    EXPECT_LE(asked, kMostOfACaller * kProcesses + kGrowth);
}

TEST_P(CallersHeap, IsAskedAtMostSixTimesByEachFurtherRequestOfAProcess) {
    constexpr int kRequests = 1000;
    StartEngine();
    std::size_t asked = 0;
    for (int i = 0; i < kRequests; ++i) {
        asked += HeapRequestsOf([&] { Start(1); });
    }
    EXPECT_LE(asked, kMostOfACaller * kRequests);
}

TEST_P(CallersHeap, IsNoFullerAfterThousandsOfRequests) {
    StartEngine();
    const auto run = [this](int count) {
        for (int i = 0; i < count; ++i) {
            mFront->PerfRelease(1, Start(1));
        }
        Settle(*mFront);
    };
    run(100);
    mDevice->ClearRecord();
    mDevice->SetRecordLimit(0);
    const std::size_t before = LiveHeapBlocks();
    run(5000);
    // A worker may not have given back yet what it answered the last dump with.
    EXPECT_LE(LiveHeapBlocks(), before + 16);
}

INSTANTIATE_TEST_SUITE_P(UntimedAndTimed, CallersHeap, ::testing::Values(0U, 60000U));

/// Takes every write and remembers nothing.
class SilentNodeIo : public NodeIo {
public:
    int Open(const char*, int) override { return 1; }
    ssize_t Read(int, void*, std::size_t) override { return 0; }
    ssize_t Write(int, const void*, std::size_t size) override {
        return static_cast<ssize_t>(size);
    }
    int Close(int) override { return 0; }
    int Ioctl(int, unsigned long, void*) override { return 0; }
};

/// A frequency resource without a thread: the test does the worker's steps.
class WorkersHeap : public ::testing::TestWithParam<bool> {
protected:
    WorkersHeap() { EXPECT_EQ(mResource.InitResource(mConfig, false), 0); }

    /// What the worker asks for when it carries this out.
    std::size_t Process(bool isStart, unsigned long handle, int value) {
        auto item = std::make_shared<PerfCommandItem>();
        item->handle = handle;
        if (GetParam()) {
            item->startTime = mStart;
            item->endTime = mStart + std::chrono::minutes(1);
        }
        item->groups = {{0, {{PERF_OPERATION_BOOST, value}}}};
        const PerfCommandType start =
            GetParam() ? PERF_COMMAND_SHORT_START : PERF_COMMAND_LONG_START;
        const PerfCommandType stop = GetParam() ? PERF_COMMAND_SHORT_STOP : PERF_COMMAND_LONG_STOP;
        mResource.SendCommandToFifoQ({isStart ? start : stop, std::move(item)});
        return HeapRequestsOf([this] { mResource.HandleCommand(WorkStatus::NEW_COMMAND); });
    }

    const TimePoint mStart = SteadyNow();
    SilentNodeIo mNodes;
    const ScopedNodeIo mNodeIo{mNodes};
    PerfQosFreqConfig mConfig{"CPU_B",
                              {PerfGroupConfig("CPU_B", false, 0, 3000000, 0, 3000000,
                                               {"/min", "/max"}, CHIP_TYPE_COMMON)},
                              {}};
    FrequencyResource mResource{ResConstructParam{mConfig, PERF_WORK_MODE_0, PERF_QOS_CPU_B}};
};

TEST_P(WorkersHeap, IsAskedAtMostTwiceForARequestThatChangesTheNodes) {
    Process(true, 1, kTop);
    Process(false, 1, kTop);
    for (unsigned long handle = 2; handle < 100; ++handle) {
        EXPECT_LE(Process(true, handle, kTop), kMostOfAWorker);
        EXPECT_LE(Process(false, handle, kTop), kMostOfAWorker);
    }
}

TEST_P(WorkersHeap, IsAskedAtMostTwiceForEachOfACrowd) {
    constexpr unsigned long kCrowd = 2000;
    std::size_t started = 0;
    std::size_t stopped = 0;
    for (unsigned long handle = 1; handle <= kCrowd; ++handle) {
        started += Process(true, handle, kTop - static_cast<int>(handle));
    }
    for (unsigned long handle = 1; handle <= kCrowd; ++handle) {
        stopped += Process(false, handle, kTop - static_cast<int>(handle));
    }
    EXPECT_LE(started, kMostOfAWorker * kCrowd);
    EXPECT_LE(stopped, kMostOfAWorker * kCrowd);
}

INSTANTIATE_TEST_SUITE_P(UntimedAndTimed, WorkersHeap, ::testing::Bool());

TEST(IoctlsHeap, IsNotAskedByTheFirstWriteEither) {
    SilentNodeIo nodes;
    const ScopedNodeIo nodeIo(nodes);
    const Level2ValueMap levels = {{100, {"3:5"}}, {110, {"3:120"}}};
    IoctlLevelMapGroup group(PerfGroupConfig("PRIO", 100, {"/prio"}, levels, CHIP_TYPE_COMMON),
                             PERF_WORK_MODE_0);
    EXPECT_EQ(HeapRequestsOf([&group] { EXPECT_EQ(group.DoConfig(110, 0), 0); }), 0U);
}

TEST(LogLinesHeap, IsNotAskedForALineThatIsOff) {
    const auto text = [] { return std::string(200, 'x'); };
    EXPECT_EQ(HeapRequestsOf([&] {
                  LOGD("[%s:%d] %s", text().c_str());
                  LOGI("[%s:%d] %s", text().c_str());
              }),
              0U);
}

}  // namespace
}  // namespace corebeacon::test
