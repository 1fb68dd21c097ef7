// What a kernel trace shows of the engine once a tracer is bound: a marker for each operation and
// for each frequency write.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>

#include "corebeacon/trace.h"
#include "front/front_fixture.h"

namespace corebeacon {
namespace {

using namespace test;

constexpr const char* kMarkerFile = "/tracing/trace_marker";

class TraceTest : public FrontFixture {
protected:
    TraceTest() { mDevice->AddText(kMarkerFile, ""); }
    ~TraceTest() override {
        mFront.reset();
        UnbindSysTrace();
    }

    /// The names of the markers since the last call, once everything is done: those of operations,
    /// or those of frequency writes.
    Names TakeMarkers(bool ofWrites) {
        const std::string prefix = "I|" + std::to_string(getpid()) + "|corebeacon_log:";
        Names names;
        for (const std::string& marker : NewWrites(kMarkerFile)) {
            EXPECT_TRUE(marker.starts_with(prefix)) << marker;
            const bool isWrite = marker.find(" write freq: ") != std::string::npos;
            if (isWrite == ofWrites) {
                names.push_back(marker.substr(prefix.size()));
            }
        }
        return names;
    }
    Names OfOperations() { return TakeMarkers(false); }
    Names OfWrites() { return TakeMarkers(true); }

    void Bind() { ASSERT_EQ(BindSysTrace(kMarkerFile), 0); }
};

TEST_F(TraceTest, WithoutATracerNothingIsMarked) {
    Start();
    EXPECT_EQ(mFront->PerfSetScenario(kPid, kScenario, mHandle), 0);
    EXPECT_EQ(OfOperations(), Names{});
    EXPECT_EQ(mDevice->OpenDescriptors(kMarkerFile), 0U);
}

TEST_F(TraceTest, ARequestIsMarkedWithAllItAsksFor) {
    Start();
    Bind();
    ASSERT_EQ(mFront->PerfRequest(kPid, 100,
                                  {AskRange(PERF_QOS_GPU, 400000000, 495000000),
                                   Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 893000)},
                                  mHandle),
              0);
    EXPECT_EQ(OfOperations(), Names{"request {3 [0 0:400000000 1:495000000]} {0 [0 0:893000]}"});
    // As asked for: neither merged nor understood, ids as unsigned and values as signed numbers.
    const auto unknown = static_cast<PerfOperationType>(~0U);
    EXPECT_EQ(mFront->PerfRequest(kPid, 0,
                                  {{static_cast<PerfQosId>(~0U), {{~0U, {{unknown, -1}}}, {1, {}}}},
                                   {PERF_QOS_CPU_L, {}},
                                   {PERF_QOS_EAS_BASE, {{0, {{unknown, 5}, {unknown, 6}}}}}},
                                  mHandle),
              -1);
    EXPECT_EQ(OfOperations(), Names{"request {4294967295 [4294967295 4294967295:-1] [1]} {0} "
                                    "{45 [0 4294967295:5 4294967295:6]}"});
}

TEST_F(TraceTest, AFrequencyWriteIsMarkedWithBoundsModeAndSuspension) {
    Start();
    Bind();
    ASSERT_EQ(
        mFront->PerfRequest(kPid, 0, {Ask(PERF_QOS_GPU, PERF_OPERATION_LIMIT, 495000000)}, mHandle),
        0);
    EXPECT_EQ(OfWrites(), Names{"GPU write freq: 279000000~495000000, mode=0, suspend=0"});
}

TEST_F(TraceTest, AScenarioIsMarkedWithItsId) {
    Start();
    Bind();
    ASSERT_EQ(mFront->PerfSetScenario(kPid, kScenario, mHandle), 0);
    EXPECT_EQ(OfOperations(), Names{"scenario id=3"});
}

TEST_F(TraceTest, AWorkModeIsMarkedWithItsId) {
    Start();
    Bind();
    ASSERT_EQ(mFront->PerfSetMode(kPid, PERF_WORK_MODE_1, mHandle), 0);
    EXPECT_EQ(OfOperations(), Names{"workMode id=1"});
}

TEST_F(TraceTest, ASuspensionIsMarkedWithItsParameters) {
    Start();
    Bind();
    ASSERT_EQ(mFront->PerfSetSuspend({1, PERF_QOS_GPU, PERF_QOS_CPU_L}), 0);
    EXPECT_EQ(OfOperations(), Names{"suspend=1 3 0"});
}

TEST_F(TraceTest, AnEventIsMarkedWithItsIdAndItsParameters) {
    Start();
    Bind();
    mFront->PerfEvent(17, {1, 1001}, "message");
    mFront->PerfEvent(17, {}, "message");
    EXPECT_EQ(OfOperations(), (Names{"eventId=17 1 1001", "eventId=17"}));
}

TEST_F(TraceTest, WhatIsRefusedIsMarkedOnlyIfItCouldBeUnderstood) {
    Start();
    Bind();
    EXPECT_EQ(mFront->PerfRequest(kPid, 19, {}, mHandle), -1);
    EXPECT_EQ(OfOperations(), Names{"request"});
    EXPECT_EQ(mFront->PerfSetScenario(kPid, 99, mHandle), -1);
    EXPECT_EQ(OfOperations(), Names{});
    EXPECT_EQ(mFront->PerfSetScenario(0, kScenario, mHandle), -1);
    EXPECT_EQ(OfOperations(), Names{"scenario id=3"});
    EXPECT_EQ(mFront->PerfSetMode(kPid, 3, mHandle), -1);
    EXPECT_EQ(OfOperations(), Names{});
    EXPECT_EQ(mFront->PerfSetMode(0, 2, mHandle), -1);
    EXPECT_EQ(OfOperations(), Names{"workMode id=2"});
    EXPECT_EQ(mFront->PerfSetSuspend({1}), -1);
    EXPECT_EQ(OfOperations(), Names{});
    EXPECT_EQ(mFront->PerfSetSuspend({0, 63}), -1);
    EXPECT_EQ(OfOperations(), Names{"suspend=0 63"});
    EXPECT_EQ(mFront->PerfEvent(4097, {1}, ""), -1);
    EXPECT_EQ(OfOperations(), Names{"eventId=4097 1"});
    EXPECT_EQ(mFront->PerfEvent(8192, {1}, ""), -1);
    EXPECT_EQ(OfOperations(), Names{"eventId=8192 1"});
    EXPECT_EQ(mFront->PerfEvent(8192, {1, 0}, ""), 0);
    EXPECT_EQ(OfOperations(), (Names{"eventId=8192 1 0", "suspend=1 0"}));
}

TEST_F(TraceTest, AMarkerThatIsLostFailsNoOperation) {
    Start();
    Bind();
    mDevice->Inject(kMarkerFile, sim::OperationKind::WRITE, sim::Fault::Errno(EBADF).Forever());
    EXPECT_EQ(mFront->PerfSetScenario(kPid, kScenario, mHandle), 0);
    EXPECT_EQ(Value(kMaxGpu), "495000000");
    EXPECT_EQ(LostSysTraceMarkers(), 3U) << "the scenario's and that of each frequency write";
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_WARNING).size(), 1U);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{});
}

}  // namespace
}  // namespace corebeacon
