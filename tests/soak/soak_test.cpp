// A very long run in little time: the clock is moved by hand, so that a million steps, with
// requests of up to a minute, come and go as fast as the machine carries them out.
#include <gtest/gtest.h>

#include <filesystem>
#include <random>
#include <vector>

#include "command/command_manager.h"
#include "soak/busy_engine.h"
#include "soak/heap_count.h"
#include "soak/random_caller.h"
#include "support/manual_clock.h"
#include "support/sizes.h"

namespace corebeacon::test {
namespace {

constexpr int kCallers = 8;
/// Each advance of the clock wakes every worker, which costs far more than a step.
constexpr int kStepsPerAdvance = 32;
/// Blocks by which the heap may differ: texts of the limit histories' short strings and the like.
constexpr std::size_t kHeapSlackBlocks = 64;

std::size_t ThreadCount() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return static_cast<std::size_t>(std::distance(begin(tasks), end(tasks)));
}

class SoakTest : public BusyEngineFixture {
protected:
    /// Some 64 steps a second of the clock, and then rest until all has ended.
    void Run(long count, int seed) {
        std::mt19937_64 random(static_cast<std::uint64_t>(seed));
        std::vector<RandomCaller> callers;
        callers.reserve(kCallers);
        for (int number = 0; number < kCallers; ++number) {
            callers.emplace_back(*mFront, mConfig, seed * kCallers + number, 20, 60000);
        }
        for (long i = 0; i < count; ++i) {
            callers[random() % kCallers].Step();
            if (i % kStepsPerAdvance == 0) {
                mClock.Advance(std::chrono::milliseconds(random() % 1000));
                Settle(*mFront);
            }
        }
        RandomCaller::CalmDown(*mFront);
        // To the end of every wait: base values say nothing of what lies in the queues, and that
        // counts below.
        Pass(*mFront, mClock, std::chrono::seconds(61));
        ExpectEveryNodeAtItsBase();
        Settle(*mFront);
        mFront->PerfRelease(1, 0);  // any call clears the handle table of what has expired
    }

    ManualClock mClock;
};

TEST_F(SoakTest, AfterManyStepsOfEveryKindEverythingIsBackWhereItBegan) {
    const long count = SizeFromEnvironment("COREBEACON_SOAK_REQUESTS", 20000);
    // Until the histories are full, each entry of which keeps a block or two.
    Run(count / 10 + 4000, 1);
    const std::size_t descriptors = mDevice->OpenDescriptors();
    const std::size_t threads = ThreadCount();
    const std::size_t heap = LiveHeapBlocks();

    Run(count, 2);

    const CommandManager::Counts counts = mFront->Commands().GetCounts();
    EXPECT_EQ(counts.liveHandles, 0U);
    EXPECT_EQ(counts.commands, 0U);
    EXPECT_EQ(counts.owners, 0U);
    EXPECT_EQ(counts.endTimeRecords, 0U);
    EXPECT_EQ(mDevice->OpenDescriptors(), descriptors);
    EXPECT_EQ(ThreadCount(), threads);
    EXPECT_LE(LiveHeapBlocks(), heap + kHeapSlackBlocks);
    mFront.reset();
    EXPECT_EQ(mDevice->OpenDescriptors(), 0U);
}

}  // namespace
}  // namespace corebeacon::test
