#include <gtest/gtest.h>

#include "front/front_fixture.h"

namespace corebeacon::test {
namespace {

class EventTest : public FrontFixture {
protected:
    void SetUp() override { Start(); }

    int Event(PerfEventId id, const std::vector<unsigned int>& params) {
        return mFront->PerfEvent(id, params, "note");
    }
};

TEST_F(EventTest, AnEventRunsStepByStepAndEndsByItself) {
    EXPECT_EQ(Event(kEvent, {}), 0);
    EXPECT_EQ(Value(kMinM), "1407000");
    EXPECT_EQ(Value(kMinL), "1211000");
    EXPECT_TRUE(BecomesAfter(milliseconds(100), kMinM, "1160000"));
    EXPECT_EQ(Value(kMinL), "1211000");
    EXPECT_TRUE(BecomesAfter(milliseconds(50), kMinL, kBaseMinL));
    EXPECT_EQ(Value(kMinM), "1160000");
    mClock.Advance(milliseconds(149));
    EXPECT_EQ(Value(kMinM), "1160000");
    EXPECT_TRUE(BecomesAfter(milliseconds(1), kMinM, kBaseMinM));
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{});
}

TEST_F(EventTest, ADurationStretchesTheFirstStepsAndLeavesOutTheDelayedOnes) {
    EXPECT_EQ(Event(kEvent, {1, 1000}), 0);
    EXPECT_EQ(Value(kMinM), "1407000");
    EXPECT_EQ(Value(kMinL), "1211000");
    mClock.Advance(milliseconds(999));
    EXPECT_EQ(Value(kMinM), "1407000");
    EXPECT_EQ(Value(kMinL), "1211000");
    EXPECT_TRUE(BecomesAfter(milliseconds(1), kMinM, kBaseMinM));
    EXPECT_TRUE(Eventually([this] { return mDevice->Value(kMinL) == kBaseMinL; }));
    EXPECT_EQ(NewWrites(kMinM), (Names{"1407000", kBaseMinM}));
}

TEST_F(EventTest, TheUserMessageIsLoggedAsInformation) {
    EXPECT_EQ(mFront->PerfEvent(kEvent, {}, "100%s of it"), 0);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_INFO, "user message: 100%s of it"), 1U);
}

TEST_F(EventTest, OnlyExactlyTwoParametersGiveADuration) {
    EXPECT_EQ(Event(kEvent, {1}), 0);
    EXPECT_EQ(Event(kEvent, {1, 0}), 0);
    EXPECT_EQ(Event(kEvent, {1, 60000, 0}), 0);
    Settle(*mFront);
    EXPECT_TRUE(BecomesAfter(milliseconds(150), kMinL, kBaseMinL));
}

TEST_F(EventTest, AStopTakesExactlyOneParameter) {
    EXPECT_EQ(Event(kEvent, {1}), 0);
    EXPECT_EQ(Event(kEvent, {0, 5}), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{"invalid parameter for PerfEvent"});
    EXPECT_EQ(Value(kMinL), "1211000");
    EXPECT_EQ(Event(kEvent, {0}), 0);
    EXPECT_EQ(Value(kMinL), kBaseMinL);
}

TEST_F(EventTest, ASwitchThatIsNeitherStartNorStopIsRefused) {
    EXPECT_EQ(Event(kEvent, {2}), -1);
    EXPECT_EQ(Event(kEvent, {4294967295U, 100}), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Names{"invalid parameter for PerfEvent", "invalid parameter for PerfEvent"}));
    EXPECT_EQ(WriteCount(), 0U);
}

TEST_F(EventTest, AnUnknownEventIsRefused) {
    EXPECT_EQ(Event(9, {}), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_WARNING), Names{"invalid event id: 9"});
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{"StartEvent failed"});
}

TEST_F(EventTest, StoppingAnEventThatDoesNotRunIsNoError) {
    EXPECT_EQ(Event(kEvent, {0}), 0);
    EXPECT_EQ(Event(9, {0}), 0);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "BuildEventReleaseCommand failed"), 2U);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{});
}

TEST_F(EventTest, OneStopEndsEveryStartAndAllItsSteps) {
    EXPECT_EQ(Event(kEvent, {}), 0);
    mClock.Advance(milliseconds(60));
    EXPECT_EQ(Event(kEvent, {}), 0);
    EXPECT_EQ(Event(kEvent, {1, 5000}), 0);
    EXPECT_EQ(Event(kOtherEvent, {}), 0);
    Settle(*mFront);
    mClock.Advance(milliseconds(90));
    EXPECT_EQ(Value(kMinL), "1211000");
    EXPECT_EQ(Event(kEvent, {0}), 0);
    // What has run out by now the workers may take out only after the stop.
    EXPECT_TRUE(Eventually([this] { return mDevice->Value(kMinL) == kBaseMinL; }));
    EXPECT_TRUE(Eventually([this] { return mDevice->Value(kMinM) == kBaseMinM; }));
    EXPECT_EQ(Value(kMinB), "1952000");
    NewWrites(kMinM);
    mClock.Advance(std::chrono::seconds(10));
    EXPECT_EQ(NewWrites(kMinM), Names{});
    EXPECT_EQ(Event(kEvent, {0}), 0);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "invalid event id: 4"), 1U);
}

TEST_F(EventTest, AnExpiredEventIsForgotten) {
    EXPECT_EQ(Event(kEvent, {}), 0);
    mClock.Advance(milliseconds(300));
    EXPECT_EQ(Event(kEvent, {0}), 0);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "BuildEventReleaseCommand failed"), 1U);
}

TEST_F(EventTest, AResetEndsEvents) {
    EXPECT_EQ(Event(kEvent, {}), 0);
    EXPECT_EQ(mFront->Reset(), 0);
    EXPECT_EQ(Value(kMinL), kBaseMinL);
    EXPECT_EQ(Value(kMinM), kBaseMinM);
    EXPECT_EQ(mFront->PerfReleaseAll(0), 0);
    EXPECT_EQ(Event(kEvent, {}), 0);
    EXPECT_EQ(Value(kMinL), "1211000");
}

TEST_F(EventTest, AnEventThatCannotBeSentFailsInBothDirections) {
    EXPECT_EQ(Event(kEvent, {}), 0);
    DropResources();
    mLog.Clear();
    EXPECT_EQ(Event(kEvent, {}), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Names{"invalid qos id: 0", "resource ptr is NULL for qos id 0",
                     "SendCmdToResources failed for event id: 4", "StartEvent failed"}));
    mLog.Clear();
    EXPECT_EQ(Event(kEvent, {0}), 0);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "SendCmdToResources failed for event id: 4"), 2U);
}

TEST_F(EventTest, TheSuspendEventIsASuspension) {
    EXPECT_EQ(Event(8192, {1, PERF_QOS_CPU_L}), 0);
    EXPECT_EQ(Event(kEvent, {}), 0);
    EXPECT_EQ(NewWrites(kMinL), Names{});
    EXPECT_EQ(Event(8192, {0, PERF_QOS_CPU_L}), 0);
    EXPECT_EQ(NewWrites(kMinL), Names{"1211000"});
    EXPECT_EQ(Event(8192, {1}), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Names{"invalid Set Suspend param size 1"});
}

class EventTableTest : public FrontFixture {};

TEST_F(EventTableTest, AnExhaustedHandleTableRefusesAnEvent) {
    Start({.maxProcesses = 1, .maxHandlesPerProcess = 1, .maxHandles = 1, .reservedPid = 0});
    EXPECT_EQ(mFront->StartEvent(kEvent, 0), 0);
    EXPECT_EQ(mFront->StartEvent(kOtherEvent, 0), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Names{"total handle num reach maximum: 1", "alloc new handle failed for pid 0",
                     "RequestEventHandle failed for event id: 5"}));
}

TEST_F(EventTableTest, EventsAreFiledUnderTheReservedPidThatTheHostChose) {
    Start({.reservedPid = 50});
    EXPECT_EQ(mFront->StartEvent(kEvent, 0), 0);
    EXPECT_EQ(Value(kMinL), "1211000");
    EXPECT_EQ(mFront->PerfReleaseAll(50), 0);
    EXPECT_EQ(Value(kMinL), "1211000");
    mFront->StopEvent(kEvent);
    EXPECT_EQ(Value(kMinL), kBaseMinL);
}

TEST_F(EventTableTest, AnEventOfWhichThisDeviceHasNothingCountsAsUnknown) {
    mEvents = {{kEvent, {{PERF_QOS_DDR, {Step(100, 1160000)}}}}};
    Start();
    EXPECT_EQ(mFront->StartEvent(kEvent, 0), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_WARNING), Names{"invalid event id: 4"});
}

}  // namespace
}  // namespace corebeacon::test
