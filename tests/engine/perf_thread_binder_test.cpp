#include "engine/perf_thread_binder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <future>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "support/deadline.h"
#include "support/log_capture.h"
#include "support/manual_clock.h"
#include "support/no_threads.h"
#include "support/scoped_node_io.h"
#include "support/scripted_node_io.h"

namespace corebeacon {
namespace {

using std::chrono::milliseconds;
using test::Eventually;
using Texts = std::vector<std::string>;

/// Can hold the thread that writes, so that a test knows where the worker is.
class HoldingNodeIo : public test::ScriptedNodeIo {
public:
    /// The next Write waits after this until Release.
    void HoldNextWrite() {
        mHeld = std::promise<void>();
        mReleased = std::promise<void>();
        std::lock_guard<std::mutex> lock(mHoldMutex);
        mHold = true;
    }
    void AwaitHeld() { mHeld.get_future().wait(); }
    void Release() { mReleased.set_value(); }

    ssize_t Write(int fd, const void* data, std::size_t size) override {
        if (TakeHold()) {
            mHeld.set_value();
            mReleased.get_future().wait();
        }
        return ScriptedNodeIo::Write(fd, data, size);
    }

private:
    bool TakeHold() {
        std::lock_guard<std::mutex> lock(mHoldMutex);
        return std::exchange(mHold, false);
    }

    std::mutex mHoldMutex;
    bool mHold = false;  // guarded by mHoldMutex
    std::promise<void> mHeld;
    std::promise<void> mReleased;
};

class PerfThreadBinderTest : public testing::Test {
protected:
    void SetUp() override {
        mBinder.SetNodePath("/binder");
        ASSERT_EQ(mBinder.Init("on", "off"), 0);
    }

    /// A probe from `startMs` to `endMs` from now.
    ThreadInfo Probe(int tid, int startMs, int endMs) const {
        const TimePoint now = mClock.SteadyNow();
        return {tid, now + milliseconds(startMs), now + milliseconds(endMs)};
    }
    void Add(int tid, int startMs, int endMs) {
        EXPECT_EQ(mBinder.AddThreadInfo(Probe(tid, startMs, endMs)), 0);
    }
    void ExpectWritten(const Texts& expected) {
        Eventually([&] { return mKernel.Written().size() >= expected.size(); });
        EXPECT_EQ(mKernel.Written(), expected);
    }
    /// Waits until the worker has nothing to do before its next deadline.
    void AwaitSleep() {
        EXPECT_TRUE(Eventually([&] { return mClock.WaiterCount() == 1; }));
    }

    HoldingNodeIo mKernel;
    test::ScopedNodeIo mScope{mKernel};
    test::ManualClock mClock;
    test::LogCapture mLog;
    PerfThreadBinder mBinder;
};

TEST_F(PerfThreadBinderTest, AThreadIsBoundAtItsStartAndUnboundAtItsEnd) {
    Add(5, 10, 30);
    AwaitSleep();
    EXPECT_TRUE(mKernel.Trace().empty());
    mClock.Advance(milliseconds(10));
    ExpectWritten({"on|5"});
    AwaitSleep();
    mClock.Advance(milliseconds(19));
    EXPECT_EQ(mKernel.Written().size(), 1U);
    mClock.Advance(milliseconds(1));
    ExpectWritten({"on|5", "off|5"});
}

TEST_F(PerfThreadBinderTest, EveryStepIsLogged) {
    Add(5, 10, 30);
    Add(5, 10, 30);
    AwaitSleep();
    mClock.Advance(milliseconds(10));
    ExpectWritten({"on|5"});
    mBinder.DeleteThreadInfo(5);
    ExpectWritten({"on|5", "off|5"});
    mBinder.Stop();

    EXPECT_EQ(mLog.Texts(), mLog.Texts(LOG_LEVEL_DEBUG));
    Texts steps;
    std::string inEffect;
    for (const test::LogLine& logged : mLog.Lines()) {
        EXPECT_EQ(logged.tag, "PF_THREAD_BINDER");
        if (logged.text.find("takeInEffect") != std::string::npos) {
            inEffect = logged.text;
        } else if (logged.text.find("Perf Thread Binder") == std::string::npos) {
            steps.push_back(logged.text);
        }
    }
    // The removal may be logged before the worker logs that it has bound the thread.
    ASSERT_EQ(steps.size(), 5U);
    EXPECT_EQ(steps[0], "add probe tid = 5");
    EXPECT_EQ(steps[1], "duplicate probe");
    EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "thread bind: on|5, write ret = 0"), 1U);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "del probe tid = 5"), 1U);
    EXPECT_EQ(steps[4], "thread bind: off|5, write ret = 0");
    EXPECT_TRUE(inEffect.starts_with("[TakeInEffectWaitingThread:")) << inEffect;
    EXPECT_TRUE(inEffect.ends_with("] ThreadBinder takeInEffect tid 5")) << inEffect;
    EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "Perf Thread Binder WorkThread"), 1U);
    EXPECT_EQ(mLog.Texts().back(), "Perf Thread Binder thread stop");
}

TEST_F(PerfThreadBinderTest, ASpanThatHasEndedBeforeTheWorkerSeesItIsDroppedWithoutAWrite) {
    Add(7, -20, -10);
    Add(9, -10, 0);
    Add(8, 0, 1000);
    ExpectWritten({"on|8"});
    // Both are forgotten, so they may be probed again.
    Add(7, 0, 1000);
    ExpectWritten({"on|8", "on|7"});
    Add(9, 0, 1000);
    ExpectWritten({"on|8", "on|7", "on|9"});
    EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "duplicate probe"), 0U);
}

TEST_F(PerfThreadBinderTest, AddingAThreadTwiceKeepsTheFirstSpan) {
    Add(5, 10, 30);
    Add(5, 0, 1000);
    AwaitSleep();
    EXPECT_TRUE(mKernel.Written().empty());
    mClock.Advance(milliseconds(10));
    ExpectWritten({"on|5"});
    Add(5, 0, 1000);
    mClock.Advance(milliseconds(20));
    ExpectWritten({"on|5", "off|5"});
    EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "duplicate probe"), 2U);
}

TEST_F(PerfThreadBinderTest, TwoThreadsWithOneStartTimeComeIntoEffectTogether) {
    Add(5, 10, 40);
    Add(6, 10, 30);
    AwaitSleep();
    mClock.Advance(milliseconds(10));
    ExpectWritten({"on|5", "on|6"});
    AwaitSleep();
    mClock.Advance(milliseconds(30));
    ExpectWritten({"on|5", "on|6", "off|6", "off|5"});
}

TEST_F(PerfThreadBinderTest, OnePassBindsBeforeItUnbinds) {
    Add(5, 0, 10);
    Add(6, 10, 20);
    ExpectWritten({"on|5"});
    AwaitSleep();
    mClock.Advance(milliseconds(10));
    ExpectWritten({"on|5", "on|6", "off|5"});
}

TEST_F(PerfThreadBinderTest, AnEarlierProbeShortensTheWait) {
    Add(5, 1000, 2000);
    AwaitSleep();
    Add(6, 10, 5000);
    AwaitSleep();
    mClock.Advance(milliseconds(10));
    ExpectWritten({"on|6"});
    AwaitSleep();
    // The next deadline is the start of the other one, ahead of the end of this.
    mClock.Advance(milliseconds(990));
    ExpectWritten({"on|6", "on|5"});
}

TEST_F(PerfThreadBinderTest, AThreadMayBeProbedAgainAfterItsSpan) {
    Add(5, 0, 10);
    ExpectWritten({"on|5"});
    AwaitSleep();
    mClock.Advance(milliseconds(10));
    ExpectWritten({"on|5", "off|5"});
    Add(5, 0, 10);
    ExpectWritten({"on|5", "off|5", "on|5"});
}

TEST_F(PerfThreadBinderTest, ASpanThatEndedUnsweptIsUnboundBeforeItsThreadIsProbedAgain) {
    mKernel.HoldNextWrite();
    Add(5, 0, 10);
    mKernel.AwaitHeld();
    mClock.Advance(milliseconds(10));
    Add(5, 0, 10);
    mKernel.Release();
    ExpectWritten({"on|5", "off|5", "on|5"});
    EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "duplicate probe"), 0U);
}

TEST_F(PerfThreadBinderTest, AnUnseenSpanThatEndedMakesRoomForANewOneWithoutAWrite) {
    mKernel.HoldNextWrite();
    Add(6, 0, 1000);
    mKernel.AwaitHeld();
    Add(5, 0, 10);
    mClock.Advance(milliseconds(10));
    Add(5, 0, 10);
    mKernel.Release();
    ExpectWritten({"on|6", "on|5"});
}

TEST_F(PerfThreadBinderTest, RemovingABoundThreadUnbindsItAheadOfItsTime) {
    Add(5, 0, 1000);
    ExpectWritten({"on|5"});
    mBinder.DeleteThreadInfo(5);
    ExpectWritten({"on|5", "off|5"});
    Add(6, 0, 2000);
    ExpectWritten({"on|5", "off|5", "on|6"});
    AwaitSleep();
    mClock.Advance(milliseconds(2000));
    ExpectWritten({"on|5", "off|5", "on|6", "off|6"});
}

TEST_F(PerfThreadBinderTest, ARemovedThreadIsUnboundBeforeItIsBoundAgain) {
    mKernel.HoldNextWrite();
    Add(5, 0, 1000);
    mKernel.AwaitHeld();
    mBinder.DeleteThreadInfo(5);
    Add(5, 0, 1000);
    mKernel.Release();
    ExpectWritten({"on|5", "off|5", "on|5"});
}

TEST_F(PerfThreadBinderTest, AThreadRemovedWhileTheWorkerWritesIsUnboundWithoutAnyFurtherEvent) {
    mKernel.HoldNextWrite();
    Add(5, 0, 1000);
    mKernel.AwaitHeld();
    mBinder.DeleteThreadInfo(5);
    mKernel.Release();
    ExpectWritten({"on|5", "off|5"});
}

TEST_F(PerfThreadBinderTest, RemovingAWaitingThreadWritesNothing) {
    Add(5, 10, 20);
    Add(6, 10, 30);
    mBinder.DeleteThreadInfo(5);
    AwaitSleep();
    mClock.Advance(milliseconds(10));
    ExpectWritten({"on|6"});
    AwaitSleep();
    mClock.Advance(milliseconds(20));
    ExpectWritten({"on|6", "off|6"});
}

TEST_F(PerfThreadBinderTest, RemovingTakesTheRightOneOfSeveralThreadsWithTheSameTimes) {
    Add(5, 0, 1000);
    Add(6, 0, 1000);
    Add(7, 500, 1000);
    Add(8, 500, 1000);
    ExpectWritten({"on|5", "on|6"});
    mBinder.DeleteThreadInfo(6);
    mBinder.DeleteThreadInfo(8);
    ExpectWritten({"on|5", "on|6", "off|6"});
    AwaitSleep();
    mClock.Advance(milliseconds(500));
    ExpectWritten({"on|5", "on|6", "off|6", "on|7"});
    AwaitSleep();
    mClock.Advance(milliseconds(500));
    ExpectWritten({"on|5", "on|6", "off|6", "on|7", "off|5", "off|7"});
}

TEST_F(PerfThreadBinderTest, RemovingAnUnknownThreadChangesNothing) {
    Add(5, 0, 1000);
    ExpectWritten({"on|5"});
    mBinder.DeleteThreadInfo(6);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "del probe tid = 6"), 1U);
    mBinder.DeleteThreadInfo(5);
    mBinder.DeleteThreadInfo(5);
    mBinder.Stop();
    EXPECT_EQ(mKernel.Written(), (Texts{"on|5", "off|5"}));
}

TEST_F(PerfThreadBinderTest, ASpanFromBeforeAllTimeBeginsAtOnce) {
    EXPECT_EQ(mBinder.AddThreadInfo({5, TimePoint{}, mClock.SteadyNow() + milliseconds(10)}), 0);
    ExpectWritten({"on|5"});
}

TEST_F(PerfThreadBinderTest, TheNodeStaysOpenBetweenWritesAndIsClosedAtTheStop) {
    Add(5, 0, 1000);
    ExpectWritten({"on|5"});
    mBinder.DeleteThreadInfo(5);
    ExpectWritten({"on|5", "off|5"});
    mBinder.Stop();
    EXPECT_EQ(mKernel.Trace(), (Texts{"open /binder = 100", "write 100 on|5 = 4",
                                      "write 100 off|5 = 5", "close 100"}));
}

TEST_F(PerfThreadBinderTest, AFailedWriteIsLoggedAndTheNodeReopenedForTheNextOne) {
    mKernel.FailNextWrite(EINVAL);
    Add(5, 0, 1000);
    ASSERT_TRUE(Eventually(
        [&] { return mLog.Count(LOG_LEVEL_DEBUG, "thread bind: on|5, write ret = -1") == 1; }));
    EXPECT_EQ(
        mLog.Texts(LOG_LEVEL_WARNING),
        (Texts{"[ThreadBinder] on|5 write to /binder failed, errno=22 (Invalid argument) \n"}));
    mBinder.DeleteThreadInfo(5);
    ExpectWritten({"off|5"});
    EXPECT_EQ(mKernel.OpenCount(), 1U);
}

TEST_F(PerfThreadBinderTest, ASecondInitIsRefusedAndKeepsTheTexts) {
    EXPECT_EQ(mBinder.Init("other", "texts"), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), (Texts{"thread binder is already running"}));
    Add(5, 0, 1000);
    ExpectWritten({"on|5"});
}

TEST_F(PerfThreadBinderTest, AStopLeavesSpansInForceAsTheyAreAndForgetsThem) {
    Add(5, 0, 1000);
    Add(6, 500, 1000);
    ExpectWritten({"on|5"});
    mBinder.Stop();
    mBinder.Stop();
    EXPECT_EQ(mKernel.Written(), Texts{"on|5"});
    EXPECT_EQ(mKernel.OpenCount(), 0U);

    ASSERT_EQ(mBinder.Init("bind", "unbind"), 0);
    mClock.Advance(milliseconds(1000));
    Add(5, 0, 1000);
    ExpectWritten({"on|5", "bind|5"});
}

TEST_F(PerfThreadBinderTest, AThreadRemovedBeforeAStopIsUnboundStill) {
    mKernel.HoldNextWrite();
    Add(5, 0, 1000);
    mKernel.AwaitHeld();
    mBinder.DeleteThreadInfo(5);
    std::thread stopper([&] { mBinder.Stop(); });
    mKernel.Release();
    stopper.join();
    EXPECT_EQ(mKernel.Written(), (Texts{"on|5", "off|5"}));
}

TEST_F(PerfThreadBinderTest, ManyThreadsMayAddAndRemoveAtOnce) {
    static constexpr int kThreads = 4;
    static constexpr int kRounds = 100;
    std::vector<std::thread> callers;
    for (int tid = 0; tid < kThreads; ++tid) {
        callers.emplace_back([this, tid] {
            for (int i = 0; i < kRounds; ++i) {
                Add(tid, 0, 1000);
                mBinder.DeleteThreadInfo(tid);
            }
            Add(tid, 0, 1000);
        });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
    // Threads with one start time are bound in the order they came: this one is the last.
    Add(99, 0, 1000);
    ASSERT_TRUE(Eventually([this] {
        const Texts written = mKernel.Written();
        return !written.empty() && written.back() == "on|99";
    }));
    mBinder.Stop();

    // Whatever the worker saw of the rounds, each thread was bound and unbound in turn, and the
    // last probe of each stands.
    for (int tid = 0; tid < kThreads; ++tid) {
        bool bound = false;
        for (const std::string& text : mKernel.Written()) {
            if (text.ends_with("|" + std::to_string(tid))) {
                EXPECT_EQ(text.starts_with("on|"), !bound) << text;
                bound = !bound;
            }
        }
        EXPECT_TRUE(bound) << tid;
    }
}

TEST(PerfThreadBinder, MayBeDestroyedOrStoppedWithoutInit) {
    test::ScriptedNodeIo kernel;
    test::ScopedNodeIo scope(kernel);
    {
        PerfThreadBinder binder;
        binder.SetNodePath("/binder");
    }
    PerfThreadBinder binder;
    binder.Stop();
    EXPECT_TRUE(kernel.Trace().empty());
}

TEST(PerfThreadBinder, TakesUpProbesThatCameBeforeItsInit) {
    test::ScriptedNodeIo kernel;
    test::ScopedNodeIo scope(kernel);
    test::ManualClock clock;
    PerfThreadBinder binder;
    binder.SetNodePath("/binder");
    EXPECT_EQ(binder.AddThreadInfo({5, clock.SteadyNow(), clock.SteadyNow() + milliseconds(10)}),
              0);
    ASSERT_EQ(binder.Init("on", "off"), 0);
    EXPECT_TRUE(Eventually([&] { return kernel.Written() == Texts{"on|5"}; }));
}

TEST(PerfThreadBinder, WithoutANodeItKeepsSpansAndWritesNothing) {
    test::ScriptedNodeIo kernel;
    test::ScopedNodeIo scope(kernel);
    test::ManualClock clock;
    test::LogCapture log;
    PerfThreadBinder binder;
    ASSERT_EQ(binder.Init("on", "off"), 0);
    const TimePoint now = clock.SteadyNow();
    EXPECT_EQ(binder.AddThreadInfo({5, now, now + milliseconds(10)}), 0);
    EXPECT_EQ(binder.AddThreadInfo({5, now, now + milliseconds(10)}), 0);
    EXPECT_EQ(log.Count(LOG_LEVEL_DEBUG, "duplicate probe"), 1U);
    EXPECT_TRUE(Eventually([&] {
        return std::ranges::any_of(log.Texts(LOG_LEVEL_DEBUG), [](const std::string& text) {
            return text.ends_with("takeInEffect tid 5");
        });
    }));
    binder.DeleteThreadInfo(5);
    binder.Stop();
    EXPECT_TRUE(kernel.Trace().empty());
    EXPECT_TRUE(log.Texts(LOG_LEVEL_ERROR).empty());
}

TEST(PerfThreadBinder, WritesOneThreadOnRequestWhileNoWorkerRuns) {
    test::ScriptedNodeIo kernel;
    test::ScopedNodeIo scope(kernel);
    PerfThreadBinder binder;
    binder.SetNodePath("/binder");
    ASSERT_EQ(binder.Init("on", "off"), 0);
    binder.Stop();
    binder.DoConfig(true, {-7, {}, {}});
    binder.DoConfig(false, {-7, {}, {}});
    binder.CloseAllFds();
    EXPECT_EQ(kernel.Trace(), (Texts{"open /binder = 100", "write 100 on|-7 = 5",
                                     "write 100 off|-7 = 6", "close 100"}));
}

#if defined(__GLIBC__)
TEST(PerfThreadBinder, ASystemWithoutAThreadToGiveIsReportedAndMayBeTriedAgain) {
    test::ScriptedNodeIo kernel;
    test::ScopedNodeIo scope(kernel);
    test::ManualClock clock;
    test::LogCapture log;
    PerfThreadBinder binder;
    binder.SetNodePath("/binder");
    {
        const test::NoThreads noThreads;
        EXPECT_EQ(binder.Init("first", "off"), -1);
    }
    ASSERT_EQ(log.Texts(LOG_LEVEL_ERROR).size(), 1U);
    EXPECT_TRUE(log.Texts(LOG_LEVEL_ERROR)[0].starts_with("starting the thread binder failed: "));
    ASSERT_EQ(binder.Init("second", "off"), 0);
    const TimePoint now = clock.SteadyNow();
    EXPECT_EQ(binder.AddThreadInfo({5, now, now + milliseconds(10)}), 0);
    EXPECT_TRUE(Eventually([&] { return kernel.Written() == Texts{"second|5"}; }));
}
#endif

TEST(PerfThreadBinder, KeepsTimeOnTheRealClock) {
    test::ScriptedNodeIo kernel;
    test::ScopedNodeIo scope(kernel);
    PerfThreadBinder binder;
    binder.SetNodePath("/binder");
    ASSERT_EQ(binder.Init("on", "off"), 0);
    const TimePoint start = SteadyNow() + milliseconds(5);
    EXPECT_EQ(binder.AddThreadInfo({5, start, start + std::chrono::hours(1)}), 0);
    EXPECT_TRUE(Eventually([&] { return kernel.Written() == Texts{"on|5"}; }));
    EXPECT_GE(SteadyNow(), start);
}

}  // namespace
}  // namespace corebeacon
