/// An engine with the built-in table on a device that has seen every resource at each of its levels
/// once, so that what is measured afterwards is no first use. Owned by a test.
#pragma once

#include <map>
#include <string>

#include "support/deadline.h"
#include "support/engine_fixture.h"
#include "support/random_requests.h"

namespace corebeacon::test {

class BusyEngineFixture : public EngineFixture {
protected:
    void SetUp() override {
        mDevice->SetRecordLimit(0);
        mConfig = BuiltinConfig();
        mFront = std::make_unique<ConfigManager>();
        ASSERT_EQ(mFront->Init(mConfig, GetConfigurableEventVec(mChip),
                               GetConfigurableScenarioVec(mChip), ProbeEvent()),
                  0);
        TouchEveryResource();
        mBase = mDevice->Snapshot();
    }

    /// A value that nobody could release any more would stand for ever.
    void ExpectEveryNodeAtItsBase() const {
        EXPECT_TRUE(Eventually([this] { return mDevice->Snapshot() == mBase; }));
        for (const auto& [path, value] : mDevice->Snapshot()) {
            EXPECT_EQ(value, mBase.at(path)) << path;
        }
    }

    PerfDefaultConfig mConfig;
    std::map<std::string, std::string>
        mBase;  // what every node holds when nobody asks for anything

private:
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
