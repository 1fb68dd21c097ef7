#include "bench_engine.h"

#include <cstdio>
#include <cstdlib>
#include <sstream>

#include "corebeacon/builtin_config.h"
#include "engine/resource_manager.h"

namespace corebeacon::bench {

namespace {

/// Room for a crowd of one owner, and for many owners.
constexpr HandleLimits kLimits{4000, 400000, 800000, 0};

/// An event whose boost of CPU_B waits for a minute behind one that is in force at once.
ConfigurableEvent WaitingEvent(PerfEventId id) {
    constexpr int kFirstBoost = 1300000;
    return {id,
            {{PERF_QOS_CPU_B,
              {{kMaxDurationMs, BoostOf(kFirstBoost).front().groups},
               {kMaxDurationMs, BoostOf(kCrowdBoost).front().groups}}}}};
}

}  // namespace

std::vector<PerfRequestInfo> BoostOf(int value, PerfQosId qosId) {
    return {{qosId, {{0, {{PERF_OPERATION_BOOST, value}}}}}};
}

void Require(bool done) {
    if (!done) {
        std::fputs("the engine refused what the benchmark needs\n", stderr);
        std::abort();
    }
}

Engine::Engine(TmpfsDevice& device)
    : mDevice(device), mFront(std::make_unique<ConfigManager>(kLimits)) {
    SetNodeIo(&mDevice);
    PerfDefaultConfig config;
    config.qosConfigMap = GetPerfQosConfigMap();
    PlaceWorkers();
    Require(mFront->Init(config, {WaitingEvent(kCrowdEvent), WaitingEvent(kWaitingEvent)},
                         GetConfigurableScenarioVec(CHIP_TYPE_COMMON), {}) == 0);
    PlaceCaller();
    mDevice.AwaitRest();
}

Engine::~Engine() {
    mFront.reset();
    SetNodeIo(nullptr);
}

void Engine::Settle() {
    const std::shared_ptr<PerfResource> resource =
        mFront->Resources().GetResourcePtr(PERF_QOS_CPU_B);
    resource->SendCommandToFifoQ({PERF_COMMAND_GET_BASE_INFO, std::make_shared<PerfCommandItem>()});
    std::ostringstream ignored;
    Require(resource->WaitLogFinish(true, ignored));
}

}  // namespace corebeacon::bench
