// What must hold whichever way the calls of several threads fall together. The clock stands still,
// so that nothing ends by itself and hides what was left behind.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <functional>
#include <future>
#include <thread>

#include "command/command_manager.h"
#include "front/front_fixture.h"
#include "support/thread_state.h"

namespace corebeacon::test {
namespace {

/// Holds the thread that logs a certain text until it is let go.
class HoldingSink : public LogSink {
public:
    explicit HoldingSink(const char* text) : mText(text) {}

    void Write(int, const char*, const char* message) noexcept override {
        if (std::strstr(message, mText) != nullptr) {
            mHeld.set_value();
            mReleased.get_future().wait();
        }
    }
    void AwaitHeld() { mHeld.get_future().wait(); }
    void Release() { mReleased.set_value(); }

private:
    const char* const mText;
    std::promise<void> mHeld;
    std::promise<void> mReleased;
};

class RaceTest : public FrontFixture {
protected:
    static constexpr int kRounds = 300;

    void SetUp() override {
        mProbe.startDelayMs = 0;
        Start();
        PfLogonNamespace::PfLogonSet(0);
        // The nodes hold what they fall back to, also those that booted otherwise.
        ASSERT_EQ(mFront->StartEvent(kOtherEvent, 0), 0);
        ASSERT_EQ(mFront->StartProbe(1), 0);
        ASSERT_TRUE(BinderWrote({"bind|1"}));
        ASSERT_EQ(mFront->Reset(), 0);
        ASSERT_TRUE(BinderWrote({"bind|1", "unbind|1"}));
        Settle(*mFront);
        mIdle = mDevice->Snapshot();
    }

    /// Runs each action again and again on a thread of its own.
    static void Storm(const std::vector<std::function<void()>>& actions) {
        std::vector<std::thread> threads;
        for (const auto& action : actions) {
            threads.emplace_back([&action] {
                for (int round = 0; round < kRounds; ++round) {
                    action();
                }
            });
        }
        for (std::thread& thread : threads) {
            thread.join();
        }
    }

    std::string ModeDump() const {
        std::ostringstream out;
        mFront->DumpInfo(out, "--workMode");
        return out.str();
    }

    /// Whether every thread was bound and unbound in turn and is unbound now.
    static bool AllUnbound(const Names& written) {
        std::map<std::string, bool> bound;
        for (const std::string& text : written) {
            const bool isBind = text.starts_with("bind|");
            bool& state = bound[text.substr(text.find('|'))];
            if (state == isBind) {
                return false;
            }
            state = isBind;
        }
        return std::ranges::none_of(bound, [](const auto& entry) { return entry.second; });
    }

    std::size_t Probes() const { return mFront->Commands().GetCounts().probes; }

    void ExpectIdle() {
        Settle(*mFront);
        EXPECT_TRUE(Eventually([this] { return AllUnbound(mDevice->WritesTo(kBindNode)); }));
        std::map<std::string, std::string> now = mDevice->Snapshot();
        now[kBindNode] = mIdle[kBindNode];
        EXPECT_EQ(now, mIdle);
        const CommandManager::Counts counts = mFront->Commands().GetCounts();
        EXPECT_EQ(counts.liveHandles, 0U);
        EXPECT_EQ(counts.commands, 0U);
        EXPECT_EQ(counts.endTimeRecords, 0U);
        EXPECT_EQ(counts.events, 0U);
        EXPECT_EQ(counts.probes, 0U);
        EXPECT_EQ(ModeDump(), "\ncurrent mode = 0, modeNum(1) <value, handle>:\n<0,*>");
    }

    std::map<std::string, std::string> mIdle;
};

TEST_F(RaceTest, NoValueOfARequestOutlivesItsHandle) {
    const auto ask = [this](int pid, unsigned int duration) {
        unsigned long handle = 0;
        mFront->PerfRequest(pid, duration,
                            {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 1211000),
                             Ask(PERF_QOS_GPU, PERF_OPERATION_LIMIT, 495000000)},
                            handle);
    };
    Storm({[&] { ask(kPid, 0); }, [&] { ask(kPid, 60000); }, [&] { ask(kOtherPid, 0); },
           [this] { mFront->PerfReleaseAll(kPid); }, [this] { mFront->Reset(); }});
    ASSERT_EQ(mFront->Reset(), 0);
    ExpectIdle();
}

TEST_F(RaceTest, NoModeOutlivesItsHandle) {
    const auto setMode = [this](unsigned int mode) {
        unsigned long handle = 0;
        mFront->PerfSetMode(kPid, mode, handle);
        mFront->PerfRelease(kPid, handle);
        mFront->PerfSetMode(kPid, mode, handle);
    };
    Storm({[&] { setMode(1); }, [&] { setMode(2); }, [this] { mFront->PerfReleaseAll(kPid); },
           [this] { mFront->Reset(); }});
    mFront->PerfReleaseAll(kPid);
    ExpectIdle();
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "invalid handle: 1"), 0U);
}

TEST_F(RaceTest, EveryResourceEndsInTheModeThatTheManagerHas) {
    unsigned long handle = 0;
    ASSERT_EQ(mFront->PerfRequest(kPid, 0,
                                  {Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 1211000),
                                   Ask(PERF_QOS_CPU_M, PERF_OPERATION_BOOST, 1407000)},
                                  handle),
              0);
    ASSERT_EQ(mFront->PerfRequest(kPid, 0,
                                  {Ask(PERF_QOS_CPU_L, PERF_OPERATION_LIMIT, 893000),
                                   Ask(PERF_QOS_CPU_M, PERF_OPERATION_LIMIT, 1160000)},
                                  handle),
              0);
    const auto toggle = [this](int pid, unsigned int mode) {
        unsigned long modeHandle = 0;
        mFront->PerfSetMode(pid, mode, modeHandle);
        mFront->PerfRelease(pid, modeHandle);
    };
    Storm({[&] { toggle(kPid, 1); }, [&] { toggle(kOtherPid, 2); }, [&] { toggle(1003, 1); }});
    EXPECT_EQ(Value(kMinL), "893000");
    EXPECT_EQ(Value(kMinM), "1160000");
    unsigned long last = 0;
    ASSERT_EQ(mFront->PerfSetMode(kPid, 1, last), 0);
    EXPECT_EQ(Value(kMinL), "1211000");
    EXPECT_EQ(Value(kMinM), "1407000");
}

TEST_F(RaceTest, NoValueOfAnEventOutlivesItsHandle) {
    Storm({[this] { mFront->StartEvent(kEvent, 0); }, [this] { mFront->StartEvent(kEvent, 5000); },
           [this] { mFront->StopEvent(kEvent); }, [this] { mFront->Reset(); }});
    mFront->StopEvent(kEvent);
    ExpectIdle();
}

TEST_F(RaceTest, NoProbeOutlivesItsHandleInAQosOrInTheBinder) {
    Storm({[this] { mFront->StartProbe(kPid); },
           [this] {
               mFront->StopProbe(kPid);
               mFront->StartProbe(kPid);
           },
           [this] { mFront->PerfReleaseAll(kPid); }, [this] { mFront->Reset(); }});
    mFront->StopProbe(kPid);
    ExpectIdle();
    EXPECT_EQ(mFront->StartProbe(kPid), 0);
    EXPECT_EQ(Value(kMinM), "1407000");
    EXPECT_TRUE(Eventually([this] { return mDevice->Value(kBindNode) == "bind|1001"; }));
}

TEST_F(RaceTest, AProbeThatIsReleasedBeforeItsThreadIsBoundIsNotBoundAnyMore) {
    // Whoever is at the binder keeps the others out, one in front of its check, one behind the
    // release of the handle.
    HoldingSink sink("add probe tid = 8");
    SetLogSink(&sink);
    PfLogonNamespace::PfLogonSet(3);
    std::thread inside([this] { EXPECT_EQ(mFront->StartProbe(8), 0); });
    sink.AwaitHeld();
    std::atomic<pid_t> starting{0};
    std::thread starter([&] {
        starting = ::gettid();
        EXPECT_EQ(mFront->StartProbe(7), 0);
    });
    // Elsewhere it may sleep for a moment, too: not before there is something to release.
    EXPECT_TRUE(Eventually([&] { return Probes() == 2 && IsAsleep(starting); }));
    std::atomic<pid_t> releasing{0};
    std::thread releaser([&] {
        releasing = ::gettid();
        EXPECT_EQ(mFront->PerfReleaseAll(7), 0);
    });
    EXPECT_TRUE(Eventually([&] { return Probes() == 1 && IsAsleep(releasing); }));
    sink.Release();
    inside.join();
    starter.join();
    releaser.join();
    SetLogSink(&mLog);
    EXPECT_TRUE(BinderWrote({"bind|1", "unbind|1", "bind|8"}));
    mFront->StopProbe(8);
    ExpectIdle();
}

TEST_F(RaceTest, AllOperationsTogetherLeaveNothingBehind) {
    Storm({[&] {
               unsigned long handle = 0;
               mFront->PerfSetScenario(kPid, kScenario, handle);
           },
           [&] {
               unsigned long handle = 0;
               mFront->PerfSetMode(kOtherPid, 2, handle);
               mFront->PerfReleaseAll(kOtherPid);
           },
           [this] {
               std::ostringstream out;
               mFront->DebugSet(out, "--onfire_mode_enable");
               mFront->DebugSet(out, "--onfire_mode_disable");
           },
           [this] {
               mFront->StartEvent(kEvent, 0);
               mFront->StopEvent(kEvent);
           },
           [this] {
               mFront->StartProbe(5);
               mFront->StopProbe(5);
           },
           [this] {
               mFront->PerfSetSuspend({1, PERF_QOS_CPU_L});
               mFront->PerfSetSuspend({0, PERF_QOS_CPU_L});
           },
           [this] {
               std::ostringstream out;
               mFront->Dump(out, {"--task"});
               mFront->Dump(out, {"--base_info"});
           },
           [this] {
               mFront->Reset();
               std::this_thread::yield();
           }});
    ASSERT_EQ(mFront->Reset(), 0);
    ExpectIdle();
}

}  // namespace
}  // namespace corebeacon::test
