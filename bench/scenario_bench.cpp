// The common scenario 1, which addresses 21 QoS at once, against as many bare workers. Each of them
// makes as many writes as the resource that it stands for.
#include <memory>

#include "bare_worker.h"
#include "bench_engine.h"
#include "cases.h"
#include "sampling.h"

namespace corebeacon::bench {

namespace {

constexpr unsigned int kScenario = 1;
constexpr double kGoal = 1.2;

constexpr std::size_t kQosOfScenario = 21;

/// What each worker does; those whose final value the scenario does not change write nothing.
std::vector<BareChange> ChangesOfScenario(Engine& engine) {
    engine.Device().CountByThread(true);
    unsigned long handle = 0;
    Require(engine.Front().PerfSetScenario(kPid, kScenario, handle) == 0);
    engine.Device().AwaitRest();
    engine.Device().CountByThread(false);
    engine.Release(kPid, handle);
    engine.Device().AwaitRest();
    std::vector<BareChange> changes;
    for (const auto& [thread, writes] : engine.Device().WritesByThread()) {
        changes.push_back({kTopBoost, static_cast<int>(writes)});
    }
    changes.resize(kQosOfScenario, {kTopBoost, 0});
    return changes;
}

void Scenario(benchmark::State& state) {
    TmpfsDevice engineDevice;
    Engine engine(engineDevice);
    const std::vector<BareChange> changes = ChangesOfScenario(engine);
    std::uint64_t writes = 0;
    TmpfsDevice floorDevice;
    std::vector<std::unique_ptr<BareWorker>> workers;
    PlaceWorkers();
    for (const BareChange& change : changes) {
        writes += static_cast<std::uint64_t>(change.writes);
        workers.push_back(
            std::make_unique<BareWorker>(floorDevice, "floor" + std::to_string(workers.size())));
    }
    PlaceCaller();
    CallSeries engineSeries;
    CallSeries floorSeries;
    for (int i = 0; i < TheRunSize().calls; ++i) {
        unsigned long handle = 0;
        SampleCall(engineSeries, engineDevice, writes,
                   [&] { Require(engine.Front().PerfSetScenario(kPid, kScenario, handle) == 0); });
        const std::uint64_t before = engineDevice.Writes();
        engine.Release(kPid, handle);
        RestBetweenCalls();
        engineDevice.AwaitWrites(before + writes);
        SampleCall(floorSeries, floorDevice, writes, [&] {
            for (std::size_t at = 0; at < workers.size(); ++at) {
                workers[at]->Push(changes[at]);
            }
        });
    }
    ReportRatios(state, "cpu", engineSeries.cpu, floorSeries.cpu, kGoal, kNoGoal);
    ReportRatios(state, "to_last_write", engineSeries.lastWrite, floorSeries.lastWrite, kGoal,
                 kNoGoal);
}

}  // namespace

void AddScenario() {
    AddCase("scenario", Scenario);
}

}  // namespace corebeacon::bench
