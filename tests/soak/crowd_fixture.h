/// A busy engine and many callers at once, doing everything that may be done at once. Owned by a
/// test.
#pragma once

#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "command/command_manager.h"
#include "soak/busy_engine.h"
#include "soak/random_caller.h"

namespace corebeacon::test {

class CrowdFixture : public BusyEngineFixture {
protected:
    /// Each caller takes steps while `goesOn`, which they ask at once; then all is taken back.
    template <typename Predicate>
    void ExpectNothingIsLeftOfACrowd(int callers, const Predicate& goesOn) {
        std::vector<std::thread> threads;
        for (int number = 0; number < callers; ++number) {
            threads.emplace_back([this, number, &goesOn] {
                RandomCaller caller(*mFront, mConfig, number, 20, 60);
                while (goesOn()) {
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
};

}  // namespace corebeacon::test
