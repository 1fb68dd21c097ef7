#include <atomic>
#include <semaphore>
#include <thread>

#include "engine/perf_resource_fixture.h"
#include "support/no_threads.h"

namespace corebeacon::test {

namespace {

using Entries = std::vector<WriteList::Entry>;
using Texts = std::vector<std::string>;

class PerfResourceWorker : public PerfResourceTest {
protected:
    void Start() { ASSERT_EQ(mResource->InitThread(), 0); }
};

TEST_F(PerfResourceWorker, CommandsAreCarriedOutInTheOrderOfArrival) {
    Start();
    for (int i = 0; i < 50; ++i) {
        Send(PERF_COMMAND_BASE_SET, Item(0, Boost(0, 200 + i)));
    }
    ASSERT_TRUE(EventuallyWritten(50));
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(Writes()[static_cast<std::size_t>(i)], (WriteList::Entry{"g0", 200 + i, 1000}));
    }
}

TEST_F(PerfResourceWorker, WithoutShortTermRequestsItWaitsWithoutADeadline) {
    Start();
    Send(PERF_COMMAND_LONG_START, Item(5, Boost(0, 600)));
    ASSERT_TRUE(EventuallyWritten(1));
    EXPECT_EQ(mClock.WaiterCount(), 0U);
    mClock.Advance(std::chrono::hours(24 * 365));
    Send(PERF_COMMAND_LONG_STOP, Item(5, Boost(0, 600)));
    ASSERT_TRUE(EventuallyWritten(2));
    EXPECT_EQ(mClock.WaiterCount(), 0U);
}

TEST_F(PerfResourceWorker, ATimedRequestEndsByItself) {
    Start();
    Send(PERF_COMMAND_SHORT_START, Item(5, Boost(0, 500), milliseconds(0), milliseconds(100)));
    ASSERT_TRUE(EventuallySleepsTowardsADeadline());
    mClock.Advance(milliseconds(99));
    ASSERT_TRUE(EventuallySleepsTowardsADeadline());
    EXPECT_EQ(Writes(), (Entries{{"g0", 500, 5000}}));
    mClock.Advance(milliseconds(1));
    ASSERT_TRUE(EventuallyWritten(2));
    EXPECT_EQ(Writes().back(), (WriteList::Entry{"g0", 100, 1000}));
}

TEST_F(PerfResourceWorker, AWaitingRequestBeginsAndEndsAtItsTimes) {
    Start();
    Send(PERF_COMMAND_SHORT_START, Item(5, Boost(0, 500), milliseconds(50), milliseconds(100)));
    ASSERT_TRUE(EventuallySleepsTowardsADeadline());
    EXPECT_TRUE(Writes().empty());
    mClock.Advance(milliseconds(50));
    ASSERT_TRUE(EventuallyWritten(1));
    ASSERT_TRUE(EventuallySleepsTowardsADeadline());
    mClock.Advance(milliseconds(50));
    ASSERT_TRUE(EventuallyWritten(2));
    EXPECT_EQ(Writes(), (Entries{{"g0", 500, 5000}, {"g0", 100, 1000}}));
}

TEST_F(PerfResourceWorker, ACommandWakesAWorkerThatSleepsTowardsADeadline) {
    Start();
    Send(PERF_COMMAND_SHORT_START, Item(5, Boost(0, 500), milliseconds(0), milliseconds(60000)));
    ASSERT_TRUE(EventuallySleepsTowardsADeadline());
    Send(PERF_COMMAND_SHORT_START, Item(6, Boost(0, 900), milliseconds(0), milliseconds(60000)));
    ASSERT_TRUE(EventuallyWritten(2));
    EXPECT_EQ(Writes().back(), (WriteList::Entry{"g0", 900, 5000}));
}

TEST_F(PerfResourceWorker, ADeadlineThatHasPassedWhenComputedLeadsStraightToATimeOut) {
    // The write takes longer than the request lasts.
    std::atomic<bool> isFirst{true};
    mKnobs.onWrite = [&](int, int) {
        if (isFirst.exchange(false)) {
            mClock.Advance(milliseconds(500));
        }
    };
    Start();
    Send(PERF_COMMAND_SHORT_START, Item(5, Boost(0, 500), milliseconds(0), milliseconds(100)));
    ASSERT_TRUE(EventuallyWritten(2));
    EXPECT_EQ(Writes(), (Entries{{"g0", 500, 5000}, {"g0", 100, 1000}}));
}

TEST_F(PerfResourceWorker, AFailedCommandDoesNotStopTheWorker) {
    Start();
    Send(PERF_COMMAND_LONG_START, nullptr);
    Send(PERF_COMMAND_LONG_START, Item(5, Boost(9, 600)));
    Send(PERF_COMMAND_LONG_START, Item(6, Boost(0, 700)));
    ASSERT_TRUE(EventuallyWritten(1));
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "[Q] HandleNewCommand failed"), 2U);
}

TEST_F(PerfResourceWorker, TheThreadSaysWhenItLeaves) {
    Start();
    mResource->StopThread();
    EXPECT_EQ(mLog.Texts(), Texts{"[Q] work thread exit"});
    EXPECT_EQ(mLog.Lines().front().level, LOG_LEVEL_INFO);
    EXPECT_EQ(mLog.Lines().front().tag, "PF_RES");
    EXPECT_EQ(mLog.Lines().front().function, "WorkThread");
}

TEST_F(PerfResourceWorker, StoppingTwiceStopsOnce) {
    Start();
    mResource->StopThread();
    mResource->StopThread();
    mResource.reset();
    EXPECT_EQ(mLog.Count(LOG_LEVEL_INFO, "[Q] work thread exit"), 1U);
}

TEST_F(PerfResourceWorker, StoppingWakesAWorkerThatSleepsTowardsADeadline) {
    Start();
    Send(PERF_COMMAND_SHORT_START, Item(5, Boost(0, 500), milliseconds(0), milliseconds(60000)));
    ASSERT_TRUE(EventuallySleepsTowardsADeadline());
    mResource->StopThread();
    EXPECT_EQ(Writes(), (Entries{{"g0", 500, 5000}})) << "no status is handled after the stop";
}

TEST_F(PerfResourceWorker, DestructionDropsWhatIsStillQueued) {
    // Each write needs a permit, and there are far more commands than the stop takes permits.
    constexpr int kQueued = 100000;
    std::counting_semaphore<> permits(0);
    mKnobs.onWrite = [&](int, int) { permits.acquire(); };
    for (int i = 0; i < kQueued; ++i) {
        Send(PERF_COMMAND_BASE_SET, Item(0, Boost(0, 200 + i % 2)));
    }
    Start();
    ASSERT_TRUE(EventuallyWritten(1));
    std::atomic<bool> isGone{false};
    std::thread destroyer([&] {
        mResource.reset();
        isGone = true;
    });
    EXPECT_TRUE(Eventually([&] {
        permits.release();
        return isGone.load();
    }));
    destroyer.join();
    EXPECT_LT(mKnobs.writes.Size(), static_cast<std::size_t>(kQueued));
    EXPECT_EQ(mLog.Count(LOG_LEVEL_INFO, "[Q] work thread exit"), 1U);
}

TEST_F(PerfResourceWorker, AResourceThatNeverRanGoesQuietly) {
    Send(PERF_COMMAND_BASE_SET, Item(0, Boost(0, 200)));
    mResource.reset();
    EXPECT_TRUE(mLog.Texts().empty());
    EXPECT_TRUE(Writes().empty());
}

TEST_F(PerfResourceWorker, StartingTwiceStartsOnce) {
    Start();
    EXPECT_EQ(mResource->InitThread(), 0);
    mResource->StopThread();
    EXPECT_EQ(mLog.Count(LOG_LEVEL_INFO, "[Q] work thread exit"), 1U);
}

TEST_F(PerfResourceWorker, AStoppedResourceStaysStopped) {
    mResource->StopThread();
    EXPECT_EQ(mResource->InitThread(), -1);
    EXPECT_EQ(mLog.Texts(), Texts{"[Q] a stopped resource cannot start again"});
}

#if defined(__GLIBC__)
TEST_F(PerfResourceWorker, ASystemWithoutAThreadToGiveIsReported) {
    {
        const NoThreads noThreads;
        EXPECT_EQ(mResource->InitThread(), -1);
    }
    ASSERT_EQ(mLog.Texts(LOG_LEVEL_ERROR).size(), 1U);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR).front().find("[Q] cannot start the work thread: "), 0U);
    EXPECT_EQ(mResource->InitThread(), 0) << "a later try may succeed";
}
#endif

TEST_F(PerfResourceWorker, ManyCallersSendAtOnce) {
    Start();
    constexpr int kCallers = 8;
    constexpr int kEach = 50;
    std::vector<std::thread> callers;
    for (int caller = 0; caller < kCallers; ++caller) {
        callers.emplace_back([this, caller] {
            for (int i = 0; i < kEach; ++i) {
                const auto handle = static_cast<unsigned long>(caller * kEach + i + 1);
                GroupValueMap groups = Boost(0, 500);
                EXPECT_EQ(mResource->RequestValidate(PERF_COMMAND_LONG_START, groups), 0);
                Send(PERF_COMMAND_LONG_START, Item(handle, groups));
                Send(PERF_COMMAND_LONG_STOP, Item(handle, groups));
            }
        });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
    Send(PERF_COMMAND_BASE_SET, Item(0, Boost(2, 200)));
    ASSERT_TRUE(Eventually([&] {
        return mKnobs.writes.Size() > 0 && Writes().back() == WriteList::Entry{"g2", 200, 1000};
    }));
    const Entries writes = Writes();
    ASSERT_GE(writes.size(), 2U);
    EXPECT_EQ(writes[writes.size() - 2], (WriteList::Entry{"g0", 100, 1000}));
}

}  // namespace

}  // namespace corebeacon::test
