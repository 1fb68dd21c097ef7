// A caller never waits for a kernel write: the same calls with a node whose write takes 1 ms.
#include "bench_engine.h"
#include "cases.h"
#include "sampling.h"

namespace corebeacon::bench {

namespace {

constexpr double kGoal = 1.2;
constexpr int kSlowPairsInAGo = 10;

struct TwoNodes {
    CallSeries slow;   // CPU_B, whose nodes are slow on the slow device
    CallSeries other;  // GPU, whose nodes never are
};

/// Ten pairs in a row, so that most of them meet a worker in the middle of a slow write.
void Sample(Engine& engine, TwoNodes& series) {
    const std::vector<PerfRequestInfo> slow = BoostOf(kTopBoost);
    const std::vector<PerfRequestInfo> other = BoostOf(700000000, PERF_QOS_GPU);
    for (int i = 0; i < kSlowPairsInAGo; ++i) {
        unsigned long handle = 0;
        SampleCall(series.slow, engine.Device(), 0,
                   [&] { handle = engine.Request(kPid, kUntimed, slow); });
        engine.Release(kPid, handle);
        SampleCall(series.other, engine.Device(), 0,
                   [&] { handle = engine.Request(kPid, kUntimed, other); });
        engine.Release(kPid, handle);
    }
    engine.Settle();
}

void SlowNode(benchmark::State& state) {
    TwoNodes onFast;
    TwoNodes onSlow;
    for (int i = 0; i < TheRunSize().calls; i += 5 * kSlowPairsInAGo) {
        {
            TmpfsDevice device;
            Engine engine(device);
            Sample(engine, onFast);
        }
        {
            TmpfsDevice device("policy2");
            Engine engine(device);
            Sample(engine, onSlow);
        }
    }
    ReportRatios(state, "slow_node.cpu", onSlow.slow.cpu, onFast.slow.cpu, kGoal, kGoal);
    ReportRatios(state, "slow_node.wall", onSlow.slow.wall, onFast.slow.wall, kGoal, kGoal);
    ReportRatios(state, "other_node.cpu", onSlow.other.cpu, onFast.other.cpu, kGoal, kGoal);
    ReportRatios(state, "other_node.wall", onSlow.other.wall, onFast.other.wall, kGoal, kGoal);
}

}  // namespace

void AddSlowNode() {
    AddCase("slow_write", SlowNode);
}

}  // namespace corebeacon::bench
