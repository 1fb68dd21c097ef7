/// A whole engine on a simulated device, for tests of the front and beyond. Owned by a test.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "corebeacon/builtin_config.h"
#include "corebeacon/config_manager.h"
#include "engine/resource_manager.h"
#include "sim/simulated_device.h"
#include "support/all_asleep.h"
#include "support/deadline.h"
#include "support/manual_clock.h"
#include "support/scoped_node_io.h"

namespace corebeacon::test {

/// Waits until every command queued so far has been carried out: a dump is answered in its turn.
/// Base information is the dump whose cost does not grow with the requests in force.
inline void Settle(const ConfigManager& front) {
    std::vector<PerfQosId> ids;
    front.Resources().GetResourceIds(ids);
    for (const PerfQosId id : ids) {
        auto item = std::make_shared<PerfCommandItem>();
        item->qosId = id;
        front.Resources().GetResourcePtr(id)->SendCommandToFifoQ(
            {PERF_COMMAND_GET_BASE_INFO, item});
    }
    for (const PerfQosId id : ids) {
        std::ostringstream ignored;
        EXPECT_TRUE(front.Resources().GetResourcePtr(id)->WaitLogFinish(true, ignored));
    }
}

/// Moves the clock on, between two moments at which nothing is under way, and has everything done
/// that this brings about. Not while a node hangs.
inline void Pass(const ConfigManager& front, ManualClock& clock, std::chrono::nanoseconds step) {
    Settle(front);
    EXPECT_TRUE(Eventually([&] { return AllAsleep(front, clock); }));
    clock.Advance(step);
    EXPECT_TRUE(Eventually([&] { return !clock.HasDueWaiters(); }));
    Settle(front);
}

/// Request elements in few words: Ask(PERF_QOS_GPU, PERF_OPERATION_BOOST, 500000000).
inline PerfRequestInfo Ask(PerfQosId qosId, PerfOperationType operation, int value) {
    return {qosId, {{0, {{operation, value}}}}};
}

inline PerfRequestInfo AskRange(PerfQosId qosId, int boost, int limit) {
    return {qosId, {{0, {{PERF_OPERATION_BOOST, boost}, {PERF_OPERATION_LIMIT, limit}}}}};
}

class EngineFixture : public ::testing::Test {
protected:
    explicit EngineFixture(ChipTypeAvailableValue chip = CHIP_TYPE_COMMON)
        : mChip(chip), mDevice(sim::SimulatedDevice::ForChip(chip)), mNodeIo(*mDevice) {}

    /// The engine goes ahead of a test's own clock and log, which its workers use.
    void TearDown() override { mFront.reset(); }

    PerfDefaultConfig BuiltinConfig() const {
        PerfDefaultConfig config;
        config.qosConfigMap = GetPerfQosConfigMap();
        config.controlInfo.chipType = mChip;
        return config;
    }

    /// Starts the engine with the built-in tables and forgets what that wrote.
    void StartEngine(const HandleLimits& limits = HandleLimits()) {
        mFront = std::make_unique<ConfigManager>(limits);
        PerfDefaultConfig config = BuiltinConfig();
        ASSERT_EQ(mFront->Init(config, GetConfigurableEventVec(mChip),
                               GetConfigurableScenarioVec(mChip), ProbeEvent()),
                  0);
        Settle(*mFront);
        mDevice->ClearRecord();
    }

    /// "node-name=bytes" of every write since the start, in order; for tests of one resource.
    std::vector<std::string> WrittenNames() const {
        std::vector<std::string> written;
        for (const sim::Operation& write : mDevice->Writes()) {
            written.push_back(write.path.substr(write.path.rfind('/') + 1) + "=" + write.bytes);
        }
        return written;
    }

    const ChipTypeAvailableValue mChip;
    const std::unique_ptr<sim::SimulatedDevice> mDevice;
    const ScopedNodeIo mNodeIo;
    std::unique_ptr<ConfigManager> mFront;
};

}  // namespace corebeacon::test
