// What a host loads that has no engine built in: one life of an engine behind a plain C name.
#include <atomic>
#include <cstdio>
#include <sstream>
#include <vector>

#include "corebeacon/builtin_config.h"
#include "corebeacon/config_manager.h"
#include "corebeacon/node_io.h"

namespace {

using namespace corebeacon;

/// Every node can be opened and takes everything; every read gives one frequency list.
class AnyDevice : public NodeIo {
public:
    int Open(const char*, int) override { return 1000 + mOpens++; }
    ssize_t Read(int, void* buffer, std::size_t size) override {
        mListEnds = !mListEnds;
        return mListEnds ? std::snprintf(static_cast<char*>(buffer), size, "1239000 2487000\n") : 0;
    }
    ssize_t Write(int, const void*, std::size_t size) override {
        return static_cast<ssize_t>(size);
    }
    int Close(int) override { return 0; }
    int Ioctl(int, unsigned long, void*) override { return 0; }

private:
    std::atomic<int> mOpens{0};
    bool mListEnds = false;  // lists are read during set-up, by one thread
};

bool LiveOnce() {
    PerfDefaultConfig config;
    config.qosConfigMap.emplace(PERF_QOS_CPU_B, GetPerfQosConfigMap().at(PERF_QOS_CPU_B));
    ConfigManager engine;
    unsigned long handle = 0;
    std::ostringstream out;
    return engine.Init(config, {}, {}, {}) == 0 &&
           engine.PerfRequest(1, 60000,
                              {{PERF_QOS_CPU_B, {{0, {{PERF_OPERATION_BOOST, 2000000}}}}}},
                              handle) == 0 &&
           engine.Dump(out, {"--task"}) == 0 && engine.PerfRelease(1, handle) == 0 &&
           !engine.DebugSet(out, "--toaster");
}

}  // namespace

/// 0 for a life without complaint.
extern "C" __attribute__((visibility("default"))) int CorebeaconLiveOnce() {
    AnyDevice device;
    SetNodeIo(&device);
    const bool isWell = LiveOnce();
    SetNodeIo(nullptr);
    return isWell ? 0 : 1;
}
