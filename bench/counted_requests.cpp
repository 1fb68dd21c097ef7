// Requests and releases for a tool that counts instructions.
//
// corebeacon_counted_requests COUNT            the caller waits for nobody
// corebeacon_counted_requests COUNT in-turn    it waits for the worker, who so always does the same
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "corebeacon/builtin_config.h"
#include "corebeacon/config_manager.h"
#include "sim/simulated_device.h"

namespace {

/// Until the worker has carried out what was asked so far: an inspection is answered in its turn.
void Settle(corebeacon::ConfigManager& front) {
    std::vector<corebeacon::GroupState> groups;
    front.Inspect(corebeacon::PERF_QOS_CPU_B, groups);
}

}  // namespace

int main(int count, char** arguments) {
    using namespace corebeacon;
    const int requests = count > 1 ? std::atoi(arguments[1]) : 1000;
    const bool isInTurn = count > 2 && std::string(arguments[2]) == "in-turn";
    const std::unique_ptr<sim::SimulatedDevice> device = sim::SimulatedDevice::ForChip(0);
    device->SetRecordLimit(0);
    SetNodeIo(device.get());
    int failures = 0;
    {
        ConfigManager front;
        PerfDefaultConfig config;
        config.qosConfigMap.emplace(PERF_QOS_CPU_B, GetPerfQosConfigMap().at(PERF_QOS_CPU_B));
        failures += front.Init(config, {}, {}, {}) != 0 ? 1 : 0;
        const std::vector<PerfRequestInfo> request = {
            {PERF_QOS_CPU_B, {{0, {{PERF_OPERATION_BOOST, 2400000}}}}}};
        for (int i = 0; i < requests; ++i) {
            unsigned long handle = 0;
            failures += front.PerfRequest(1, 60000, request, handle) != 0 ? 1 : 0;
            if (isInTurn) {
                Settle(front);
            }
            failures += front.PerfRelease(1, handle) != 0 ? 1 : 0;
            if (isInTurn) {
                Settle(front);
            }
        }
    }
    SetNodeIo(nullptr);
    return failures == 0 ? 0 : 1;
}
