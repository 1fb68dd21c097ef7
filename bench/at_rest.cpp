// What an engine costs while nothing happens, told about itself:
//   corebeacon_at_rest engine|idle SECONDS | threads SECONDS COUNT
// With all QoS and an untimed request in force; with nothing in force; as an empty process with as
// many threads.
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "corebeacon/builtin_config.h"
#include "corebeacon/config_manager.h"
#include "sim/simulated_device.h"

namespace {

using namespace corebeacon;

long StatusNumber(const std::string& path, const std::string& key) {
    std::ifstream status(path);
    std::string line;
    while (std::getline(status, line)) {
        if (line.rfind(key, 0) == 0) {
            return std::atol(line.c_str() + key.size());
        }
    }
    return -1;
}

/// Of all threads but the main one.
long WakeUps() {
    long sum = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        if (task.path().filename() != std::to_string(::getpid())) {
            sum += StatusNumber(task.path().string() + "/status", "voluntary_ctxt_switches:");
        }
    }
    return sum;
}

long Threads() {
    return StatusNumber("/proc/self/status", "Threads:");
}

void ReportRest(int seconds) {
    std::this_thread::sleep_for(std::chrono::seconds(1));  // until all have fallen asleep
    const long before = WakeUps();
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    std::printf("wake_ups %ld seconds %d threads %ld\n", WakeUps() - before, seconds, Threads());
}

long ResidentKib() {
    return StatusNumber("/proc/self/status", "VmRSS:");
}

int RunEngine(int seconds, bool isIdle) {
    const std::unique_ptr<sim::SimulatedDevice> device = sim::SimulatedDevice::ForChip(0);
    device->SetRecordLimit(0);
    SetNodeIo(device.get());
    const long before = ResidentKib();
    {
        ConfigManager front;
        const auto begin = std::chrono::steady_clock::now();
        PerfDefaultConfig config;
        config.qosConfigMap = GetPerfQosConfigMap();
        const bool isReady = front.Init(config, GetConfigurableEventVec(CHIP_TYPE_COMMON),
                                        GetConfigurableScenarioVec(CHIP_TYPE_COMMON), {}) == 0;
        const std::chrono::duration<double, std::milli> took =
            std::chrono::steady_clock::now() - begin;
        std::printf("init_ms %.2f\n", took.count());
        unsigned long handle = 0;
        if (!isReady || (!isIdle && front.PerfSetScenario(1, 1, handle) != 0)) {
            return 1;
        }
        ReportRest(seconds);
        std::printf("resident_kib %ld growth_kib %ld\n", ResidentKib(), ResidentKib() - before);
    }
    SetNodeIo(nullptr);
    return 0;
}

/// As many threads as an engine has, each asleep on a condition variable.
int RunThreads(int seconds, int count) {
    const long before = ResidentKib();
    std::mutex mutex;
    std::condition_variable cond;
    bool stop = false;
    std::vector<std::thread> threads;
    for (int i = 0; i < count; ++i) {
        threads.emplace_back([&] {
            std::unique_lock<std::mutex> lock(mutex);
            cond.wait(lock, [&] { return stop; });
        });
    }
    ReportRest(seconds);
    std::printf("resident_kib %ld growth_kib %ld\n", ResidentKib(), ResidentKib() - before);
    {
        const std::lock_guard<std::mutex> lock(mutex);
        stop = true;
    }
    cond.notify_all();
    for (std::thread& thread : threads) {
        thread.join();
    }
    return 0;
}

}  // namespace

int main(int count, char** arguments) {
    const std::string_view kind = count >= 3 ? arguments[1] : "";
    if (kind == "engine" || kind == "idle") {
        return RunEngine(std::atoi(arguments[2]), kind == "idle");
    }
    if (count >= 4 && kind == "threads") {
        return RunThreads(std::atoi(arguments[2]), std::atoi(arguments[3]));
    }
    std::fputs("usage: corebeacon_at_rest engine|idle SECONDS | threads SECONDS COUNT\n", stderr);
    return 2;
}
