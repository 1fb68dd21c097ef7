// The scenarios: bundles of levels that stand until they are released.

#include <initializer_list>
#include <utility>

#include "corebeacon/builtin_config.h"

namespace corebeacon {

namespace {

// The numbers that debug options and callers use; those between are free for hosts.
constexpr PerfScenarioId kGame = 0;
constexpr PerfScenarioId kBenchmark = 1;
constexpr PerfScenarioId kPowerSaving = 5;

// A knob of chip variant 2 without an entry in the built-in table; it takes effect where a host
// describes it.
constexpr PerfQosId kVariant2TaskKnob = static_cast<PerfQosId>(63);

// The EAS groups that a scenario moves: the app on the screen, and the threads it depends on.
constexpr unsigned int kEasTopApp = 0;
constexpr unsigned int kEasVip = 7;

struct Setting {
    PerfQosId qosId;
    int value;  // a level; Hz for L3C, mW for IPA power, an operating point for the video encoder
};

// Collects requests that all ask for the same operation.
class Bundle {
public:
    explicit Bundle(PerfOperationType operation) : mOperation(operation) {}

    void Add(std::initializer_list<Setting> settings) {
        for (const Setting& setting : settings) {
            mRequests.push_back({setting.qosId, {{0, {{mOperation, setting.value}}}}});
        }
    }

    void AddEas(int level) {
        mRequests.push_back(
            {PERF_QOS_EAS,
             {{kEasTopApp, {{mOperation, level}}}, {kEasVip, {{mOperation, level}}}}});
    }

    std::vector<PerfRequestInfo> Take() { return std::move(mRequests); }

private:
    PerfOperationType mOperation;
    std::vector<PerfRequestInfo> mRequests;
};

// Long, even load: early ramps, nothing throttled, voltage margin kept.
ConfigurableScenario Game(bool isVariant2) {
    Bundle bundle(PERF_OPERATION_BOOST);
    if (isVariant2) {
        bundle.AddEas(30);
    }
    bundle.Add({
        {PERF_QOS_GOVERNOR_LOAD_CPU_M, 120},
        {PERF_QOS_GOVERNOR_FAST_RAMP_UP_CPU_M, 110},
        {PERF_QOS_GOVERNOR_FAST_RAMP_DOWN_CPU_M, 110},
        {PERF_QOS_GOVERNOR_DELAY_DOWN_CPU_M, 110},
        {PERF_QOS_GOVERNOR_TOP_TASK_STATS_POLICY_CPU_M, 120},
        {PERF_QOS_GOVERNOR_TOP_TASK_STATS_EMPTY_WINDOW_CPU_M, 110},
        {PERF_QOS_GOVERNOR_LOAD_CPU_B, 110},
        {PERF_QOS_GOVERNOR_FAST_RAMP_UP_CPU_B, 110},
        {PERF_QOS_GOVERNOR_FAST_RAMP_DOWN_CPU_B, 110},
        {PERF_QOS_GOVERNOR_DELAY_DOWN_CPU_B, 110},
        {PERF_QOS_GOVERNOR_TOP_TASK_STATS_POLICY_CPU_B, 120},
        {PERF_QOS_GOVERNOR_TOP_TASK_STATS_EMPTY_WINDOW_CPU_B, 110},
        {PERF_QOS_CPU_ED_TASK, 110},
        {PERF_QOS_CPU_INIT_TASK_LOAD, 110},
        {PERF_QOS_FREQ_REPORTING_POLICY_CPU_M, 110},
        {PERF_QOS_FREQ_REPORTING_POLICY_CPU_B, 110},
    });
    if (isVariant2) {
        bundle.Add({{kVariant2TaskKnob, 110}});
    }
    bundle.Add({
        {PERF_QOS_LATENCY_DDR, 120},
        {PERF_QOS_GOVERNOR_LOAD_GPU, 110},
        {PERF_QOS_IPA_POWER, 10000},
        {PERF_QOS_VIDEO_ENCODE_FREQ, 3},
        {PERF_QOS_ONSYS_AVS_CTRL_LEVEL, 110},
    });
    return {kGame, bundle.Take()};
}

// Everything at hand, at once.
ConfigurableScenario Benchmark(bool isVariant2) {
    Bundle bundle(PERF_OPERATION_BOOST);
    bundle.Add({
        {PERF_QOS_LATENCY_CPU, 110},
        {PERF_QOS_LATENCY_GPU, 110},
        {PERF_QOS_LATENCY_DDR, 120},
    });
    if (isVariant2) {
        bundle.AddEas(40);
    }
    bundle.Add({
        {PERF_QOS_GOVERNOR_DELAY_DOWN_CPU_L, 110},
        {PERF_QOS_GOVERNOR_FAST_RAMP_DOWN_CPU_L, 110},
        {PERF_QOS_GOVERNOR_LOAD_CPU_L, 120},
        {PERF_QOS_GOVERNOR_LOAD_CPU_M, 130},
        {PERF_QOS_GOVERNOR_DELAY_DOWN_CPU_M, 110},
        {PERF_QOS_GOVERNOR_FAST_RAMP_UP_CPU_M, 110},
        {PERF_QOS_GOVERNOR_FAST_RAMP_DOWN_CPU_M, 110},
        {PERF_QOS_GOVERNOR_TOP_TASK_STATS_POLICY_CPU_M, 120},
        {PERF_QOS_GOVERNOR_LOAD_CPU_B, 130},
        {PERF_QOS_GOVERNOR_DELAY_DOWN_CPU_B, 110},
        {PERF_QOS_GOVERNOR_FAST_RAMP_UP_CPU_B, 110},
        {PERF_QOS_GOVERNOR_FAST_RAMP_DOWN_CPU_B, 110},
        {PERF_QOS_ISOLATION_MIN_CPUS_B, 110},
        {PERF_QOS_GOVERNOR_TOP_TASK_STATS_POLICY_CPU_B, 120},
        {PERF_QOS_L3C, isVariant2 ? 1149000000 : 1152000000},
        {PERF_QOS_ONSYS_AVS_CTRL_LEVEL, 110},
    });
    return {kBenchmark, bundle.Take()};
}

// Ceilings only, so that boosts of others still end at something sensible.
ConfigurableScenario PowerSaving() {
    Bundle bundle(PERF_OPERATION_LIMIT);
    bundle.Add({
        {PERF_QOS_GOVERNOR_DELAY_UP_CPU_L, 90},
        {PERF_QOS_GOVERNOR_LOAD_CPU_L, 90},
        {PERF_QOS_GOVERNOR_DELAY_DOWN_CPU_L, 90},
        {PERF_QOS_GOVERNOR_TOP_TASK_STATS_POLICY_CPU_L, 110},
        {PERF_QOS_GOVERNOR_LOAD_CPU_M, 90},
        {PERF_QOS_GOVERNOR_DELAY_UP_CPU_M, 90},
        {PERF_QOS_GOVERNOR_TOP_TASK_STATS_POLICY_CPU_M, 100},
        {PERF_QOS_GOVERNOR_LOAD_CPU_B, 90},
        {PERF_QOS_GOVERNOR_DELAY_UP_CPU_B, 90},
        {PERF_QOS_GOVERNOR_TOP_TASK_STATS_POLICY_CPU_B, 100},
        {PERF_QOS_GOVERNOR_TOP_TASK_STATS_EMPTY_WINDOW_CPU_L, 100},
    });
    return {kPowerSaving, bundle.Take()};
}

std::vector<ConfigurableScenario> BuildScenarios(bool isVariant2) {
    return {Game(isVariant2), Benchmark(isVariant2), PowerSaving()};
}

}  // namespace

std::vector<ConfigurableScenario> GetConfigurableScenarioVec(ChipTypeAvailableValue chipType) {
    static const std::vector<ConfigurableScenario> common = BuildScenarios(false);
    static const std::vector<ConfigurableScenario> variant2 = BuildScenarios(true);
    return chipType == CHIP_TYPE_VARIANT_2 ? variant2 : common;
}

}  // namespace corebeacon
