/// The engine of the front's tests, made through the C interface: the same QoS, scenarios, events
/// and probe, so that both can be asked the same. Owned by a test.
#pragma once

#include <array>
#include <string>

#include "front/c_interface.h"
#include "front/front_fixture.h"

namespace corebeacon::test {

class CInterfaceFixture : public FrontFixture {
protected:
    ~CInterfaceFixture() override { corebeacon_destroy(mEngine); }

    corebeacon_options Options() const {
        corebeacon_options options = {};
        options.size = sizeof(options);
        options.qos = kQos.data();
        options.qos_count = kQos.size();
        options.scenarios = &kScenarioRow;
        options.scenario_count = 1;
        options.event_steps = kSteps.data();
        options.event_step_count = kSteps.size();
        options.probe = &kProbeRow;
        return options;
    }

    int Create(const corebeacon_options& options) {
        const int result = corebeacon_create(&options, &mEngine);
        EXPECT_TRUE(result != 0 || Eventually([this] {
                        return mLog.Count(LOG_LEVEL_DEBUG, "Perf Thread Binder WorkThread") != 0;
                    }));
        mDevice->ClearRecord();
        mLog.Clear();
        return result;
    }
    void CreateEngine() { ASSERT_EQ(Create(Options()), 0); }

    void DestroyEngine() {
        corebeacon_destroy(mEngine);
        mEngine = nullptr;
    }

    std::string ValueOfC(const std::string& node) const {
        Settle(mEngine->front);
        return mDevice->Value(node);
    }

    corebeacon_engine* mEngine = nullptr;

    static constexpr std::array<uint32_t, 4> kQos = {COREBEACON_QOS_CPU_L, COREBEACON_QOS_CPU_M,
                                                     COREBEACON_QOS_CPU_B, COREBEACON_QOS_GPU};
    static constexpr std::array<corebeacon_item, 2> kScenarioItems = {
        {{COREBEACON_QOS_GPU, 0, COREBEACON_LIMIT, 495000000},
         {COREBEACON_QOS_CPU_L, 0, COREBEACON_BOOST, 893000}}};
    static constexpr corebeacon_scenario kScenarioRow = {kScenario, kScenarioItems.data(),
                                                         kScenarioItems.size()};
    static constexpr std::array<corebeacon_item, 4> kStepItems = {
        {{COREBEACON_QOS_CPU_M, 0, COREBEACON_BOOST, 1407000},
         {COREBEACON_QOS_CPU_M, 0, COREBEACON_BOOST, 1160000},
         {COREBEACON_QOS_CPU_L, 0, COREBEACON_BOOST, 1211000},
         {COREBEACON_QOS_CPU_B, 0, COREBEACON_BOOST, 1952000}}};
    static constexpr std::array<corebeacon_event_step, 4> kSteps = {
        {{kEvent, 100, &kStepItems[0], 1},
         {kEvent, 200, &kStepItems[1], 1},
         {kEvent, 150, &kStepItems[2], 1},
         {kOtherEvent, 60000, &kStepItems[3], 1}}};
    static constexpr corebeacon_probe kProbeRow = {sizeof(corebeacon_probe),
                                                   "/dev/thread_bind",
                                                   "bind",
                                                   "unbind",
                                                   10,
                                                   100,
                                                   1407000,
                                                   1952000,
                                                   400000000};
};

}  // namespace corebeacon::test
