// The C interface with a heap that runs out at the first allocation, at the second and so on: -1,
// and nothing is left behind.
#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "command/command_manager.h"
#include "front/c_interface.h"
#include "oom/failing_heap.h"
#include "support/engine_fixture.h"
#include "support/silent_log.h"

namespace corebeacon::test {
namespace {

constexpr int kPid = 1;
constexpr unsigned int kScenario = 1;
constexpr uint32_t kEvent = 0;
constexpr long kMostAllocations = 1000;

class CInterfaceOomTest : public EngineFixture {
protected:
    void SetUp() override { ASSERT_EQ(corebeacon_create(nullptr, &mEngine), 0); }
    void TearDown() override { corebeacon_destroy(mEngine); }

    std::size_t LiveHandles() const { return mEngine->front.Commands().GetCounts().liveHandles; }

    /// Runs `call` with one allocation after the other missing until it gets through, be it for the
    /// places that are kept for work modes; the number of those that it needs.
    long Starve(const std::function<int()>& call) {
        const std::size_t before = LiveHandles();
        for (long nth = 1; nth < kMostAllocations; ++nth) {
            int result = 0;
            bool hasFailed = false;
            {
                const FailingHeap heap(HeapUser::THIS_THREAD, Shortage::FOR_EVER, nth);
                result = call();
                hasFailed = FailingHeap::HasFailed();
            }
            if (!hasFailed || result == 0) {
                EXPECT_GE(result, 0);
                return nth - 1;
            }
            EXPECT_EQ(result, -1) << "without allocation " << nth;
            EXPECT_EQ(LiveHandles(), before) << "without allocation " << nth;
        }
        return kMostAllocations;
    }

    const SilentLog mLog;
    corebeacon_engine* mEngine = nullptr;
    unsigned long mHandle = 0;
    char mText[4096] = "";
};

TEST_F(CInterfaceOomTest, WhatAsksForSomethingFailsAsIfItWereRefused) {
    const corebeacon_item items[] = {{COREBEACON_QOS_CPU_L, 0, COREBEACON_BOOST, 1000000},
                                     {COREBEACON_QOS_GPU, 0, COREBEACON_LIMIT, 495000000}};
    const uint32_t qos[] = {COREBEACON_QOS_CPU_L};
    const unsigned int begin[] = {1, 500};
    EXPECT_GT(Starve([&] { return corebeacon_request(mEngine, kPid, 0, items, 2, &mHandle); }), 2);
    EXPECT_GT(Starve([&] { return corebeacon_set_scenario(mEngine, kPid, kScenario, &mHandle); }),
              0);
    EXPECT_GT(Starve([&] { return corebeacon_set_mode(mEngine, kPid, 2, &mHandle); }), 0);
    EXPECT_GT(Starve([&] { return corebeacon_set_suspend(mEngine, 1, qos, 1); }), 0);
    EXPECT_GT(Starve([&] { return corebeacon_event(mEngine, kEvent, begin, 2, "begin"); }), 0);
    EXPECT_GT(Starve([&] { return corebeacon_start_event(mEngine, kEvent, 0); }), 0);
    EXPECT_GT(Starve([&] { return corebeacon_start_probe(mEngine, 4711); }), 0);
}

TEST_F(CInterfaceOomTest, ADumpAndAnInspectionFail) {
    EXPECT_GT(Starve([&] { return corebeacon_dump(mEngine, "--event", mText, sizeof(mText)); }), 0);
    EXPECT_GT(Starve([&] { return corebeacon_task_dump(mEngine, 1, mText, sizeof(mText)); }), 0);
    corebeacon_group_state state = {};
    state.size = sizeof(state);
    EXPECT_GT(Starve([&] { return corebeacon_inspect(mEngine, COREBEACON_QOS_CPU_L, 0, &state); }),
              0);
}

TEST_F(CInterfaceOomTest, WhatTakesSomethingBackNeedsNoMemory) {
    const corebeacon_item item = {COREBEACON_QOS_CPU_L, 0, COREBEACON_BOOST, 1000000};
    ASSERT_EQ(corebeacon_request(mEngine, kPid, 0, &item, 1, &mHandle), 0);
    EXPECT_EQ(Starve([&] { return corebeacon_release(mEngine, kPid, mHandle); }), 0);
}

TEST_F(CInterfaceOomTest, AnEngineIsNotMade) {
    const uint32_t qos[] = {COREBEACON_QOS_CPU_L};
    corebeacon_options options = {};
    options.size = sizeof(options);
    options.qos = qos;
    options.qos_count = 1;
    corebeacon_engine* engine = nullptr;
    for (const long nth : {1L, 2L, 10L, 100L, 400L}) {
        const FailingHeap heap(HeapUser::THIS_THREAD, Shortage::FOR_EVER, nth);
        EXPECT_EQ(corebeacon_create(&options, &engine), -1) << nth;
        EXPECT_EQ(engine, nullptr);
    }
    ASSERT_EQ(corebeacon_create(&options, &engine), 0);
    corebeacon_destroy(engine);
}

}  // namespace
}  // namespace corebeacon::test
