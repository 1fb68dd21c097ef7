// What a pair of start and release costs with very many requests in force, against the same with
// ten. CPU time of the whole process, since most of it is the worker's.
#include <functional>
#include <sstream>

#include "bench_engine.h"
#include "cases.h"
#include "sampling.h"
#include "support/manual_clock.h"

namespace corebeacon::bench {

namespace {

constexpr double kGoal = 1.5;
constexpr int kSmallCrowd = 10;
constexpr int kPairsPerTurn = 50;
constexpr int kTurns = 20;
constexpr int kPids = 1000;

/// How a crowd member is put in force, and what a pair is then.
struct Shape {
    std::function<void(Engine&, int number)> addOne;
    std::function<void(Engine&)> pair;
};

void Pair(Engine& engine, unsigned int duration, int value) {
    engine.Release(kPid, engine.Request(kPid, duration, BoostOf(value)));
}

double CpuOfPairs(Engine& engine, const Shape& shape, int pairs) {
    const double before = ProcessCpu();
    for (int i = 0; i < pairs; ++i) {
        shape.pair(engine);
    }
    engine.Settle();
    return (ProcessCpu() - before) / pairs;
}

void AddCrowd(Engine& engine, const Shape& shape, int size) {
    for (int i = 0; i < size; ++i) {
        shape.addOne(engine, i);
    }
    engine.Settle();
}

void Growth(benchmark::State& state, const Shape& shape) {
    TmpfsDevice device;
    Engine few(device);
    Engine many(device);
    AddCrowd(few, shape, kSmallCrowd);
    AddCrowd(many, shape, TheRunSize().crowd);
    CpuOfPairs(few, shape, kPairsPerTurn);
    CpuOfPairs(many, shape, kPairsPerTurn);
    Series ofFew;
    Series ofMany;
    for (int turn = 0; turn < kTurns; ++turn) {
        ofFew.push_back(CpuOfPairs(few, shape, kPairsPerTurn));
        ofMany.push_back(CpuOfPairs(many, shape, kPairsPerTurn));
    }
    ReportRatio(state, "pair", Median(ofMany), Median(ofFew), kGoal);
}

Shape RequestShape(unsigned int duration, bool isEqual, int pids, bool isTop) {
    return {[=](Engine& engine, int number) {
                engine.Request(kCrowdPid + number % pids, duration,
                               BoostOf(isEqual ? kCrowdBoost : kCrowdBoost - number));
            },
            [=](Engine& engine) { Pair(engine, duration, isTop ? kTopBoost : kCrowdBoost); }};
}

template <unsigned int duration, bool isEqual, int pids, bool isTop>
void Requests(benchmark::State& state) {
    Growth(state, RequestShape(duration, isEqual, pids, isTop));
}

void Waiting(benchmark::State& state) {
    Growth(state,
           {[](Engine& engine, int) { Require(engine.Front().StartEvent(kCrowdEvent, 0) == 0); },
            [](Engine& engine) {
                Require(engine.Front().StartEvent(kWaitingEvent, 0) == 0);
                engine.Front().StopEvent(kWaitingEvent);
            }});
}

/// All ask for the mode that is in force, so that nothing is sent to the workers.
void WorkModes(benchmark::State& state) {
    const auto set = [](Engine& engine, int pid) {
        unsigned long handle = 0;
        Require(engine.Front().PerfSetMode(pid, PERF_WORK_MODE_1, handle) == 0);
        return handle;
    };
    Growth(state, {[set](Engine& engine, int) { set(engine, kCrowdPid); },
                   [set](Engine& engine) { engine.Release(kPid, set(engine, kPid)); }});
}

/// CPU time per item of `act` on an engine in which `size` equal requests are in force.
double CpuPerItem(int size, unsigned int duration, const std::function<void(Engine&)>& act) {
    constexpr int kRoundsOfFew = 50;
    TmpfsDevice device;
    Engine engine(device);
    Series series;
    for (int round = size <= kSmallCrowd ? kRoundsOfFew : 1; round > 0; --round) {
        for (int i = 0; i < size; ++i) {
            engine.Request(kCrowdPid, duration, BoostOf(kCrowdBoost));
        }
        engine.Settle();
        const double before = ProcessCpu();
        act(engine);
        series.push_back((ProcessCpu() - before) / size);
        Require(engine.Front().PerfReleaseAll(kCrowdPid) == 0);
        engine.Settle();
    }
    return Median(series);
}

void ReportPerItem(benchmark::State& state, unsigned int duration,
                   const std::function<void(Engine&)>& act) {
    const double ofFew = CpuPerItem(kSmallCrowd, duration, act);
    ReportRatio(state, "per_item", CpuPerItem(TheRunSize().crowd, duration, act), ofFew, kGoal);
}

/// The end of all at one instant, in the worker and in the handle table.
void ExpiryOfAll(benchmark::State& state) {
    test::ManualClock clock;
    ReportPerItem(state, kMaxDurationMs, [&clock](Engine& engine) {
        clock.Advance(std::chrono::milliseconds(kMaxDurationMs));
        engine.Settle();
        engine.Release(kPid, 0);
    });
}

void ReleaseOfAll(benchmark::State& state) {
    ReportPerItem(state, kUntimed, [](Engine& engine) {
        Require(engine.Front().PerfReleaseAll(kCrowdPid) == 0);
        engine.Settle();
    });
}

void Dump(benchmark::State& state) {
    ReportPerItem(state, kUntimed, [](Engine& engine) {
        std::ostringstream text;
        Require(engine.Front().TaskDump(false, text) == 0);
    });
}

}  // namespace

void AddGrowth() {
    AddCase("growth.different.long_term", Requests<kUntimed, false, 1, true>);
    AddCase("growth.different.short_term", Requests<kMaxDurationMs, false, 1, true>);
    AddCase("growth.equal.long_term", Requests<kUntimed, true, 1, false>);
    AddCase("growth.equal.short_term", Requests<kMaxDurationMs, true, 1, false>);
    AddCase("growth.1000_pids.long_term", Requests<kUntimed, false, kPids, true>);
    AddCase("growth.1000_pids.short_term", Requests<kMaxDurationMs, false, kPids, true>);
    AddCase("growth.waiting", Waiting);
    AddCase("growth.work_modes", WorkModes);
    AddCase("growth.expiry_at_one_instant", ExpiryOfAll);
    AddCase("growth.release_all", ReleaseOfAll);
    AddCase("growth.dump", Dump);
}

}  // namespace corebeacon::bench
