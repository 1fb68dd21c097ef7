// Many callers at once, doing everything that may be done at once.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "command/command_manager.h"
#include "soak/busy_engine.h"
#include "soak/random_caller.h"
#include "support/sizes.h"

namespace corebeacon::test {
namespace {

constexpr int kCallers = 16;

class StormTest : public BusyEngineFixture {};

TEST_F(StormTest, AfterManyCallersAtOnceEveryNodeIsBackAtItsBase) {
    const long seconds = SizeFromEnvironment("COREBEACON_STORM_SECONDS", 2);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    std::vector<std::thread> threads;
    for (int number = 0; number < kCallers; ++number) {
        threads.emplace_back([this, number, end] {
            RandomCaller caller(*mFront, mConfig, number, 20, 60);
            while (std::chrono::steady_clock::now() < end) {
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
