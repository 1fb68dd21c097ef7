// The workers without memory: none of them dies of it, what they could not take up is left out
// whole, and what ends does end.
#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

#include "command/command_manager.h"
#include "corebeacon/log.h"
#include "corebeacon/trace.h"
#include "oom/oom_fixture.h"

namespace corebeacon::test {
namespace {

constexpr int kPid = 1;
constexpr int kTid = 4711;
constexpr unsigned int kLongMs = 60000;

/// Counts the lines that end in a text, without memory of its own.
class LineCount final : public LogSink {
public:
    explicit LineCount(std::string_view text) : mText(text) { SetLogSink(this); }
    ~LineCount() override { SetLogSink(nullptr); }
    LineCount(const LineCount&) = delete;
    LineCount& operator=(const LineCount&) = delete;

    void Write(int, const char*, const char* message) noexcept override {
        mCount += std::string_view(message).ends_with(mText) ? 1 : 0;
    }
    int Get() const { return mCount; }

private:
    const std::string_view mText;
    std::atomic<int> mCount{0};
};

class WorkerOomTest : public OomFixture {
protected:
    /// As Settle, with a thread's own memory for the questions, and whatever the answers.
    void SettleWithoutMemory() {
        std::ostringstream out;
        mFront->TaskDump(true, out);
    }

    static PerfRequestInfo AskTask(PerfQosId qosId, unsigned int group, int level) {
        return {qosId, {{group, {{PERF_OPERATION_BOOST, level}}}}};
    }

    void SetBase(unsigned int group, int level) {
        unsigned long none = 0;
        EXPECT_EQ(mFront->PerfRequest(kPid, 0, {AskTask(PERF_QOS_EAS_BASE, group, level)}, none),
                  0);
    }

    GroupState TaskGroup(unsigned int group) {
        std::vector<GroupState> groups;
        EXPECT_EQ(mFront->Inspect(PERF_QOS_EAS, groups), 0);
        return groups.at(group);
    }

    /// A floor or a ceiling of every kind, twice each: the second finds a head in its way.
    std::vector<PerfRequestInfo> Everything() const {
        return RandomRequests(*mFront, mConfig.qosConfigMap, 0).EveryLevel();
    }
};

TEST_F(WorkerOomTest, WhatWasAcceptedWithMemoryEndsWithoutAny) {
    std::vector<unsigned long> handles;
    for (const PerfRequestInfo& request : Everything()) {
        ASSERT_EQ(mFront->PerfRequest(kPid, 0, {request}, handles.emplace_back()), 0);
        ASSERT_EQ(mFront->PerfRequest(kPid, kLongMs, {request}, handles.emplace_back()), 0);
    }
    ASSERT_EQ(mFront->PerfSetMode(kPid, PERF_WORK_MODE_1, handles.emplace_back()), 0);
    Settle(*mFront);
    ASSERT_NE(NodeValues(), mBase);
    {
        const FailingHeap heap(HeapUser::OTHER_THREADS, Shortage::FOR_EVER, 1);
        for (const unsigned long handle : handles) {
            EXPECT_EQ(mFront->PerfRelease(kPid, handle), 0);
        }
        ExpectEveryNodeAtItsBase();
    }
    EXPECT_EQ(mFront->Commands().GetCounts().liveHandles, 0U);
    ExpectTheEngineGoesOn();
}

TEST_F(WorkerOomTest, WhatRunsOutEndsWithoutMemory) {
    unsigned long handle = 0;
    for (const PerfRequestInfo& request : Everything()) {
        ASSERT_EQ(mFront->PerfRequest(kPid, 300, {request}, handle), 0);
    }
    Settle(*mFront);
    const FailingHeap heap(HeapUser::OTHER_THREADS, Shortage::FOR_EVER, 1);
    ExpectEveryNodeAtItsBase();
}

TEST_F(WorkerOomTest, AProbedThreadIsUnboundWithoutMemory) {
    // Held while it binds: a short span could be over before this thread has seen it begin.
    const auto gate = std::make_shared<sim::Gate>();
    mDevice->Inject(kProbeNode, sim::OperationKind::WRITE, sim::Fault::Hold(gate));
    ASSERT_EQ(mFront->StartProbe(kTid), 0);
    ASSERT_TRUE(gate->AwaitWaiting(1));
    const FailingHeap heap(HeapUser::OTHER_THREADS, Shortage::FOR_EVER, 1);
    gate->Open();
    EXPECT_TRUE(Eventually([this] { return mDevice->Snapshot().at(kProbeNode) == "unbind|4711"; }));
}

TEST_F(WorkerOomTest, AThreadThatIsNotBoundForLackOfMemoryMayBeProbedAgain) {
    const LineCount refusals("out of memory, tid 4711 is not bound");
    {
        const FailingHeap heap(HeapUser::OTHER_THREADS, Shortage::FOR_EVER, 1);
        ASSERT_EQ(mFront->StartProbe(kTid), 0);
        ASSERT_TRUE(Eventually([&refusals] { return refusals.Get() == 1; }));
    }
    EXPECT_EQ(mDevice->Snapshot().at(kProbeNode).find("4711"), std::string::npos);
    // Until the span of the first is over, another one is a duplicate.
    EXPECT_TRUE(Eventually([this] {
        EXPECT_EQ(mFront->StartProbe(kTid), 0);
        return mDevice->Snapshot().at(kProbeNode) == "unbind|4711";
    }));
}

TEST_F(WorkerOomTest, ADumpIsAnsweredWithoutMemory) {
    for (const bool full : {false, true}) {
        std::ostringstream whole;
        ASSERT_EQ(mFront->TaskDump(full, whole), 0);
        std::ostringstream out;
        {
            const FailingHeap heap(HeapUser::OTHER_THREADS, Shortage::FOR_EVER, 1);
            EXPECT_EQ(mFront->TaskDump(full, out), 0);
        }
        EXPECT_EQ(out.str(), "");
        EXPECT_EQ(mFront->TaskDump(full, out), 0);
        EXPECT_EQ(out.str(), whole.str());
    }
}

TEST_F(WorkerOomTest, AnInspectionIsWholeOrNone) {
    std::vector<GroupState> whole;
    ASSERT_EQ(mFront->Inspect(PERF_QOS_EAS, whole), 0);
    ASSERT_GT(whole.size(), 1U);
    bool isShort = true;
    for (long nth = 1; isShort; ++nth) {
        std::vector<GroupState> groups;
        const FailingHeap heap(HeapUser::OTHER_THREADS, Shortage::ONCE, nth);
        const int result = mFront->Inspect(PERF_QOS_EAS, groups);
        isShort = FailingHeap::HasFailed();
        EXPECT_EQ(result, isShort ? -1 : 0) << nth;
        EXPECT_EQ(groups.size(), isShort ? 0U : whole.size()) << nth;
    }
}

TEST_F(WorkerOomTest, ABaseValueThatFindsNoMemoryIsLeftOutWhole) {
    // The queues take memory for several items at once: for one of these groups not for its base.
    int leftOut = 0;
    for (unsigned int group = 0; group < sim::kEasTaskGroups.size(); ++group) {
        SetBase(group, 30);
        for (unsigned int requests = 0; requests < 4 + group; ++requests) {
            unsigned long handle = 0;
            ASSERT_EQ(mFront->PerfRequest(kPid, 0, {AskTask(PERF_QOS_EAS, group, 10)}, handle), 0);
        }
        Settle(*mFront);
        {
            const FailingHeap heap(HeapUser::OTHER_THREADS, Shortage::FOR_EVER, 1);
            SetBase(group, 0);
            SettleWithoutMemory();
        }
        const GroupState state = TaskGroup(group);
        leftOut += state.inForce.floor == 30 ? 1 : 0;
        EXPECT_EQ(state.base.floor, state.inForce.floor == 30 ? 30 : 0) << group;
    }
    EXPECT_GT(leftOut, 0);
}

class StartOomTest : public WorkerOomTest, public ::testing::WithParamInterface<Shortage> {
protected:
    /// Lets `start` run while the workers lack their first allocation, then a later one and so on,
    /// until none is missing; takes all back each time. Of many, one in some is as good as each:
    /// the next is `nth` / `share` later.
    template <typename Start>
    void ExpectNothingIsLeftOf(const Start& start, long share) {
        bool isThrough = false;
        for (long nth = 1; !isThrough; nth += 1 + nth / share) {
            ASSERT_LT(nth, 10000);
            {
                const FailingHeap heap(HeapUser::OTHER_THREADS, GetParam(), nth);
                start();
                SettleWithoutMemory();
                isThrough = !FailingHeap::HasFailed();
            }
            ASSERT_EQ(mFront->Reset(), 0);
            Settle(*mFront);
            ExpectEveryNodeAtItsBase();
        }
        ExpectTheEngineGoesOn();
    }
};

TEST_P(StartOomTest, AStartThatFindsNoMemoryIsLeftOutWhole) {
    const std::vector<PerfRequestInfo> requests = Everything();
    ExpectNothingIsLeftOf(
        [this, &requests] {
            for (const PerfRequestInfo& request : requests) {
                unsigned long handle = 0;
                ASSERT_EQ(mFront->PerfRequest(kPid, 0, {request}, handle), 0);
                ASSERT_EQ(mFront->PerfRequest(kPid, kLongMs, {request}, handle), 0);
            }
        },
        8);
}

TEST_P(StartOomTest, StandingStartsBeyondTheRoomThatAGroupHasAreLeftOut) {
    ExpectNothingIsLeftOf(
        [this] {
            for (int value = 0; value < 100; ++value) {
                unsigned long handle = 0;
                const auto ask = AskRange(PERF_QOS_GPU, 400000000 + value, 600000000 - value);
                ASSERT_EQ(mFront->PerfRequest(kPid, 0, {ask}, handle), 0);
            }
        },
        8);
}

TEST_P(StartOomTest, EventsWithStepsThatWaitAndProbesEndAllTheSame) {
    const auto events = GetConfigurableEventVec(mChip);
    ExpectNothingIsLeftOf(
        [this, &events] {
            for (const ConfigurableEvent& event : events) {
                EXPECT_EQ(mFront->StartEvent(event.eventId, 0), 0);
                EXPECT_EQ(mFront->StartEvent(event.eventId, 40), 0);
            }
            EXPECT_EQ(mFront->StartProbe(kTid), 0);
        },
        4);
}

INSTANTIATE_TEST_SUITE_P(Of, StartOomTest, ::testing::Values(Shortage::ONCE, Shortage::FOR_EVER),
                         [](const auto& tested) {
                             return tested.param == Shortage::ONCE ? "Once" : "ForEver";
                         });

TEST_F(WorkerOomTest, AWriteComesAboutThoughItsTraceMarkerDoesNot) {
    mDevice->AddText("/trace_marker", "");
    ASSERT_EQ(BindSysTrace("/trace_marker"), 0);
    unsigned long handle = 0;
    ASSERT_EQ(
        mFront->PerfRequest(kPid, 0, {Ask(PERF_QOS_GPU, PERF_OPERATION_BOOST, 500000000)}, handle),
        0);
    Settle(*mFront);
    {
        const FailingHeap heap(HeapUser::OTHER_THREADS, Shortage::FOR_EVER, 1);
        EXPECT_EQ(mFront->PerfRelease(kPid, handle), 0);
        SettleWithoutMemory();
    }
    UnbindSysTrace();
    mBase["/trace_marker"] = NodeValues().at("/trace_marker");
    ExpectEveryNodeAtItsBase();
}

}  // namespace
}  // namespace corebeacon::test
