// Many callers at once, doing everything that may be done at once.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <thread>

#include "command/command_manager.h"
#include "soak/busy_engine.h"
#include "support/sizes.h"

namespace corebeacon::test {
namespace {

constexpr int kCallers = 16;

/// One caller at work: a process with up to a few handles, which it sometimes shares with a
/// neighbour, so that releases race requests of the same pid.
class Caller {
public:
    Caller(ConfigManager& front, const PerfQosConfigMap& table, int number)
        : mFront(front),
          mRequests(front, table, static_cast<std::uint64_t>(number)),
          mPid(1 + number / 2) {}

    void RunUntil(std::chrono::steady_clock::time_point end) {
        while (std::chrono::steady_clock::now() < end) {
            Step();
        }
    }

private:
    void Step() {
        const int choice = mRequests.Number(0, 999);
        unsigned long handle = 0;
        if (choice < 350) {
            mFront.PerfRequest(mPid, 20 + static_cast<unsigned int>(mRequests.Number(0, 40)),
                               mRequests.Next(), handle);
            mHandles.push_back(handle);
        } else if (choice < 600) {
            mFront.PerfRequest(mPid, 0, mRequests.Next(), handle);
            mHandles.push_back(handle);
        } else if (choice < 940) {
            if (!mHandles.empty()) {
                mFront.PerfRelease(mPid, mHandles.back());
                mHandles.pop_back();
            }
        } else if (choice < 980) {
            mFront.PerfReleaseAll(mPid);
            mHandles.clear();
        } else if (choice < 985) {
            mFront.Reset();
            mHandles.clear();
        } else {
            static const std::vector<std::string> kDumps = {"--task", "--base_info", "--workMode",
                                                            "--limit_history"};
            std::ostringstream out;
            EXPECT_EQ(mFront.Dump(out, {kDumps[static_cast<std::size_t>(choice) % kDumps.size()]}),
                      0);
            EXPECT_NE(out.str(), "");
        }
    }

    ConfigManager& mFront;
    RandomRequests mRequests;
    const int mPid;
    std::vector<unsigned long> mHandles;
};

class StormTest : public BusyEngineFixture {};

TEST_F(StormTest, AfterManyCallersAtOnceEveryNodeIsBackAtItsBase) {
    const long seconds = SizeFromEnvironment("COREBEACON_STORM_SECONDS", 2);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(seconds);
    std::vector<std::thread> threads;
    for (int number = 0; number < kCallers; ++number) {
        threads.emplace_back(
            [this, number, end] { Caller(*mFront, mConfig.qosConfigMap, number).RunUntil(end); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    mFront->Reset();
    EXPECT_EQ(mFront->Commands().GetCounts().liveHandles, 0U);
    ExpectEveryNodeAtItsBase();
}

}  // namespace
}  // namespace corebeacon::test
