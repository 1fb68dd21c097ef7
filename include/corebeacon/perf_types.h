/// The vocabulary that callers, configuration and engine share: ids, operations, modes and the
/// records of a request. Plain values without an owner; any thread may copy them.
#pragma once

#include <chrono>
#include <cstdint>
#include <utility>
#include <vector>

namespace corebeacon {

/// Names one quality of service, that is, one resource of the engine. Values without an enumerator
/// are legal: a host may describe further QoS of its own below PERF_QOS_INVALID.
enum PerfQosId : std::uint32_t {
    PERF_QOS_CPU_L = 0,
    PERF_QOS_CPU_M = 1,
    PERF_QOS_CPU_B = 2,
    PERF_QOS_GPU = 3,
    PERF_QOS_DDR = 4,
    PERF_QOS_L3C = 5,
    PERF_QOS_IPA_POWER = 6,
    PERF_QOS_IPA_SWITCH_TEMP = 7,
    PERF_QOS_CPU_BOOST = 8,
    PERF_QOS_EAS = 9,
    PERF_QOS_LATENCY_CPU = 10,
    PERF_QOS_LATENCY_GPU = 11,
    PERF_QOS_LATENCY_DDR = 12,
    PERF_QOS_MEMLAT_TARGET_RATIO_CPU_L = 14,
    PERF_QOS_MEMLAT_TARGET_RATIO_CPU_M = 15,
    PERF_QOS_MEMLAT_TARGET_RATIO_CPU_B = 16,
    PERF_QOS_GOVERNOR_LOAD_CPU_L = 20,
    PERF_QOS_GOVERNOR_LOAD_CPU_M = 21,
    PERF_QOS_GOVERNOR_LOAD_CPU_B = 22,
    PERF_QOS_GOVERNOR_LOAD_GPU = 23,
    PERF_QOS_GOVERNOR_DELAY_UP_CPU_L = 24,
    PERF_QOS_GOVERNOR_DELAY_UP_CPU_M = 25,
    PERF_QOS_GOVERNOR_DELAY_UP_CPU_B = 26,
    PERF_QOS_GOVERNOR_DELAY_DOWN_CPU_L = 28,
    PERF_QOS_GOVERNOR_DELAY_DOWN_CPU_M = 29,
    PERF_QOS_GOVERNOR_DELAY_DOWN_CPU_B = 30,
    PERF_QOS_GOVERNOR_FAST_RAMP_UP_CPU_L = 32,
    PERF_QOS_GOVERNOR_FAST_RAMP_UP_CPU_M = 33,
    PERF_QOS_GOVERNOR_FAST_RAMP_UP_CPU_B = 34,
    PERF_QOS_GOVERNOR_FAST_RAMP_DOWN_CPU_L = 35,
    PERF_QOS_GOVERNOR_FAST_RAMP_DOWN_CPU_M = 36,
    PERF_QOS_GOVERNOR_FAST_RAMP_DOWN_CPU_B = 37,
    PERF_QOS_GOVERNOR_TOP_TASK_STATS_POLICY_CPU_L = 38,
    PERF_QOS_GOVERNOR_TOP_TASK_STATS_POLICY_CPU_M = 39,
    PERF_QOS_GOVERNOR_TOP_TASK_STATS_POLICY_CPU_B = 40,
    PERF_QOS_ISOLATION_MIN_CPUS_B = 43,
    PERF_QOS_EAS_BASE =
        45,  ///< base-value request of PERF_QOS_EAS; the front folds it onto that id
    PERF_QOS_CPU_IDLE_LP_MODE = 47,
    PERF_QOS_FREQ_REPORTING_POLICY_CPU_M = 49,
    PERF_QOS_FREQ_REPORTING_POLICY_CPU_B = 50,
    PERF_QOS_GOVERNOR_TOP_TASK_STATS_EMPTY_WINDOW_CPU_L = 52,
    PERF_QOS_GOVERNOR_TOP_TASK_STATS_EMPTY_WINDOW_CPU_M = 53,
    PERF_QOS_GOVERNOR_TOP_TASK_STATS_EMPTY_WINDOW_CPU_B = 54,
    PERF_QOS_VIDEO_ENCODE_FREQ = 56,
    PERF_QOS_CPU_IOWAIT_BOOST = 60,
    PERF_QOS_CPU_ED_TASK = 61,
    PERF_QOS_CPU_INIT_TASK_LOAD = 62,
    PERF_QOS_NPU_SC_PRIO = 72,
    PERF_QOS_ONSYS_AVS_CTRL_LEVEL = 74,
    PERF_QOS_IPA_SOC_CONTROL_TEMP = 98,
    PERF_QOS_CAPACITY_MARGIN = 100,
    PERF_QOS_THERMAL_THRESHOLD_UP = 104,
    PERF_QOS_INVALID = 105,  ///< one past the last id; "no QoS" in error reports
};

/// What a value does to a group. The fixed underlying type lets larger values arrive and be
/// refused.
enum PerfOperationType : std::uint32_t {
    PERF_OPERATION_BOOST = 0,  ///< a floor: the final value reaches at least this
    PERF_OPERATION_LIMIT = 1,  ///< a ceiling: the final value stays at or below this
};

/// The system-wide rule by which a floor above a ceiling is settled.
enum PerfWorkMode : std::uint32_t {
    PERF_WORK_MODE_0 = 0,  ///< limits win over standing floors, timed boosts escape them
    PERF_WORK_MODE_1 = 1,  ///< boosts win
    PERF_WORK_MODE_2 = 2,  ///< limits win always
};
inline constexpr std::uint32_t kWorkModeCount = 3;

using PerfScenarioId = std::uint32_t;
using PerfEventId = std::uint32_t;

/// Times inside the engine: steady clock, nanoseconds. The epoch (0) means "no time".
using TimePoint = std::chrono::time_point<std::chrono::steady_clock, std::chrono::nanoseconds>;

/// One group's part of a caller's request.
struct GroupInfo {
    unsigned int groupId = 0;
    std::vector<std::pair<PerfOperationType, int>> values;
};

/// One element of a caller's request: what is asked of one QoS.
struct PerfRequestInfo {
    PerfQosId qosId = PERF_QOS_INVALID;
    std::vector<GroupInfo> groups;
};

}  // namespace corebeacon
