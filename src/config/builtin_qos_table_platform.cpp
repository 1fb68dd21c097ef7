// Which CPUs may rest, and the knobs of devices beside the CPUs.

#include "config/builtin_qos_rows.h"

namespace corebeacon::builtin {

namespace {

constexpr LevelQos kPlatformTable[] = {
    // How many big CPUs are kept out of isolation. The ceiling comes first: core control clips a
    // floor that is written above the ceiling still in force.
    {
        .id = PERF_QOS_ISOLATION_MIN_CPUS_B,
        .rows = {{
            .baseLevel = 100,
            .nodes =
                {
                    "/sys/devices/system/cpu/core_ctl/cluster2/max_cpus",
                    "/sys/devices/system/cpu/core_ctl/cluster2/min_cpus",
                    "/sys/devices/system/cpu/core_ctl/cluster2/spread_affinity",
                },
            .levels =
                {
                    {90, {"1", "0", "0"}},
                    {100, {"2", "1", "0"}},
                    {110, {"2", "2", "1"}},
                },
        }},
    },
    // Whether idle CPUs may enter the states that power a whole cluster down.
    {
        .id = PERF_QOS_CPU_IDLE_LP_MODE,
        .rows = {{
            .baseLevel = 100,
            .nodes = {"/sys/devices/system/cpu/cpuidle/lp_mode"},
            .levels = {{100, {"1"}}, {110, {"0"}}},
        }},
    },
    // The NPU's priority at the system cache, "MASTER:PRIORITY". At the base level the device is
    // told to return to its own priority.
    {
        .id = PERF_QOS_NPU_SC_PRIO,
        .rows = {{
            .baseLevel = 100,
            .nodes = {"/dev/vexa_perf_ctrl"},
            .levels = {{100, {"5:80"}}, {110, {"5:112"}}},
        }},
    },
    // How much voltage margin the adaptive scaling of the always-on part leaves for fast ramps.
    {
        .id = PERF_QOS_ONSYS_AVS_CTRL_LEVEL,
        .rows = {{
            .baseLevel = 100,
            .nodes = {"/sys/devices/platform/vexa_avs/onsys_avs_ctrl_level"},
            .levels = {{100, {"0"}}, {110, {"1"}}, {120, {"2"}}},
        }},
    },
    // Where the SoC's thermal control begins to act, in millidegrees Celsius; it regulates to the
    // trip point after this one.
    {
        .id = PERF_QOS_THERMAL_THRESHOLD_UP,
        .rows = {{
            .baseLevel = 100,
            .nodes = {"/sys/class/thermal/thermal_zone0/trip_point_1_temp"},
            .levels = {{90, {"70000"}}, {100, {"75000"}}, {110, {"80000"}}, {120, {"85000"}}},
        }},
    },
};
static_assert(IsWellFormed(kPlatformTable));

}  // namespace

std::span<const LevelQos> PlatformTable() {
    return kPlatformTable;
}

}  // namespace corebeacon::builtin
