// How the governors ramp, and what they take from the statistics of the busiest task.

#include "config/builtin_qos_rows.h"

namespace corebeacon::builtin {

namespace {

constexpr LevelQos kGovernorRampTable[] = {
    // Whether a rising load skips the waiting times. On is the default; a limit may take it away.
    {
        .id = PERF_QOS_GOVERNOR_FAST_RAMP_UP_CPU_L,
        .rows = {{
            .baseLevel = 110,
            .nodes = {"/sys/devices/system/cpu/cpufreq/policy0/schedutil/fast_ramp_up"},
            .levels = {{100, {"0"}}, {110, {"1"}}},
        }},
    },
    {
        .id = PERF_QOS_GOVERNOR_FAST_RAMP_UP_CPU_M,
        .rows = {{
            .baseLevel = 110,
            .nodes = {"/sys/devices/system/cpu/cpufreq/policy1/schedutil/fast_ramp_up"},
            .levels = {{100, {"0"}}, {110, {"1"}}},
        }},
    },
    {
        .id = PERF_QOS_GOVERNOR_FAST_RAMP_UP_CPU_B,
        .rows = {{
            .baseLevel = 110,
            .nodes = {"/sys/devices/system/cpu/cpufreq/policy2/schedutil/fast_ramp_up"},
            .levels = {{100, {"0"}}, {110, {"1"}}},
        }},
    },
    // Whether a falling load skips the waiting times: the lower level drops the speed at once.
    {
        .id = PERF_QOS_GOVERNOR_FAST_RAMP_DOWN_CPU_L,
        .rows = {{
            .baseLevel = 110,
            .nodes = {"/sys/devices/system/cpu/cpufreq/policy0/schedutil/fast_ramp_down"},
            .levels = {{100, {"1"}}, {110, {"0"}}},
        }},
    },
    {
        .id = PERF_QOS_GOVERNOR_FAST_RAMP_DOWN_CPU_M,
        .rows = {{
            .baseLevel = 110,
            .nodes = {"/sys/devices/system/cpu/cpufreq/policy1/schedutil/fast_ramp_down"},
            .levels = {{100, {"1"}}, {110, {"0"}}},
        }},
    },
    {
        .id = PERF_QOS_GOVERNOR_FAST_RAMP_DOWN_CPU_B,
        .rows = {{
            .baseLevel = 110,
            .nodes = {"/sys/devices/system/cpu/cpufreq/policy2/schedutil/fast_ramp_down"},
            .levels = {{100, {"1"}}, {110, {"0"}}},
        }},
    },
    // How much of the busiest task's load counts: nothing, its average, its peak.
    {
        .id = PERF_QOS_GOVERNOR_TOP_TASK_STATS_POLICY_CPU_L,
        .rows = {{
            .baseLevel = 120,
            .nodes = {"/sys/devices/system/cpu/cpufreq/policy0/schedutil/top_task_stats_policy"},
            .levels = {{100, {"0"}}, {110, {"1"}}, {120, {"2"}}},
        }},
    },
    {
        .id = PERF_QOS_GOVERNOR_TOP_TASK_STATS_POLICY_CPU_M,
        .rows = {{
            .baseLevel = 120,
            .nodes = {"/sys/devices/system/cpu/cpufreq/policy1/schedutil/top_task_stats_policy"},
            .levels = {{100, {"0"}}, {110, {"1"}}, {120, {"2"}}},
        }},
    },
    {
        .id = PERF_QOS_GOVERNOR_TOP_TASK_STATS_POLICY_CPU_B,
        .rows = {{
            .baseLevel = 120,
            .nodes = {"/sys/devices/system/cpu/cpufreq/policy2/schedutil/top_task_stats_policy"},
            .levels = {{100, {"0"}}, {110, {"1"}}, {120, {"2"}}},
        }},
    },
    // For how many idle windows the busiest task's load is remembered.
    {
        .id = PERF_QOS_GOVERNOR_TOP_TASK_STATS_EMPTY_WINDOW_CPU_L,
        .rows = {{
            .baseLevel = 110,
            .nodes =
                {"/sys/devices/system/cpu/cpufreq/policy0/schedutil/top_task_stats_empty_window"},
            .levels = {{100, {"0"}}, {110, {"3"}}, {120, {"5"}}},
        }},
    },
    {
        .id = PERF_QOS_GOVERNOR_TOP_TASK_STATS_EMPTY_WINDOW_CPU_M,
        .rows = {{
            .baseLevel = 110,
            .nodes =
                {"/sys/devices/system/cpu/cpufreq/policy1/schedutil/top_task_stats_empty_window"},
            .levels = {{100, {"0"}}, {110, {"3"}}, {120, {"5"}}},
        }},
    },
    {
        .id = PERF_QOS_GOVERNOR_TOP_TASK_STATS_EMPTY_WINDOW_CPU_B,
        .rows = {{
            .baseLevel = 110,
            .nodes =
                {"/sys/devices/system/cpu/cpufreq/policy2/schedutil/top_task_stats_empty_window"},
            .levels = {{100, {"0"}}, {110, {"3"}}, {120, {"5"}}},
        }},
    },
};
static_assert(IsWellFormed(kGovernorRampTable));

}  // namespace

std::span<const LevelQos> GovernorRampTable() {
    return kGovernorRampTable;
}

}  // namespace corebeacon::builtin
