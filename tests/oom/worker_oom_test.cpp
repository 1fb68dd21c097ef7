// The workers without memory: none of them dies of it, what they could not take up is left out
// whole, and what ends does end.
#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "command/command_manager.h"
#include "corebeacon/trace.h"
#include "oom/oom_fixture.h"

namespace corebeacon::test {
namespace {

constexpr int kPid = 1;
constexpr int kTid = 4711;
constexpr unsigned int kLongMs = 60000;

class WorkerOomTest : public OomFixture {
protected:
    /// As Settle, with a thread's own memory for the questions, and whatever the answers.
    void SettleWithoutMemory() {
        std::ostringstream out;
        mFront->TaskDump(true, out);
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

class StartOomTest : public WorkerOomTest, public ::testing::WithParamInterface<Shortage> {};

TEST_P(StartOomTest, AStartThatFindsNoMemoryIsLeftOutWhole) {
    const std::vector<PerfRequestInfo> requests = Everything();
    bool isThrough = false;
    for (long nth = 1; !isThrough; nth += 1 + nth / 8) {
        ASSERT_LT(nth, 10000);
        {
            const FailingHeap heap(HeapUser::OTHER_THREADS, GetParam(), nth);
            for (const PerfRequestInfo& request : requests) {
                unsigned long handle = 0;
                ASSERT_EQ(mFront->PerfRequest(kPid, 0, {request}, handle), 0);
                ASSERT_EQ(mFront->PerfRequest(kPid, kLongMs, {request}, handle), 0);
            }
            SettleWithoutMemory();
            isThrough = !FailingHeap::HasFailed();
        }
        ASSERT_EQ(mFront->Reset(), 0);
        Settle(*mFront);
        ExpectEveryNodeAtItsBase();
    }
    ExpectTheEngineGoesOn();
}

TEST_P(StartOomTest, EventsWithStepsThatWaitAndProbesEndAllTheSame) {
    const auto events = GetConfigurableEventVec(mChip);
    bool isThrough = false;
    for (long nth = 1; !isThrough; nth += 1 + nth / 4) {
        ASSERT_LT(nth, 10000);
        {
            const FailingHeap heap(HeapUser::OTHER_THREADS, GetParam(), nth);
            for (const ConfigurableEvent& event : events) {
                EXPECT_EQ(mFront->StartEvent(event.eventId, 0), 0);
                EXPECT_EQ(mFront->StartEvent(event.eventId, 40), 0);
            }
            EXPECT_EQ(mFront->StartProbe(kTid), 0);
            SettleWithoutMemory();
            isThrough = !FailingHeap::HasFailed();
        }
        ASSERT_EQ(mFront->Reset(), 0);
        Settle(*mFront);
        ExpectEveryNodeAtItsBase();
    }
    ExpectTheEngineGoesOn();
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
