// A crowd of callers, counted in calls rather than in time.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>
#include <vector>

#include "command/command_manager.h"
#include "soak/busy_engine.h"
#include "soak/random_caller.h"
#include "support/sizes.h"

namespace corebeacon::test {
namespace {

constexpr int kCallers = 64;

class CrowdTest : public BusyEngineFixture {};

TEST_F(CrowdTest, AfterManyCallsOfSixtyFourCallersEveryNodeIsBackAtItsBase) {
    std::atomic<long> callsLeft{SizeFromEnvironment("COREBEACON_STORM_CALLS", 5000)};
    std::vector<std::thread> threads;
    for (int number = 0; number < kCallers; ++number) {
        threads.emplace_back([this, number, &callsLeft] {
            RandomCaller caller(*mFront, mConfig, number, 20, 60);
            while (callsLeft.fetch_sub(1, std::memory_order_relaxed) > 0) {
                caller.Step();
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    RandomCaller::CalmDown(*mFront);
    EXPECT_EQ(mFront->Commands().GetCounts().liveHandles, 0U);
    ExpectEveryNodeAtItsBase();
}

}  // namespace
}  // namespace corebeacon::test
