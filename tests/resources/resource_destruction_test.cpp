#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <future>
#include <memory>
#include <thread>
#include <type_traits>
#include <typeinfo>

#include "corebeacon/log.h"
#include "resources/ddr_resource.h"
#include "resources/eas_resource.h"
#include "resources/frequency_resource.h"
#include "resources/ioctl_level_map_resource.h"
#include "resources/ipa_sustainable_power_resource.h"
#include "resources/ipa_switch_temp_resource.h"
#include "resources/level_map_resource.h"
#include "resources/mem_lat_target_ratio_resource.h"
#include "resources/single_node_value_resource.h"
#include "support/deadline.h"
#include "support/thread_state.h"

namespace corebeacon::test {
namespace {

/// Keeps the thread of the first line in there until it is opened. Owned by a test.
class LogGate : public LogSink {
public:
    LogGate() { SetLogSink(this); }
    ~LogGate() override { SetLogSink(nullptr); }
    LogGate(const LogGate&) = delete;
    LogGate& operator=(const LogGate&) = delete;

    void Write(int /*level*/, const char* /*tag*/, const char* /*message*/) noexcept override {
        mIsReached = true;
        mOpened.wait();
    }
    bool IsReached() const { return mIsReached; }
    void Open() { mOpening.set_value(); }

private:
    std::atomic<bool> mIsReached{false};
    std::promise<void> mOpening;
    const std::shared_future<void> mOpened = mOpening.get_future().share();
};

template <typename Kind>
std::unique_ptr<PerfResource> Make(const ResConstructParam& param) {
    if constexpr (std::is_constructible_v<Kind, const ResConstructParam&, bool>) {
        return std::make_unique<Kind>(param, true);
    } else {
        return std::make_unique<Kind>(param);
    }
}

template <typename Kind>
class ResourceDestruction : public testing::Test {};

using Kinds = testing::Types<DdrResource, EasResource, FrequencyResource, IoctlLevelMapResource,
                             IpaSustainablePowerResource, IpaSwitchTempResource, LevelMapResource,
                             MemLatTargetRatioResource, SingleNodeValueResource>;
TYPED_TEST_SUITE(ResourceDestruction, Kinds);

TYPED_TEST(ResourceDestruction, AwaitsTheWorkerWhileTheKindIsStillWhole) {
    const PerfQosConfig config("Q", {});
    LogGate gate;
    std::unique_ptr<PerfResource> resource =
        Make<TypeParam>({config, PERF_WORK_MODE_0, PERF_QOS_CPU_L});
    const PerfResource& watched = *resource;
    ASSERT_EQ(resource->InitThread(), 0);
    // Refused with a line, which is where the worker is caught.
    resource->SendCommandToFifoQ({PERF_COMMAND_SHORT_START, nullptr});
    ASSERT_TRUE(Eventually([&] { return gate.IsReached(); }));

    std::atomic<pid_t> destroyerTid{0};
    std::thread destroyer([&] {
        destroyerTid = static_cast<pid_t>(::syscall(SYS_gettid));
        resource.reset();
    });
    EXPECT_TRUE(Eventually([&] { return IsAsleep(destroyerTid); }));
    // Once the kind's own destructor has ended, what is left is of a base class.
    EXPECT_TRUE(typeid(watched) == typeid(TypeParam)) << typeid(watched).name();
    gate.Open();
    destroyer.join();
}

}  // namespace
}  // namespace corebeacon::test
