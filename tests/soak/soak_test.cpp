// A very long run in little time: the clock is moved by hand, so that a million requests of up to a
// minute come and go as fast as the machine carries them out.
#include <gtest/gtest.h>

#include <filesystem>

#include "command/command_manager.h"
#include "soak/busy_engine.h"
#include "soak/heap_count.h"
#include "support/manual_clock.h"
#include "support/sizes.h"

namespace corebeacon::test {
namespace {

constexpr int kCallers = 8;
/// Requests between two steps of the clock. Each step wakes every worker, which costs far more.
constexpr int kRequestsPerStep = 32;
/// Blocks by which the heap may differ: texts of the limit histories' short strings and the like.
constexpr std::size_t kHeapSlackBlocks = 64;

std::size_t ThreadCount() {
    const std::filesystem::directory_iterator tasks("/proc/self/task");
    return static_cast<std::size_t>(std::distance(begin(tasks), end(tasks)));
}

class SoakTest : public BusyEngineFixture {
protected:
    /// Timed requests, 64 a second on average, and then rest until all have ended.
    void Run(long count, std::uint64_t seed) {
        RandomRequests requests(*mFront, mConfig.qosConfigMap, seed);
        for (long i = 0; i < count; ++i) {
            unsigned long handle = 0;
            const auto duration = static_cast<unsigned int>(requests.Number(20, 60000));
            ASSERT_EQ(mFront->PerfRequest(requests.Number(1, kCallers), duration, requests.Next(),
                                          handle),
                      0);
            if (i % kRequestsPerStep == 0) {
                mClock.Advance(std::chrono::milliseconds(requests.Number(0, 1000)));
                Settle(*mFront);
            }
        }
        mClock.Advance(std::chrono::seconds(61));
        ExpectEveryNodeAtItsBase();
        mFront->PerfRelease(1, 0);  // any call clears the handle table of what has expired
    }

    ManualClock mClock;
};

TEST_F(SoakTest, AfterManyTimedRequestsEverythingIsBackWhereItBegan) {
    const long count = SizeFromEnvironment("COREBEACON_SOAK_REQUESTS", 20000);
    Run(count / 10 + 1000, 1);
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
