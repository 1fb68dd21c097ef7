// Raises the floor of the big cores for 100 ms, on a device that prints what is written to it.
#include <chrono>
#include <cstdio>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "corebeacon/builtin_config.h"
#include "corebeacon/config_manager.h"
#include "corebeacon/node_io.h"

using namespace corebeacon;

// Stands in for the kernel: every node can be opened, and every read gives this frequency list.
class PrintingDevice : public NodeIo {
    int Open(const char* path, int) override {
        const std::lock_guard<std::mutex> lock(mMutex);
        mPaths.push_back(path);
        return static_cast<int>(mPaths.size()) - 1;
    }
    ssize_t Read(int, void* buffer, std::size_t size) override {
        mListEnds = !mListEnds;
        return mListEnds ? std::snprintf(static_cast<char*>(buffer), size, "1239000 2487000\n") : 0;
    }
    ssize_t Write(int fd, const void* data, std::size_t size) override {
        const std::lock_guard<std::mutex> lock(mMutex);
        std::printf("%s <- %.*s\n", mPaths[static_cast<std::size_t>(fd)].c_str(),
                    static_cast<int>(size), static_cast<const char*>(data));
        return static_cast<ssize_t>(size);
    }
    int Close(int) override { return 0; }
    int Ioctl(int, unsigned long, void*) override { return 0; }

    std::mutex mMutex;
    std::vector<std::string> mPaths;  // guarded by mMutex; a descriptor is an index
    bool mListEnds = false;           // lists are read during set-up, by one thread
};

int main() {
    PrintingDevice device;
    SetNodeIo(&device);

    PerfDefaultConfig config;
    config.qosConfigMap.emplace(PERF_QOS_CPU_B, GetPerfQosConfigMap().at(PERF_QOS_CPU_B));
    ConfigManager engine;
    unsigned long handle = 0;
    if (engine.Init(config, {}, {}, {}) != 0 ||
        engine.PerfRequest(1001, 100, {{PERF_QOS_CPU_B, {{0, {{PERF_OPERATION_BOOST, 2000000}}}}}},
                           handle) != 0) {
        return 1;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(200));
}
