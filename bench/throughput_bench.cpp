// Pairs of start and release per second from several callers, until the last of their writes is
// done, against bare workers that are handed as many changes and make as many writes.
#include <memory>
#include <thread>

#include "bare_worker.h"
#include "bench_engine.h"
#include "cases.h"
#include "sampling.h"

namespace corebeacon::bench {

namespace {

constexpr double kGoal = 0.7;
constexpr std::size_t kResources = 4;

struct FrequencyQos {
    PerfQosId qosId;
    int boost;
};
constexpr FrequencyQos kFrequencyQos[kResources] = {{PERF_QOS_CPU_B, kTopBoost},
                                                    {PERF_QOS_CPU_M, 2100000},
                                                    {PERF_QOS_GPU, 700000000},
                                                    {PERF_QOS_L3C, 1300000000}};

struct Cost {
    double wall = 0;
    double cpu = 0;
};

/// Runs `work(caller)` on as many threads and then waits for what it caused.
template <typename Work, typename Await>
Cost RunCallers(std::size_t callers, Work work, Await await) {
    const Nanoseconds begin = Now();
    const double cpu = ProcessCpu();
    std::vector<std::thread> threads;
    for (std::size_t caller = 0; caller < callers; ++caller) {
        threads.emplace_back(work, caller);
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    await();
    return {static_cast<double>((Now() - begin).count()), ProcessCpu() - cpu};
}

Cost RunEngine(Engine& engine, std::size_t callers, std::size_t resources, int pairs) {
    return RunCallers(
        callers,
        [&](std::size_t caller) {
            const FrequencyQos& qos = kFrequencyQos[caller % resources];
            const std::vector<PerfRequestInfo> request = BoostOf(qos.boost, qos.qosId);
            const int pid = kPid + static_cast<int>(caller);
            for (int i = 0; i < pairs; ++i) {
                engine.Release(pid, engine.Request(pid, kUntimed, request));
            }
        },
        [&] {
            std::ostringstream ignored;
            engine.Front().TaskDump(true, ignored);
        });
}

/// Of the changes that are handed over only some are written: as many writes as the engine made.
Cost RunFloor(std::vector<std::unique_ptr<BareWorker>>& workers, TmpfsDevice& device,
              std::size_t callers, std::size_t resources, int pairs, std::uint64_t writes) {
    static constexpr BareChange kWritten{kTopBoost};
    static constexpr BareChange kSilent{kTopBoost, 0};
    const std::uint64_t all = 2 * callers * static_cast<std::uint64_t>(pairs);
    const std::uint64_t written = writes / kWritesPerChange;
    const std::uint64_t before = device.Writes();
    std::atomic<std::uint64_t> next{0};
    return RunCallers(
        callers,
        [&](std::size_t caller) {
            BareWorker& worker = *workers[caller % resources];
            for (int i = 0; i < 2 * pairs; ++i) {
                const std::uint64_t at = next.fetch_add(1, std::memory_order_relaxed);
                const bool isWritten = at * written / all != (at + 1) * written / all;
                worker.Push(isWritten ? kWritten : kSilent);
            }
        },
        [&] { device.AwaitWrites(before + written * kWritesPerChange); });
}

void Throughput(benchmark::State& state, std::size_t callers, std::size_t resources) {
    constexpr int kTurns = 5;
    TmpfsDevice engineDevice;
    Engine engine(engineDevice);
    TmpfsDevice floorDevice;
    std::vector<std::unique_ptr<BareWorker>> workers;
    PlaceWorkers();
    for (std::size_t at = 0; at < kResources; ++at) {
        workers.push_back(std::make_unique<BareWorker>(floorDevice, "floor" + std::to_string(at)));
    }
    PlaceCaller();
    const int pairs = TheRunSize().pairs / static_cast<int>(callers);
    Cost engineCost;
    Cost floorCost;
    for (int turn = 0; turn < kTurns; ++turn) {
        const std::uint64_t before = engineDevice.Writes();
        const Cost ofEngine = RunEngine(engine, callers, resources, pairs);
        const Cost ofFloor = RunFloor(workers, floorDevice, callers, resources, pairs,
                                      engineDevice.Writes() - before);
        engineCost.wall += ofEngine.wall;
        engineCost.cpu += ofEngine.cpu;
        floorCost.wall += ofFloor.wall;
        floorCost.cpu += ofFloor.cpu;
    }
    const double count = static_cast<double>(kTurns * pairs) * static_cast<double>(callers);
    constexpr double kNanosecondsPerSecond = 1e9;
    ReportValue(state, "pairs_per_second", count / engineCost.wall * kNanosecondsPerSecond,
                kNoGoal);
    ReportValue(state, "rate", floorCost.wall / engineCost.wall, kGoal);
    ReportValue(state, "rate_by_cpu_time", floorCost.cpu / engineCost.cpu, kGoal);
}

template <std::size_t callers, std::size_t resources>
void ThroughputOf(benchmark::State& state) {
    Throughput(state, callers, resources);
}

}  // namespace

void AddThroughput() {
    AddCase("throughput.1_caller", ThroughputOf<1, 1>);
    AddCase("throughput.4_callers.one_resource", ThroughputOf<4, 1>);
    AddCase("throughput.4_callers.four_resources", ThroughputOf<4, kResources>);
    AddCase("throughput.16_callers.one_resource", ThroughputOf<16, 1>);
    AddCase("throughput.16_callers.four_resources", ThroughputOf<16, kResources>);
}

}  // namespace corebeacon::bench
