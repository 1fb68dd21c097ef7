/// An engine with the built-in table, task groups and a probe on a device that has seen every
/// resource at each of its levels once, so that what is measured afterwards is no first use. Owned
/// by a test.
#pragma once

#include <map>
#include <string>

#include "sim/eas_example.h"
#include "support/deadline.h"
#include "support/engine_fixture.h"
#include "support/random_requests.h"
#include "support/silent_log.h"

namespace corebeacon::test {

class BusyEngineFixture : public EngineFixture {
protected:
    void SetUp() override {
        mDevice->SetRecordLimit(0);
        sim::AddEasNodes(*mDevice);
        mDevice->AddText(kProbe.nodePath, "");
        mConfig = BuiltinConfig();
        mConfig.qosConfigMap.emplace(PERF_QOS_EAS, mTaskGroups);
        mFront = std::make_unique<ConfigManager>();
        ASSERT_EQ(mFront->Init(mConfig, GetConfigurableEventVec(mChip),
                               GetConfigurableScenarioVec(mChip), kProbe),
                  0);
        TouchEveryResource();
        mBase = NodeValues();
    }

    /// Of every node but the one that tells which thread was probed last.
    std::map<std::string, std::string> NodeValues() const {
        std::map<std::string, std::string> values = mDevice->Snapshot();
        values.erase(kProbe.nodePath);
        return values;
    }

    /// A value that nobody could release any more would stand for ever.
    void ExpectEveryNodeAtItsBase() const {
        EXPECT_TRUE(Eventually([this] { return NodeValues() == mBase; }));
        for (const auto& [path, value] : NodeValues()) {
            EXPECT_EQ(value, mBase.at(path)) << path;
        }
    }

    PerfDefaultConfig mConfig;
    /// What the nodes hold when nobody asks for anything.
    std::map<std::string, std::string> mBase;

private:
    const SilentLog mLog;
    inline static const ProbeEvent kProbe = {.nodePath = "/sys/kernel/sched/probe_thread",
                                             .bindText = "bind",
                                             .unbindText = "unbind",
                                             .startDelayMs = 10,
                                             .spanMs = 50,
                                             .cpuM = 1407000,
                                             .cpuB = 1952000,
                                             .gpu = 400000000};
    PerfQosEasConfig mTaskGroups = sim::MakeEasConfig();

    void TouchEveryResource() {
        unsigned long handle = 0;
        const RandomRequests requests(*mFront, mConfig.qosConfigMap, 0);
        for (const PerfRequestInfo& request : requests.EveryLevel()) {
            ASSERT_EQ(mFront->PerfRequest(1, 0, {request}, handle), 0);
            ASSERT_EQ(mFront->PerfRelease(1, handle), 0);
        }
        Settle(*mFront);
    }
};

}  // namespace corebeacon::test
