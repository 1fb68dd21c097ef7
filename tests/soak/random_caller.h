/// One caller that does anything a host may do, at random but repeatably: every public operation is
/// among its steps. Owned by one thread of a test; several callers may work at once.
#pragma once

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>
#include <vector>

#include "corebeacon/builtin_config.h"
#include "corebeacon/config_manager.h"
#include "engine/resource_manager.h"
#include "sim/eas_example.h"
#include "support/random_requests.h"

namespace corebeacon::test {

class RandomCaller {
public:
    /// Two neighbours by `number` share a process, so that releases of one race what the other
    /// starts. Timed requests last from `minMs` to `maxMs`.
    RandomCaller(ConfigManager& front, const PerfDefaultConfig& config, int number, int minMs,
                 int maxMs)
        : mFront(front),
          mRequests(front, config.qosConfigMap, static_cast<std::uint64_t>(number)),
          mScenarios(GetConfigurableScenarioVec(config.controlInfo.chipType)),
          mEvents(GetConfigurableEventVec(config.controlInfo.chipType)),
          mPid(1 + number / 2),
          mTid(5000 + number),
          mMinMs(minMs),
          mMaxMs(maxMs) {
        mFront.Resources().GetResourceIds(mQosIds);
    }

    /// One operation; of a thousand, 350 are timed requests and 20 cost a question to each worker.
    void Step() {
        int choice = mRequests.Number(0, 999);
        for (const auto& [share, operation] : kOperations) {
            if (choice < share) {
                (this->*operation)();
                return;
            }
            choice -= share;
        }
        Release();
    }

    /// Takes back what no release does, and all that the processes hold.
    static void CalmDown(ConfigManager& front) {
        std::vector<PerfQosId> ids;
        front.Resources().GetResourceIds(ids);
        std::vector<unsigned int> resume = {0};
        resume.insert(resume.end(), ids.begin(), ids.end());
        EXPECT_EQ(front.PerfSetSuspend(resume), 0);
        for (const unsigned int group : kEasGroups) {
            SetBase(front, group, sim::kEasDefaultLevel);
        }
        EXPECT_EQ(front.Reset(), 0);
        std::ostringstream ignored;
        front.DebugSet(ignored, "--game_start_mode_disable");
    }

private:
    struct Operation {
        int share;  ///< of a thousand
        void (RandomCaller::*run)();
    };
    static const std::vector<Operation> kOperations;
    static constexpr unsigned int kEasGroups[] = {0, 1, 2, 3, 4, 5, 6, 7, 8};

    static void SetBase(ConfigManager& front, unsigned int group, int level) {
        unsigned long none = 0;
        const GroupInfo base{group, {{PERF_OPERATION_BOOST, level}}};
        EXPECT_EQ(front.PerfRequest(1, 0, {{PERF_QOS_EAS_BASE, {base}}}, none), 0);
    }

    unsigned int Duration() { return static_cast<unsigned int>(mRequests.Number(mMinMs, mMaxMs)); }

    template <typename Elements>
    const auto& AnyOf(const Elements& elements) {
        const int last = static_cast<int>(std::size(elements)) - 1;
        return elements[static_cast<std::size_t>(mRequests.Number(0, last))];
    }

    void TimedRequest() {
        unsigned long handle = 0;
        mFront.PerfRequest(mPid, Duration(), mRequests.Next(), handle);
    }

    void StandingRequest() {
        unsigned long handle = 0;
        if (mFront.PerfRequest(mPid, 0, mRequests.Next(), handle) == 0) {
            mHandles.push_back(handle);
        }
    }

    void Scenario() {
        unsigned long handle = 0;
        if (mFront.PerfSetScenario(mPid, AnyOf(mScenarios).scenarioId, handle) == 0) {
            mHandles.push_back(handle);
        }
    }

    void Mode() {
        unsigned long handle = 0;
        const auto mode = static_cast<unsigned int>(mRequests.Number(0, 2));
        if (mFront.PerfSetMode(mPid, mode, handle) == 0) {
            mHandles.push_back(handle);
        }
    }

    void Suspend() {
        const auto change = static_cast<unsigned int>(mRequests.Number(0, 1));
        EXPECT_EQ(mFront.PerfSetSuspend({change, AnyOf(mQosIds), PERF_QOS_CPU_B}), 0);
    }

    void StartEvent() {
        mFront.PerfEvent(AnyOf(mEvents).eventId, {1, Duration()}, "random caller");
    }

    void StopEvent() {
        EXPECT_EQ(mFront.PerfEvent(AnyOf(mEvents).eventId, {0}, "random caller"), 0);
    }

    void StartProbe() { mFront.StartProbe(mTid); }

    void StopProbe() { mFront.StopProbe(mTid); }

    void BaseSet() { SetBase(mFront, AnyOf(kEasGroups), 10 * mRequests.Number(0, 3)); }

    void Debug() {
        static const std::vector<std::string> kOptions = {
            "--game_mode_enable",       "--game_mode_disable",      "--benchmark_mode_enable",
            "--benchmark_mode_disable", "--game_start_mode_enable", "--game_start_mode_disable"};
        std::ostringstream out;
        EXPECT_TRUE(mFront.DebugSet(out, AnyOf(kOptions)));
        mFront.GetGameStartFlag();
    }

    void Dump() {
        static const std::vector<std::string> kDumps = {
            "--task", "--base_info", "--workMode", "--scenario", "--event", "--limit_history"};
        std::ostringstream out;
        EXPECT_EQ(mFront.Dump(out, {AnyOf(kDumps)}), 0);
        mFront.DumpCoreVersion(out);
        EXPECT_NE(out.str(), "");
    }

    /// What every process has to survive: other people's mistakes.
    void Blunder() {
        unsigned long handle = 0;
        EXPECT_EQ(mFront.PerfRequest(mPid, 0, {{PERF_QOS_INVALID, {}}}, handle), -1);
        EXPECT_EQ(mFront.PerfSetScenario(mPid, 4711, handle), -1);
        EXPECT_EQ(mFront.PerfSetMode(mPid, 3, handle), -1);
        EXPECT_EQ(mFront.PerfSetSuspend({}), -1);
        std::ostringstream out;
        EXPECT_EQ(mFront.Dump(out, {"--toaster"}), -1);
    }

    void ReleaseAll() {
        mFront.PerfReleaseAll(mPid);
        mHandles.clear();
    }

    void Reset() {
        EXPECT_EQ(mFront.Reset(), 0);
        mHandles.clear();
    }

    void Release() {
        if (!mHandles.empty()) {
            mFront.PerfRelease(mPid, mHandles.back());
            mHandles.pop_back();
        }
    }

    ConfigManager& mFront;
    RandomRequests mRequests;
    const std::vector<ConfigurableScenario> mScenarios;
    const std::vector<ConfigurableEvent> mEvents;
    const int mPid;
    const int mTid;
    const int mMinMs;
    const int mMaxMs;
    std::vector<PerfQosId> mQosIds;
    std::vector<unsigned long> mHandles;  // of what stands until it is released
};

/// What is left of the thousand are releases.
inline const std::vector<RandomCaller::Operation> RandomCaller::kOperations = {
    {350, &RandomCaller::TimedRequest}, {150, &RandomCaller::StandingRequest},
    {30, &RandomCaller::Scenario},      {20, &RandomCaller::Mode},
    {30, &RandomCaller::Suspend},       {20, &RandomCaller::StartEvent},
    {10, &RandomCaller::StopEvent},     {20, &RandomCaller::StartProbe},
    {10, &RandomCaller::StopProbe},     {20, &RandomCaller::BaseSet},
    {10, &RandomCaller::Debug},         {20, &RandomCaller::Dump},
    {10, &RandomCaller::Blunder},       {30, &RandomCaller::ReleaseAll},
    {5, &RandomCaller::Reset},
};

}  // namespace corebeacon::test
