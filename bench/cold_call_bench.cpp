// One QoS, one call at a time: what the caller pays with the worker asleep or busy, and when the
// last node is written.
#include "bare_worker.h"
#include "bench_engine.h"
#include "cases.h"
#include "sampling.h"

namespace corebeacon::bench {

namespace {

constexpr double kCallerGoal = 1.5;
constexpr double kToLastWriteGoal = 1.3;
constexpr double kBusyGoalMicroseconds = 0.6;
constexpr double kNanosecondsPerMicrosecond = 1e3;

struct PairSeries {
    CallSeries start;
    CallSeries release;
};

void WorkerAsleep(benchmark::State& state, unsigned int duration) {
    TmpfsDevice engineDevice;
    Engine engine(engineDevice);
    TmpfsDevice floorDevice;
    PlaceWorkers();
    BareWorker worker(floorDevice, "floor");
    PlaceCaller();
    const std::vector<PerfRequestInfo> request = BoostOf(kTopBoost);
    const BareChange up{kTopBoost};
    const BareChange down{kCrowdBoost};
    PairSeries engineSeries;
    PairSeries floorSeries;
    for (int i = 0; i < TheRunSize().calls; ++i) {
        unsigned long handle = 0;
        SampleCall(engineSeries.start, engineDevice, kWritesPerChange,
                   [&] { handle = engine.Request(kPid, duration, request); });
        SampleCall(engineSeries.release, engineDevice, kWritesPerChange,
                   [&] { engine.Release(kPid, handle); });
        SampleCall(floorSeries.start, floorDevice, kWritesPerChange, [&] { worker.Push(up); });
        SampleCall(floorSeries.release, floorDevice, kWritesPerChange, [&] { worker.Push(down); });
    }
    ReportRatios(state, "request.cpu", engineSeries.start.cpu, floorSeries.start.cpu, kCallerGoal,
                 kNoGoal);
    ReportRatios(state, "request.wall", engineSeries.start.wall, floorSeries.start.wall, kNoGoal,
                 kNoGoal);
    ReportRatios(state, "request.to_last_write", engineSeries.start.lastWrite,
                 floorSeries.start.lastWrite, kToLastWriteGoal, kNoGoal);
    ReportRatios(state, "release.cpu", engineSeries.release.cpu, floorSeries.release.cpu,
                 kCallerGoal, kNoGoal);
    ReportRatios(state, "release.to_last_write", engineSeries.release.lastWrite,
                 floorSeries.release.lastWrite, kToLastWriteGoal, kNoGoal);
}

void WorkerAsleepUntimed(benchmark::State& state) {
    WorkerAsleep(state, kUntimed);
}

void WorkerAsleepTimed(benchmark::State& state) {
    WorkerAsleep(state, kMaxDurationMs);
}

/// CPU time of a call at a time when the worker does not have to be woken. A write that sleeps
/// keeps it busy, so that it takes no CPU time away meanwhile.
void WorkerBusy(benchmark::State& state) {
    constexpr int kCallsPerTurn = 20;
    TmpfsDevice engineDevice("policy2");
    Engine engine(engineDevice);
    TmpfsDevice floorDevice("floor");
    PlaceWorkers();
    BareWorker worker(floorDevice, "floor");
    PlaceCaller();
    const std::vector<PerfRequestInfo> request = BoostOf(kTopBoost);
    const std::vector<PerfRequestInfo> lower = BoostOf(kCrowdBoost);
    const BareChange change{kTopBoost};
    const BareChange silent{kTopBoost, 0};
    Series engineStarts;
    Series engineReleases;
    Series floorPushes;
    const auto sample = [](Series& series, auto call) {
        const double before = ThreadCpu();
        call();
        series.push_back(ThreadCpu() - before - ClockCost());
    };
    for (int turn = 0; turn < TheRunSize().calls / kCallsPerTurn + 1; ++turn) {
        const unsigned long first = engine.Request(kPid, kUntimed, request);
        RestBetweenCalls();  // the worker is now in the middle of its writes
        std::vector<unsigned long> handles(kCallsPerTurn);
        for (unsigned long& handle : handles) {
            sample(engineStarts, [&] { handle = engine.Request(kPid, kUntimed, lower); });
        }
        for (const unsigned long handle : handles) {
            sample(engineReleases, [&] { engine.Release(kPid, handle); });
        }
        engine.Settle();
        engine.Release(kPid, first);
        engine.Settle();

        const std::uint64_t before = floorDevice.Writes();
        worker.Push(change);
        RestBetweenCalls();
        for (int i = 0; i < 2 * kCallsPerTurn; ++i) {
            sample(floorPushes, [&] { worker.Push(silent); });
        }
        floorDevice.AwaitWrites(before + kWritesPerChange);
        RestBetweenCalls();
    }
    ReportValue(state, "request.us_above_floor",
                (Median(engineStarts) - Median(floorPushes)) / kNanosecondsPerMicrosecond,
                kBusyGoalMicroseconds);
    ReportValue(state, "release.us_above_floor",
                (Median(engineReleases) - Median(floorPushes)) / kNanosecondsPerMicrosecond,
                kBusyGoalMicroseconds);
}

}  // namespace

void AddColdCalls() {
    AddCase("one_qos.worker_asleep", WorkerAsleepUntimed);
    AddCase("one_qos.worker_asleep.timed", WorkerAsleepTimed);
    AddCase("one_qos.worker_busy", WorkerBusy);
}

}  // namespace corebeacon::bench
