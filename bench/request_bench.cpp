// What one request costs, beside the bare floor: the same hand-over to a worker and the same writes
// without an engine. The engine's line and the floor's stand next to each other; their quotient is
// what arbitration costs.
#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "bare_worker.h"
#include "corebeacon/builtin_config.h"
#include "corebeacon/config_manager.h"
#include "counting_device.h"

namespace corebeacon::bench {
namespace {

constexpr int kPid = 1001;
constexpr int kOthersPid = 1002;
/// A frequency group writes its ceiling, its floor and its ceiling again.
constexpr std::uint64_t kWritesPerChange = 3;
/// Above what all others ask for, so that every start and every release changes the final value.
constexpr int kTopBoost = 2400000;
constexpr int kOthersGreatestBoost = 2300000;

std::vector<PerfRequestInfo> BoostOf(int value) {
    return {{PERF_QOS_CPU_B, {{0, {{PERF_OPERATION_BOOST, value}}}}}};
}

/// An engine with the one resource that the cases use.
class Engine {
public:
    Engine() : mManager({512, 200000, 400000, 0}) {
        SetNodeIo(&mDevice);
        PerfDefaultConfig config;
        config.qosConfigMap.emplace(PERF_QOS_CPU_B, GetPerfQosConfigMap().at(PERF_QOS_CPU_B));
        Require(mManager.Init(config, {}, {}, {}) == 0);
    }
    ~Engine() { SetNodeIo(nullptr); }
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    const CountingDevice& Device() const { return mDevice; }

    unsigned long Request(int pid, const std::vector<PerfRequestInfo>& request) {
        unsigned long handle = 0;
        Require(mManager.PerfRequest(pid, 0, request, handle) == 0);
        return handle;
    }

    void Release(int pid, unsigned long handle) { Require(mManager.PerfRelease(pid, handle) == 0); }

    /// Puts `count` standing boosts in force, the greatest first, and returns when the worker has
    /// filed them all: only the first of them changes the final value, so writes can be counted.
    void AddOthers(std::int64_t count) {
        const std::uint64_t before = mDevice.Writes();
        for (std::int64_t i = 0; i < count; ++i) {
            Request(kOthersPid, BoostOf(kOthersGreatestBoost - static_cast<int>(i)));
        }
        const unsigned long last = Request(kPid, BoostOf(kTopBoost));
        Release(kPid, last);
        mDevice.AwaitWrites(before + 3 * kWritesPerChange);
    }

private:
    static void Require(bool done) {
        if (!done) {
            std::fputs("the engine refused what the benchmark needs\n", stderr);
            std::abort();
        }
    }

    CountingDevice mDevice;
    ConfigManager mManager;
};

double SecondsSince(std::chrono::steady_clock::time_point begin) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

void RequestReturnsEngine(benchmark::State& state) {
    Engine engine;
    const std::vector<PerfRequestInfo> request = BoostOf(kTopBoost);
    for (auto _ : state) {
        const std::uint64_t before = engine.Device().Writes();
        const auto begin = std::chrono::steady_clock::now();
        const unsigned long handle = engine.Request(kPid, request);
        state.SetIterationTime(SecondsSince(begin));
        engine.Release(kPid, handle);
        engine.Device().AwaitWrites(before + 2 * kWritesPerChange);
    }
}

void RequestReturnsFloor(benchmark::State& state) {
    CountingDevice device;
    BareWorker worker(device);
    for (auto _ : state) {
        const std::uint64_t before = device.Writes();
        const auto begin = std::chrono::steady_clock::now();
        worker.Push(kTopBoost);
        state.SetIterationTime(SecondsSince(begin));
        worker.Push(kOthersGreatestBoost);
        device.AwaitWrites(before + 2 * kWritesPerChange);
    }
}

void RequestToLastWriteEngine(benchmark::State& state) {
    Engine engine;
    const std::vector<PerfRequestInfo> request = BoostOf(kTopBoost);
    for (auto _ : state) {
        const std::uint64_t before = engine.Device().Writes();
        const auto begin = std::chrono::steady_clock::now();
        const unsigned long handle = engine.Request(kPid, request);
        engine.Device().AwaitWrites(before + kWritesPerChange);
        state.SetIterationTime(SecondsSince(begin));
        engine.Release(kPid, handle);
        engine.Device().AwaitWrites(before + 2 * kWritesPerChange);
    }
}

void RequestToLastWriteFloor(benchmark::State& state) {
    CountingDevice device;
    BareWorker worker(device);
    for (auto _ : state) {
        const std::uint64_t before = device.Writes();
        const auto begin = std::chrono::steady_clock::now();
        worker.Push(kTopBoost);
        device.AwaitWrites(before + kWritesPerChange);
        state.SetIterationTime(SecondsSince(begin));
    }
}

void StartAndReleaseEngine(benchmark::State& state) {
    Engine engine;
    engine.AddOthers(state.range(0));
    const std::vector<PerfRequestInfo> request = BoostOf(kTopBoost);
    for (auto _ : state) {
        const std::uint64_t before = engine.Device().Writes();
        const unsigned long handle = engine.Request(kPid, request);
        engine.Release(kPid, handle);
        engine.Device().AwaitWrites(before + 2 * kWritesPerChange);
    }
}

void StartAndReleaseFloor(benchmark::State& state) {
    CountingDevice device;
    BareWorker worker(device);
    for (auto _ : state) {
        const std::uint64_t before = device.Writes();
        worker.Push(kTopBoost);
        worker.Push(kOthersGreatestBoost);
        device.AwaitWrites(before + 2 * kWritesPerChange);
    }
}

BENCHMARK(RequestReturnsEngine)->Name("request_returns/engine")->UseManualTime();
BENCHMARK(RequestReturnsFloor)->Name("request_returns/floor")->UseManualTime();
BENCHMARK(RequestToLastWriteEngine)->Name("request_to_last_write/engine")->UseManualTime();
BENCHMARK(RequestToLastWriteFloor)->Name("request_to_last_write/floor")->UseManualTime();
BENCHMARK(StartAndReleaseEngine)
    ->Name("start_and_release/engine/others")
    ->Arg(10)
    ->Arg(1000)
    ->Arg(100000)
    ->UseRealTime();
BENCHMARK(StartAndReleaseFloor)->Name("start_and_release/floor")->UseRealTime();

}  // namespace
}  // namespace corebeacon::bench
