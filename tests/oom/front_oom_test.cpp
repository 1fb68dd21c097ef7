// Every operation of the front with a heap that runs out at the first allocation, at the second and
// so on, until it gets through: it fails as a refused one does, nothing is left behind, and what
// takes something back needs no memory at all.
#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <ostream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "command/command_manager.h"
#include "corebeacon/log.h"
#include "oom/oom_fixture.h"
#include "support/thread_state.h"

namespace corebeacon::test {
namespace {

constexpr int kPid = 1;
constexpr int kTid = 4711;
constexpr unsigned int kLongMs = 60000;
constexpr unsigned int kScenario = 1;
constexpr PerfEventId kEvent = 0;
constexpr PerfEventId kProbeEventId = 4097;
constexpr PerfEventId kSuspendEventId = 8192;

struct Caller;

struct Operation {
    const char* name;
    std::function<int(Caller&)> run;
    std::vector<unsigned int> params = std::vector<unsigned int>();
    std::vector<std::string> dump = std::vector<std::string>();
};

/// What an operation works with, made up beforehand: a caller's own memory is not the matter here.
struct Caller {
    explicit Caller(ConfigManager& engine) : front(engine) {}
    Caller(ConfigManager& engine, const Operation& operation)
        : front(engine), dump(operation.dump), params(operation.params) {}

    ConfigManager& front;
    unsigned long handle = 0;
    std::ostringstream out;
    const std::string message = "a message";
    const std::vector<std::string> dump;
    const std::vector<unsigned int> params;
    const std::vector<PerfRequestInfo> request = {
        Ask(PERF_QOS_CPU_L, PERF_OPERATION_BOOST, 1000000),
        AskRange(PERF_QOS_CPU_B, 1300000, 2000000),
        Ask(PERF_QOS_GPU, PERF_OPERATION_LIMIT, 500000000),
        {PERF_QOS_EAS, {{2, {{PERF_OPERATION_BOOST, 30}}}}}};
    const std::vector<PerfRequestInfo> base = {
        {PERF_QOS_EAS_BASE, {{2, {{PERF_OPERATION_BOOST, 30}}}}}};
};

std::ostream& operator<<(std::ostream& out, const Operation& operation) {
    return out << operation.name;
}

class OperationOomTest : public OomFixture,
                         public ::testing::WithParamInterface<std::tuple<Operation, Shortage>> {
protected:
    /// Whether the operation had all the memory that it asked for.
    bool GetsThrough(const Operation& operation, Shortage shortage, long nth) {
        Caller caller(*mFront, operation);
        const CommandManager::Counts before = mFront->Commands().GetCounts();
        int result = 0;
        {
            const FailingHeap heap(HeapUser::THIS_THREAD, shortage, nth);
            EXPECT_NO_THROW(result = operation.run(caller));
        }
        if (!FailingHeap::HasFailed()) {
            EXPECT_EQ(result, 0);
            return true;
        }
        EXPECT_EQ(result, -1) << "allocation " << nth;
        const CommandManager::Counts after = mFront->Commands().GetCounts();
        EXPECT_EQ(after.liveHandles, before.liveHandles) << "allocation " << nth;
        EXPECT_EQ(after.commands, before.commands);
        EXPECT_EQ(after.owners, before.owners);
        EXPECT_EQ(after.endTimeRecords, before.endTimeRecords);
        EXPECT_EQ(after.events, before.events);
        EXPECT_EQ(after.probes, before.probes);
        return false;
    }
};

TEST_P(OperationOomTest, FailsAndLeavesNothingBehindUntilItGetsThrough) {
    const auto& [operation, shortage] = GetParam();
    long nth = 1;
    while (!GetsThrough(operation, shortage, nth)) {
        ASSERT_LT(++nth, 1000);
        Settle(*mFront);
        ExpectEveryNodeAtItsBase();
    }
    RandomCaller::CalmDown(*mFront);
    Settle(*mFront);
    ExpectEveryNodeAtItsBase();
    ExpectTheEngineGoesOn();
}

const std::vector<Operation> kAdding = {
    {"PerfRequestTimed",
     [](Caller& c) { return c.front.PerfRequest(kPid, kLongMs, c.request, c.handle); }},
    {"PerfRequestStanding",
     [](Caller& c) { return c.front.PerfRequest(kPid, 0, c.request, c.handle); }},
    {"PerfRequestOfBaseValues",
     [](Caller& c) { return c.front.PerfRequest(kPid, 0, c.base, c.handle); }},
    {"PerfSetScenario",
     [](Caller& c) { return c.front.PerfSetScenario(kPid, kScenario, c.handle); }},
    {"PerfSetMode",
     [](Caller& c) { return c.front.PerfSetMode(kPid, PERF_WORK_MODE_2, c.handle); }},
    {"PerfSetSuspend", [](Caller& c) { return c.front.PerfSetSuspend(c.params); }, {1, 2, 3}},
    {"PerfSetResume", [](Caller& c) { return c.front.PerfSetSuspend(c.params); }, {0, 2, 3}},
    {"StartEvent", [](Caller& c) { return c.front.StartEvent(kEvent, kLongMs); }},
    {"PerfEventStart",
     [](Caller& c) { return c.front.PerfEvent(kEvent, c.params, c.message); },
     {1, kLongMs}},
    {"PerfEventSuspend",
     [](Caller& c) { return c.front.PerfEvent(kSuspendEventId, c.params, c.message); },
     {1, 2}},
    {"PerfEventProbe",
     [](Caller& c) { return c.front.PerfEvent(kProbeEventId, c.params, c.message); },
     {1, 0, kTid}},
    {"StartProbe", [](Caller& c) { return c.front.StartProbe(kTid); }},
    {"DumpOfTasks", [](Caller& c) { return c.front.Dump(c.out, c.dump); }, {}, {"--task"}},
    {"DumpOfBaseInfo", [](Caller& c) { return c.front.Dump(c.out, c.dump); }, {}, {"--base_info"}},
    {"DumpOfScenarios", [](Caller& c) { return c.front.Dump(c.out, c.dump); }, {}, {"--scenario"}},
    {"DumpOfEvents", [](Caller& c) { return c.front.Dump(c.out, c.dump); }, {}, {"--event"}},
    {"DumpOfWorkModes", [](Caller& c) { return c.front.Dump(c.out, c.dump); }, {}, {"--workMode"}},
    {"DumpOfLimitHistory",
     [](Caller& c) { return c.front.Dump(c.out, c.dump); },
     {},
     {"--limit_history"}},
    {"DumpCoreVersion",
     [](Caller& c) {
         c.front.DumpCoreVersion(c.out);
         return c.out.bad() ? -1 : 0;
     }},
};

INSTANTIATE_TEST_SUITE_P(OfAll, OperationOomTest,
                         ::testing::Combine(::testing::ValuesIn(kAdding),
                                            ::testing::Values(Shortage::ONCE, Shortage::FOR_EVER)),
                         [](const auto& tested) {
                             const bool isOnce = std::get<1>(tested.param) == Shortage::ONCE;
                             return std::get<0>(tested.param).name +
                                    std::string(isOnce ? "Once" : "ForEver");
                         });

class FrontOomTest : public OomFixture {
protected:
    /// Runs what takes something back on a heap that gives nothing, while hanging nodes let the
    /// queues fill up: they come to their limits again and again, at some of them with a stop.
    void TakeBackWithoutMemory(const std::function<void(Caller&)>& ask,
                               const std::function<int(Caller&)>& takeBack) {
        const auto gate = std::make_shared<sim::Gate>();
        mDevice->InjectEverywhere(sim::OperationKind::WRITE, sim::Fault::Hold(gate).Forever());
        unsigned long mode = 0;  // makes every worker write, and so hang
        ASSERT_EQ(mFront->PerfSetMode(kPid, PERF_WORK_MODE_2, mode), 0);
        ASSERT_EQ(mFront->PerfRelease(kPid, mode), 0);
        int shortages = 0;
        for (int round = 0; round < 150; ++round) {
            Caller caller(*mFront);
            if (round == 20) {
                // From here on the other half of what is queued comes to the limits.
                ASSERT_EQ(mFront->PerfSetSuspend({0, PERF_QOS_CPU_L, PERF_QOS_CPU_B, PERF_QOS_GPU}),
                          0);
            }
            ask(caller);
            {
                const FailingHeap heap(HeapUser::THIS_THREAD, Shortage::FOR_EVER, 1);
                EXPECT_EQ(takeBack(caller), 0);
            }
            shortages += FailingHeap::HasFailed() ? 1 : 0;
            EXPECT_EQ(mFront->Commands().GetCounts().liveHandles, 0U);
            EXPECT_EQ(mFront->Commands().GetCounts().endTimeRecords, 0U);
        }
        EXPECT_GT(shortages, 0) << "no queue was ever without memory";
        gate->Open();
        Settle(*mFront);
        ExpectEveryNodeAtItsBase();
        mDevice->ClearFaults();
        ExpectTheEngineGoesOn();
    }
};

TEST_F(FrontOomTest, AReleaseNeedsNoMemory) {
    TakeBackWithoutMemory(
        [](Caller& c) { ASSERT_EQ(c.front.PerfRequest(kPid, 0, c.request, c.handle), 0); },
        [](Caller& c) { return c.front.PerfRelease(kPid, c.handle); });
}

TEST_F(FrontOomTest, AReleaseOfATimedRequestNeedsNoMemory) {
    TakeBackWithoutMemory(
        [](Caller& c) { ASSERT_EQ(c.front.PerfRequest(kPid, kLongMs, c.request, c.handle), 0); },
        [](Caller& c) { return c.front.PerfRelease(kPid, c.handle); });
}

TEST_F(FrontOomTest, AReleaseOfAWorkModeNeedsNoMemory) {
    TakeBackWithoutMemory(
        [](Caller& c) { ASSERT_EQ(c.front.PerfSetMode(kPid, PERF_WORK_MODE_2, c.handle), 0); },
        [](Caller& c) { return c.front.PerfRelease(kPid, c.handle); });
    std::ostringstream out;
    EXPECT_TRUE(mFront->DumpInfo(out, "--workMode"));
    EXPECT_EQ(out.str(), "\ncurrent mode = 0, modeNum(1) <value, handle>:\n<0,*>");
}

TEST_F(FrontOomTest, AReleaseOfAllNeedsNoMemory) {
    TakeBackWithoutMemory(
        [](Caller& c) {
            ASSERT_EQ(c.front.PerfRequest(kPid, 0, c.request, c.handle), 0);
            ASSERT_EQ(c.front.PerfRequest(kPid, kLongMs, c.request, c.handle), 0);
            ASSERT_EQ(c.front.PerfSetScenario(kPid, kScenario, c.handle), 0);
        },
        [](Caller& c) { return c.front.PerfReleaseAll(kPid); });
}

TEST_F(FrontOomTest, AResetNeedsNoMemory) {
    TakeBackWithoutMemory(
        [](Caller& c) {
            ASSERT_EQ(c.front.PerfRequest(kPid, 0, c.request, c.handle), 0);
            ASSERT_EQ(c.front.PerfSetMode(kPid, PERF_WORK_MODE_1, c.handle), 0);
            ASSERT_EQ(c.front.StartEvent(kEvent, kLongMs), 0);
            ASSERT_EQ(c.front.StartProbe(kTid), 0);
        },
        [](Caller& c) { return c.front.Reset(); });
}

TEST_F(FrontOomTest, StoppingAProbeNeedsNoMemory) {
    TakeBackWithoutMemory([](Caller& c) { ASSERT_EQ(c.front.StartProbe(kTid), 0); },
                          [](Caller& c) {
                              c.front.StopProbe(kTid);
                              return 0;
                          });
}

/// Keeps the last line; has memory of its own.
class LastLine : public LogSink {
public:
    LastLine() { SetLogSink(this); }
    ~LastLine() override { SetLogSink(nullptr); }
    LastLine(const LastLine&) = delete;
    LastLine& operator=(const LastLine&) = delete;

    void Write(int, const char* tag, const char* message) noexcept override {
        const HeapExemption exemption;
        mText = std::string(tag) + " " + std::strstr(message, "] ");
    }
    const std::string& Text() const { return mText; }

private:
    std::string mText;
};

TEST_F(FrontOomTest, TheLogTellsOfAnOperationThatFoundNoMemory) {
    const LastLine log;
    Caller caller(*mFront);
    {
        const FailingHeap heap(HeapUser::THIS_THREAD, Shortage::FOR_EVER, 1);
        EXPECT_EQ(mFront->PerfRequest(kPid, 0, caller.request, caller.handle), -1);
    }
    EXPECT_EQ(log.Text(), "PF_CFG_MGR ] out of memory in PerfRequest");
}

TEST_F(FrontOomTest, AnEventThatCannotBeStoppedGoesOnAndTellsSo) {
    ASSERT_EQ(mFront->StartEvent(kEvent, kLongMs), 0);
    const std::vector<unsigned int> stop = {0};
    const std::string message = "stop";
    {
        const FailingHeap heap(HeapUser::THIS_THREAD, Shortage::FOR_EVER, 1);
        mFront->StopEvent(kEvent);
        EXPECT_EQ(mFront->PerfEvent(kEvent, stop, message), -1);
    }
    EXPECT_EQ(mFront->Commands().GetCounts().events, 1U);
    EXPECT_EQ(mFront->PerfEvent(kEvent, stop, message), 0);
    EXPECT_EQ(mFront->Commands().GetCounts().events, 0U);
    Settle(*mFront);
    ExpectEveryNodeAtItsBase();
}

TEST_F(FrontOomTest, AReleaseOfAllMeetsNoModeThatHasFailedForLackOfMemory) {
    bool isThrough = false;
    for (long nth = 1; !isThrough; ++nth) {
        ASSERT_LT(nth, 1000);
        std::atomic<pid_t> tid{0};
        std::atomic<int> result{1};
        std::thread releaser;
        // Goes as far as it can: to its end, or to a mutex that the failing operation holds.
        const auto releaseAll = [&] {
            releaser = std::thread([&] {
                tid = static_cast<pid_t>(::syscall(SYS_gettid));
                result = mFront->PerfReleaseAll(kPid);
            });
            EXPECT_TRUE(Eventually([&] { return result != 1 || IsAsleep(tid); }));
        };
        unsigned long handle = 0;
        {
            const FailingHeap heap(HeapUser::THIS_THREAD, Shortage::ONCE, nth, releaseAll);
            isThrough = mFront->PerfSetMode(kPid, PERF_WORK_MODE_1, handle) == 0;
        }
        if (releaser.joinable()) {
            releaser.join();
            EXPECT_EQ(result, 0) << "allocation " << nth;
        }
    }
    EXPECT_EQ(mFront->PerfReleaseAll(kPid), 0);
    Settle(*mFront);
    ExpectEveryNodeAtItsBase();
}

TEST_F(FrontOomTest, ADebugScenarioIsSwitchedOnWholeOrNotAtAll) {
    const std::string on = "--benchmark_mode_enable";
    const std::string off = "--benchmark_mode_disable";
    for (const Shortage shortage : {Shortage::ONCE, Shortage::FOR_EVER}) {
        bool isOn = false;
        for (long nth = 1; !isOn; ++nth) {
            ASSERT_LT(nth, 1000);
            std::ostringstream out;
            bool isDone = false;
            {
                const FailingHeap heap(HeapUser::THIS_THREAD, shortage, nth);
                EXPECT_NO_THROW(isDone = mFront->DebugSet(out, on));
            }
            const unsigned int handles = mFront->Commands().GetCounts().liveHandles;
            isOn = !FailingHeap::HasFailed();
            EXPECT_EQ(handles, isOn ? 1U : 0U);
            EXPECT_TRUE(!isDone || !out.bad());
            EXPECT_EQ(isDone && out.str().empty(), isOn) << "the caller is told, or finds it done";
        }
        std::ostringstream out;
        EXPECT_TRUE(mFront->DebugSet(out, off));
        Settle(*mFront);
        ExpectEveryNodeAtItsBase();
    }
}

TEST_F(FrontOomTest, ARequestThatOneOfItsQueuesHasNoRoomForIsTakenBackFromTheOthers) {
    // A queue's memory doubles: each round begins with a little more in it.
    const auto gate = std::make_shared<sim::Gate>();
    mDevice->InjectEverywhere(sim::OperationKind::WRITE, sim::Fault::Hold(gate).Forever());
    for (int round = 0; round < 25; ++round) {
        bool isThrough = false;
        for (long nth = 1; !isThrough; ++nth) {
            Caller caller(*mFront);
            {
                const FailingHeap heap(HeapUser::THIS_THREAD, Shortage::FOR_EVER, nth);
                isThrough = mFront->PerfRequest(kPid, kLongMs, caller.request, caller.handle) == 0;
            }
            EXPECT_EQ(mFront->Commands().GetCounts().liveHandles, isThrough ? 1U : 0U);
        }
        EXPECT_EQ(mFront->Reset(), 0);
    }
    gate->Open();
    Settle(*mFront);
    ExpectEveryNodeAtItsBase();
}

}  // namespace
}  // namespace corebeacon::test
