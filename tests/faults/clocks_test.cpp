// Time that does not go as one would wish: a wall clock that is set, a steady clock that leaps,
// the end of all time, and spans of no length. Nothing ends early, late or never.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <ctime>
#include <sstream>
#include <string>
#include <vector>

#include "command/command_manager.h"
#include "engine/perf_resource_fixture.h"
#include "front/front_fixture.h"
#include "platform/sys_wrapper.h"

namespace corebeacon::test {
namespace {

using std::chrono::hours;
using std::chrono::nanoseconds;

constexpr hours kYear{24 * 365};
constexpr hours kHour{1};

class ClockTest : public FrontFixture {
protected:
    int Request(PerfQosId qos, int value, unsigned int duration) {
        return mFront->PerfRequest(kPid, duration, {Ask(qos, PERF_OPERATION_BOOST, value)},
                                   mHandle);
    }

    void Pass(nanoseconds step) { test::Pass(*mFront, mClock, step); }

    std::string Dump(const char* type) {
        std::ostringstream out;
        EXPECT_TRUE(mFront->DumpInfo(out, type));
        return out.str();
    }

    unsigned int LiveHandles() {
        mFront->PerfReleaseAll(kOtherPid);  // any operation forgets what has expired
        return mFront->Commands().GetCounts().liveHandles;
    }
};

class WallClock : public ClockTest {
protected:
    void SetUp() override { Start(); }

    /// What there is to see of requests, an event and a probe, every 10 ms until all have ended,
    /// with the wall clock set by `step` at 30 ms, and twice as far the other way at 70 ms.
    Names Story(nanoseconds step) {
        mDevice->ClearRecord();
        Names story;
        EXPECT_EQ(Request(PERF_QOS_CPU_L, 893000, 100), 0);
        EXPECT_EQ(mFront->StartEvent(kEvent, 0), 0);
        EXPECT_EQ(mFront->StartProbe(77), 0);
        for (int now = 0; now <= 400; now += 10) {
            if (now == 30) {
                mClock.ShiftWall(step);
            } else if (now == 70) {
                mClock.ShiftWall(-2 * step);
            }
            Pass(milliseconds(now == 0 ? 0 : 10));
            std::string line = std::to_string(now) + " ms:";
            for (const std::string& node : {kMinL, kMinM, kMinB, kMinGpu}) {
                line += " " + mDevice->Value(node);
            }
            story.push_back(line + ", handles " + std::to_string(LiveHandles()));
        }
        EXPECT_TRUE(BinderWrote({"bind|77", "unbind|77"}));
        mClock.ShiftWall(step);
        return story;
    }
};

TEST_F(WallClock, DecidesNoEnd) {
    const Names undisturbed = Story(nanoseconds(0));
    EXPECT_NE(undisturbed.front(), undisturbed.back());
    EXPECT_TRUE(undisturbed.back().ends_with(", handles 0"));
    EXPECT_EQ(Story(kYear), undisturbed);
    EXPECT_EQ(Story(-kYear), undisturbed);
}

TEST_F(WallClock, WakesNobody) {
    EXPECT_EQ(Request(PERF_QOS_CPU_L, 893000, 100), 0);
    Settle(*mFront);
    EXPECT_TRUE(Eventually([this] { return mClock.WaiterCount() == 1; }));
    mDevice->ClearRecord();
    mClock.ShiftWall(kYear);
    EXPECT_EQ(mClock.WaiterCount(), 1U);
    EXPECT_EQ(WriteCount(), 0U);
}

TEST_F(WallClock, IsToldByTheHistoryOfLimitsAlone) {
    const auto text = [this] {
        const WallTimePoint now = mClock.WallNow();
        const auto seconds = std::chrono::floor<std::chrono::seconds>(now);
        const std::time_t time = seconds.time_since_epoch().count();
        std::tm local{};
        localtime_r(&time, &local);
        return SysWrapper::PutTime(local) + "." + std::to_string((now - seconds) / milliseconds(1));
    };
    ASSERT_EQ(
        mFront->PerfRequest(kPid, 0, {Ask(PERF_QOS_GPU, PERF_OPERATION_LIMIT, 495000000)}, mHandle),
        0);
    Settle(*mFront);
    const std::string start = text();
    const Names before{Dump("--workMode"), Dump("--base_info"), Dump("--event"),
                       Dump("--scenario")};
    const std::string task = Dump("--task");
    mClock.ShiftWall(kYear + kHour + milliseconds(7));
    EXPECT_EQ(Names({Dump("--workMode"), Dump("--base_info"), Dump("--event"), Dump("--scenario")}),
              before);
    EXPECT_EQ(Dump("--task"), task);
    EXPECT_EQ(mFront->PerfRelease(kPid, mHandle), 0);
    Settle(*mFront);
    EXPECT_NE(start, text());
    EXPECT_NE(Dump("--limit_history").find("freq=495000000 " + start + "  " + text() + "\n"),
              std::string::npos);
}

/// The steady clock stands still and then leaps, as for a process that was stopped.
class Gap : public ClockTest {
protected:
    Gap() {
        mEvents = {{kEvent, {{PERF_QOS_CPU_M, {Step(1000, 1407000), Step(60000, 1160000)}}}}};
        mProbe.startDelayMs = 0;
    }
    void SetUp() override { Start(); }
};

TEST_F(Gap, EndsAllThatIsDueWithOneWriteOfEachNode) {
    EXPECT_EQ(Request(PERF_QOS_GPU, 400000000, 300), 0);
    EXPECT_EQ(Request(PERF_QOS_GPU, 495000000, 100), 0);
    EXPECT_EQ(Request(PERF_QOS_CPU_L, 893000, 60000), 0);
    EXPECT_EQ(Request(PERF_QOS_CPU_B, 1952000, 0), 0);
    EXPECT_EQ(mFront->StartEvent(kEvent, 0), 0);
    Settle(*mFront);
    mDevice->ClearRecord();
    Pass(kHour);
    EXPECT_EQ(mDevice->WritesTo(kMinGpu), Names{kBaseMinGpu});
    EXPECT_EQ(mDevice->WritesTo(kMinL), Names{kBaseMinL});
    EXPECT_EQ(mDevice->WritesTo(kMinM), Names{kBaseMinM});
    EXPECT_EQ(mDevice->WritesTo(kMinB), Names{});
    EXPECT_EQ(LiveHandles(), 1U);
    EXPECT_EQ(mClock.WaiterCount(), 0U);
}

TEST_F(Gap, SkipsWhatBeganAndEndedInItAndShowsWhatBeganAndLasts) {
    EXPECT_EQ(mFront->StartEvent(kEvent, 0), 0);
    Settle(*mFront);
    mDevice->ClearRecord();
    Pass(milliseconds(31000));
    EXPECT_EQ(mDevice->WritesTo(kMinM), Names{"1160000"});
    Pass(milliseconds(29999));
    EXPECT_EQ(mDevice->Value(kMinM), "1160000");
    Pass(milliseconds(1));
    EXPECT_EQ(mDevice->WritesTo(kMinM), (Names{"1160000", kBaseMinM}));
}

TEST_F(Gap, EndsProbesInTheOrderOfTheirEnds) {
    EXPECT_EQ(mFront->StartProbe(79), 0);
    EXPECT_TRUE(BinderWrote({"bind|79"}));
    mClock.Advance(milliseconds(10));
    EXPECT_EQ(mFront->StartProbe(77), 0);
    EXPECT_TRUE(BinderWrote({"bind|79", "bind|77"}));
    mClock.Advance(milliseconds(10));
    EXPECT_EQ(mFront->StartProbe(78), 0);
    EXPECT_TRUE(BinderWrote({"bind|79", "bind|77", "bind|78"}));
    mClock.Advance(kHour);
    EXPECT_TRUE(
        BinderWrote({"bind|79", "bind|77", "bind|78", "unbind|79", "unbind|77", "unbind|78"}));
    EXPECT_EQ(LiveHandles(), 0U);
}

TEST_F(Gap, FindsARequestMadeRightAfterItInFullForce) {
    EXPECT_EQ(Request(PERF_QOS_GPU, 495000000, 100), 0);
    Settle(*mFront);
    mClock.Advance(kHour);
    EXPECT_EQ(Request(PERF_QOS_GPU, 400000000, 100), 0);
    EXPECT_EQ(LiveHandles(), 1U);
    // The worker may take up the new request ahead of the end of the old one.
    EXPECT_TRUE(Eventually([this] { return Value(kMinGpu) == "400000000"; }));
    Pass(milliseconds(99));
    EXPECT_EQ(mDevice->Value(kMinGpu), "400000000");
    Pass(milliseconds(1));
    EXPECT_EQ(mDevice->Value(kMinGpu), kBaseMinGpu);
}

TEST_F(Gap, OfAYearEndsNothingThatLastsUntilItIsReleased) {
    EXPECT_EQ(Request(PERF_QOS_GPU, 400000000, 0), 0);
    EXPECT_EQ(mFront->PerfSetScenario(kPid, kScenario, mHandle), 0);
    Settle(*mFront);
    mDevice->ClearRecord();
    Pass(kYear);
    EXPECT_EQ(WriteCount(), 0U);
    EXPECT_EQ(LiveHandles(), 2U);
}

using GapOfAResource = PerfResourceTest;

TEST_F(GapOfAResource, EndsItsGroupsInTheirOrderInOnePass) {
    Step(PERF_COMMAND_SHORT_START, Item(1, Boost(2, 500), milliseconds(0), milliseconds(10)));
    Step(PERF_COMMAND_SHORT_START, Item(2, Boost(0, 300), milliseconds(0), milliseconds(30)));
    Step(PERF_COMMAND_SHORT_START, Item(3, Boost(1, 400), milliseconds(0), milliseconds(20)));
    Step(PERF_COMMAND_SHORT_START, Item(4, Boost(1, 600), milliseconds(40), milliseconds(50)));
    const std::size_t before = mKnobs.writes.Size();
    mClock.Advance(kHour);
    mResource->HandleCommand(WorkStatus::TIME_OUT);
    const std::vector<WriteList::Entry> all = Writes();
    EXPECT_EQ(
        std::vector<WriteList::Entry>(all.begin() + static_cast<std::ptrdiff_t>(before), all.end()),
        (std::vector<WriteList::Entry>{{"g0", 100, 1000}, {"g1", 100, 1000}, {"g2", 100, 1000}}));
    EXPECT_EQ(mResource->FindMinTime(), TimePoint());
}

/// The engine is started 200 ms ahead of the last time point.
class EndOfTime : public ClockTest {
protected:
    static constexpr milliseconds kLeft{200};

    EndOfTime() { mProbe.startDelayMs = 0; }
    void SetUp() override {
        mClock.Advance(TimePoint::max() - kLeft - mClock.SteadyNow());
        Start();
    }

    /// That the request, event or probe holds `node` at `value` until the very last moment, and no
    /// longer.
    void ExpectToLastUntilTheEnd(const std::string& node, const std::string& value,
                                 const std::string& base) {
        Settle(*mFront);
        EXPECT_EQ(mDevice->Value(node), value);
        Pass(kLeft - nanoseconds(1));
        EXPECT_EQ(mDevice->Value(node), value);
        EXPECT_EQ(LiveHandles(), 1U);
        Pass(nanoseconds(1));
        EXPECT_EQ(mDevice->Value(node), base);
        EXPECT_EQ(LiveHandles(), 0U);
        EXPECT_EQ(mClock.WaiterCount(), 0U);
    }
};

TEST_F(EndOfTime, ARequestAheadOfItEndsInTime) {
    EXPECT_EQ(Request(PERF_QOS_GPU, 400000000, 199), 0);
    Pass(milliseconds(198));
    EXPECT_EQ(mDevice->Value(kMinGpu), "400000000");
    Pass(milliseconds(1));
    EXPECT_EQ(mDevice->Value(kMinGpu), kBaseMinGpu);
}

TEST_F(EndOfTime, ARequestUpToItEndsThen) {
    EXPECT_EQ(Request(PERF_QOS_GPU, 400000000, 200), 0);
    ExpectToLastUntilTheEnd(kMinGpu, "400000000", kBaseMinGpu);
}

TEST_F(EndOfTime, ARequestBeyondItEndsThen) {
    EXPECT_EQ(Request(PERF_QOS_GPU, 400000000, 60000), 0);
    ExpectToLastUntilTheEnd(kMinGpu, "400000000", kBaseMinGpu);
}

TEST_F(EndOfTime, AnEventBeyondItEndsThen) {
    EXPECT_EQ(mFront->StartEvent(kOtherEvent, 0), 0);
    ExpectToLastUntilTheEnd(kMinB, "1952000", kBaseMinB);
}

TEST_F(EndOfTime, AnEventForASpanBeyondItEndsThen) {
    EXPECT_EQ(mFront->StartEvent(kOtherEvent, 60000), 0);
    ExpectToLastUntilTheEnd(kMinB, "1952000", kBaseMinB);
}

class ProbeAtTheEndOfTime : public EndOfTime {
protected:
    ProbeAtTheEndOfTime() { mProbe.spanMs = 60000; }
};

TEST_F(ProbeAtTheEndOfTime, BeyondItEndsThen) {
    EXPECT_EQ(mFront->StartProbe(77), 0);
    EXPECT_TRUE(BinderWrote({"bind|77"}));
    ExpectToLastUntilTheEnd(kMinM, "1407000", kBaseMinM);
    EXPECT_TRUE(BinderWrote({"bind|77", "unbind|77"}));
}

/// Real time, and an account of how often a worker lies down to sleep.
class CountingClock : public Clock {
public:
    CountingClock() { SetClock(this); }
    ~CountingClock() override { SetClock(nullptr); }

    void WaitUntil(CondVar& cond, Mutex& mutex, TimePoint deadline) override REQUIRES(mutex) {
        ++mCount;
        Clock::WaitUntil(cond, mutex, deadline);
    }
    int Count() const { return mCount; }

private:
    std::atomic<int> mCount{0};
};

// A deadline that overflowed on its way to the system would be over at once, again and again.
TEST(EndOfRealTime, IsSleptTowardsInOneGo) {
    CountingClock clock;
    PerfQosConfig config = MakeConfig(1);
    RecordedKnobs knobs;
    RecordedResource resource({config, PERF_WORK_MODE_1, PERF_QOS_GPU}, knobs);
    resource.InitResource(config, false);
    ASSERT_EQ(resource.InitThread(), 0);
    for (int request = 1; request <= 3; ++request) {
        auto item = std::make_shared<PerfCommandItem>();
        item->handle = static_cast<unsigned long>(request);
        item->startTime = SteadyNow();
        item->endTime = TimePoint::max();
        item->groups = {{0, {{PERF_OPERATION_BOOST, 100 + request}}}};
        resource.SendCommandToFifoQ({PERF_COMMAND_SHORT_START, item});
        EXPECT_TRUE(Eventually([&] { return clock.Count() >= request; }));
        // A little above, as any wait may end for no reason.
        EXPECT_LE(clock.Count(), request + 2);
    }
    EXPECT_EQ(knobs.writes.Size(), 3U);
}

TEST(LaterBy, StopsAtTheLastTimePoint) {
    static_assert(LaterBy(TimePoint(), milliseconds(5)) == TimePoint(milliseconds(5)));
    static_assert(LaterBy(TimePoint::max() - milliseconds(5), milliseconds(4)) ==
                  TimePoint::max() - milliseconds(1));
    static_assert(LaterBy(TimePoint::max() - milliseconds(5), milliseconds(5)) == TimePoint::max());
    static_assert(LaterBy(TimePoint::max() - milliseconds(5), milliseconds(6)) == TimePoint::max());
    EXPECT_EQ(LaterBy(TimePoint::max(), milliseconds(0)), TimePoint::max());
}

using ZeroLength = PerfResourceTest;

TEST_F(ZeroLength, OfASpanThatBeginsNowIsDropped) {
    Step(PERF_COMMAND_SHORT_START, Item(1, Boost(0, 500)));
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_DEBUG), std::vector<std::string>{"[g0] already time out"});
    EXPECT_TRUE(Writes().empty());
    EXPECT_EQ(mResource->FindMinTime(), TimePoint());
}

TEST_F(ZeroLength, OfASpanAheadIsWaitedForAndDroppedThen) {
    const TimePoint start = mClock.SteadyNow() + milliseconds(10);
    Step(PERF_COMMAND_SHORT_START, Item(1, Boost(0, 500), milliseconds(10), milliseconds(10)));
    EXPECT_EQ(mResource->FindMinTime(), start);
    mClock.Advance(milliseconds(10));
    mResource->HandleCommand(WorkStatus::TIME_OUT);
    EXPECT_TRUE(Writes().empty());
    EXPECT_EQ(mResource->FindMinTime(), TimePoint());
}

TEST_F(ZeroLength, LeavesTheNeighboursWhoseSpansItTouches) {
    Step(PERF_COMMAND_SHORT_START, Item(1, Boost(0, 300), milliseconds(0), milliseconds(10)));
    Step(PERF_COMMAND_SHORT_START, Item(2, Boost(0, 900), milliseconds(10), milliseconds(10)));
    Step(PERF_COMMAND_SHORT_START, Item(3, Boost(0, 500), milliseconds(10), milliseconds(20)));
    mClock.Advance(milliseconds(10));
    mResource->HandleCommand(WorkStatus::TIME_OUT);
    EXPECT_EQ(Writes(), (std::vector<WriteList::Entry>{{"g0", 300, 5000}, {"g0", 500, 5000}}));
}

class ZeroLengthProbe : public ClockTest {
protected:
    ZeroLengthProbe() { mProbe.spanMs = 0; }
    void SetUp() override { Start(); }
};

TEST_F(ZeroLengthProbe, IsNeitherBoostedNorBoundAndMayBeTriedAgain) {
    for (int attempt = 0; attempt < 3; ++attempt) {
        mLog.Clear();
        EXPECT_EQ(mFront->StartProbe(77), 0);
        EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "duplicate probe for tid 77"), 0U);
        EXPECT_EQ(LiveHandles(), 1U);
        Pass(milliseconds(10));
        EXPECT_EQ(LiveHandles(), 0U);
    }
    EXPECT_TRUE(Eventually([this] { return mClock.WaiterCount() == 0; }));
    EXPECT_EQ(WriteCount(), 0U);
}

}  // namespace
}  // namespace corebeacon::test
