// How the scheduler treats tasks, and what it reports of them to the governors.

#include "config/builtin_qos_rows.h"

namespace corebeacon::builtin {

namespace {

constexpr LevelQos kTaskTable[] = {
    // What a cluster reports to its governor: the load of its CPUs, or the greater of that and the
    // busiest task's load. The little cluster follows the middle one, so that a task which moves
    // between them is reported by one rule.
    {
        .id = PERF_QOS_FREQ_REPORTING_POLICY_CPU_M,
        .rows = {{
            .baseLevel = 100,
            .nodes =
                {
                    "/sys/devices/system/cpu/cpufreq/policy0/schedutil/freq_reporting_policy",
                    "/sys/devices/system/cpu/cpufreq/policy1/schedutil/freq_reporting_policy",
                },
            .levels = {{100, {"0", "0"}}, {110, {"1", "1"}}},
        }},
    },
    {
        .id = PERF_QOS_FREQ_REPORTING_POLICY_CPU_B,
        .rows = {{
            .baseLevel = 100,
            .nodes = {"/sys/devices/system/cpu/cpufreq/policy2/schedutil/freq_reporting_policy"},
            .levels = {{100, {"0"}}, {110, {"1"}}},
        }},
    },
    // What each wake-up from I/O adds to a CPU's apparent load, out of 1024: "STEP KHZ:STEP ...",
    // smaller where the CPU is fast already.
    {
        .id = PERF_QOS_CPU_IOWAIT_BOOST,
        .rows = {{
            .baseLevel = 100,
            .nodes =
                {
                    "/sys/devices/system/cpu/cpufreq/policy0/schedutil/iowait_boost_step",
                    "/sys/devices/system/cpu/cpufreq/policy1/schedutil/iowait_boost_step",
                    "/sys/devices/system/cpu/cpufreq/policy2/schedutil/iowait_boost_step",
                },
            .levels =
                {
                    {90,
                     {"400 692000:300 1104000:200", "400 986000:300 1268000:200",
                      "400 1239000:300 1594000:200"}},
                    {100,
                     {"800 692000:600 1104000:400", "800 986000:600 1268000:400",
                      "800 1239000:600 1594000:400"}},
                    {110,
                     {"1000 692000:900 1104000:800", "1000 986000:900 1268000:800",
                      "1000 1239000:900 1594000:800"}},
                },
        }},
    },
    // After which running time, in ns, a task counts as one that needs an early detection boost.
    // New tasks are judged sooner: nothing else is known of them.
    {
        .id = PERF_QOS_CPU_ED_TASK,
        .rows = {{
            .baseLevel = 100,
            .nodes =
                {
                    "/sys/devices/system/cpu/cpufreq/policy0/schedutil/ed_task_running_duration",
                    "/sys/devices/system/cpu/cpufreq/policy0/schedutil/"
                    "ed_new_task_running_duration",
                    "/sys/devices/system/cpu/cpufreq/policy1/schedutil/ed_task_running_duration",
                    "/sys/devices/system/cpu/cpufreq/policy1/schedutil/"
                    "ed_new_task_running_duration",
                    "/sys/devices/system/cpu/cpufreq/policy2/schedutil/ed_task_running_duration",
                    "/sys/devices/system/cpu/cpufreq/policy2/schedutil/"
                    "ed_new_task_running_duration",
                },
            .levels =
                {
                    {100,
                     {"70000000", "60000000",  //
                      "60000000", "40000000",  //
                      "60000000", "40000000"}},
                    {110,
                     {"60000000", "40000000",  //
                      "40000000", "20000000",  //
                      "40000000", "20000000"}},
                },
        }},
    },
    // The load, in percent of a CPU, that a new task is taken to have.
    {
        .id = PERF_QOS_CPU_INIT_TASK_LOAD,
        .rows = {{
            .baseLevel = 100,
            .nodes = {"/sys/kernel/eas/walt_init_task_load_pct"},
            .levels = {{90, {"15"}}, {100, {"40"}}, {110, {"100"}}},
        }},
    },
    // The capacity that a CPU must have for each 1024 of a task's load: the greater, the earlier a
    // task moves to a bigger CPU.
    {
        .id = PERF_QOS_CAPACITY_MARGIN,
        .rows =
            {
                {
                    .baseLevel = 100,
                    .nodes = {"/sys/kernel/eas/capacity_margin"},
                    .levels = {{90, {"1138"}}, {100, {"1280"}}, {110, {"1536"}}},
                },
                {
                    // its clusters lie closer together: moving on later saves power
                    .chipType = CHIP_TYPE_VARIANT_2,
                    .baseLevel = 100,
                    .nodes = {"/sys/kernel/eas/capacity_margin"},
                    .levels = {{90, {"1078"}}, {100, {"1178"}}, {110, {"1408"}}},
                },
            },
    },
};
static_assert(IsWellFormed(kTaskTable));

}  // namespace

std::span<const LevelQos> TaskTable() {
    return kTaskTable;
}

}  // namespace corebeacon::builtin
