// At which load the governors speed up, and how far.
//
// Each cluster's row writes, in this order: the load in percent at which a CPU jumps (lower jumps
// earlier), the frequency in kHz that it jumps to, and the load that the governor aims at, "LOAD
// KHZ:LOAD ..." with LOAD valid from KHZ upwards (lower leaves more headroom).

#include "config/builtin_qos_rows.h"

namespace corebeacon::builtin {

namespace {

constexpr LevelQos kGovernorLoadTable[] = {
    {
        .id = PERF_QOS_GOVERNOR_LOAD_CPU_L,
        .rows =
            {
                {
                    .baseLevel = 100,
                    .nodes =
                        {
                            "/sys/devices/system/cpu/cpufreq/policy0/schedutil/go_hispeed_load",
                            "/sys/devices/system/cpu/cpufreq/policy0/schedutil/hispeed_freq",
                            "/sys/devices/system/cpu/cpufreq/policy0/schedutil/target_loads",
                        },
                    .levels =
                        {
                            {90, {"95", "692000", "75 550000:80 758000:85 1148000:90 1430000:85"}},
                            {100, {"90", "869000", "70 550000:75 758000:80 1148000:85 1430000:80"}},
                            {110,
                             {"85", "1104000", "65 550000:70 758000:75 1148000:80 1430000:75"}},
                            {120,
                             {"75", "1148000", "60 550000:65 758000:70 1148000:75 1430000:70"}},
                            {130,
                             {"60", "1430000", "50 550000:55 758000:60 1148000:65 1430000:60"}},
                        },
                },
                {
                    .chipType = CHIP_TYPE_VARIANT_2,
                    .baseLevel = 100,
                    .nodes =
                        {
                            "/sys/devices/system/cpu/cpufreq/policy0/schedutil/go_hispeed_load",
                            "/sys/devices/system/cpu/cpufreq/policy0/schedutil/hispeed_freq",
                            "/sys/devices/system/cpu/cpufreq/policy0/schedutil/target_loads",
                        },
                    .levels =
                        {
                            {90, {"95", "670000", "75 500000:80 730000:85 1120000:90"}},
                            {100, {"90", "840000", "70 500000:75 730000:80 1120000:85"}},
                            {110, {"85", "1070000", "65 500000:70 730000:75 1120000:80"}},
                            {120, {"75", "1120000", "60 500000:65 730000:70 1120000:75"}},
                            {130, {"60", "1400000", "50 500000:55 730000:60 1120000:65"}},
                        },
                },
            },
    },
    {
        .id = PERF_QOS_GOVERNOR_LOAD_CPU_M,
        .rows =
            {
                {
                    .baseLevel = 100,
                    .nodes =
                        {
                            "/sys/devices/system/cpu/cpufreq/policy1/schedutil/go_hispeed_load",
                            "/sys/devices/system/cpu/cpufreq/policy1/schedutil/hispeed_freq",
                            "/sys/devices/system/cpu/cpufreq/policy1/schedutil/target_loads",
                        },
                    .levels =
                        {
                            {90, {"95", "1018000", "90 1364000:95 1850000:98"}},
                            {100, {"90", "1268000", "85 1364000:90 1850000:95"}},
                            {110, {"85", "1364000", "80 1364000:85 1850000:90"}},
                            {120, {"80", "1605000", "75 1364000:80 1850000:85"}},
                            {130, {"70", "1850000", "65 1364000:70 1850000:75"}},
                        },
                },
                {
                    .chipType = CHIP_TYPE_VARIANT_2,
                    .baseLevel = 100,
                    .nodes =
                        {
                            "/sys/devices/system/cpu/cpufreq/policy1/schedutil/go_hispeed_load",
                            "/sys/devices/system/cpu/cpufreq/policy1/schedutil/hispeed_freq",
                            "/sys/devices/system/cpu/cpufreq/policy1/schedutil/target_loads",
                        },
                    .levels =
                        {
                            {90, {"95", "960000", "90 1330000:95 1820000:98"}},
                            {100, {"90", "1230000", "85 1330000:90 1820000:95"}},
                            {110, {"85", "1330000", "80 1330000:85 1820000:90"}},
                            {120, {"80", "1570000", "75 1330000:80 1820000:85"}},
                            {130, {"70", "1820000", "65 1330000:70 1820000:75"}},
                        },
                },
            },
    },
    {
        .id = PERF_QOS_GOVERNOR_LOAD_CPU_B,
        .rows =
            {
                {
                    .baseLevel = 100,
                    .nodes =
                        {
                            "/sys/devices/system/cpu/cpufreq/policy2/schedutil/go_hispeed_load",
                            "/sys/devices/system/cpu/cpufreq/policy2/schedutil/hispeed_freq",
                            "/sys/devices/system/cpu/cpufreq/policy2/schedutil/target_loads",
                        },
                    .levels =
                        {
                            {90, {"97", "1239000", "92 1594000:95 2138000:98"}},
                            {100, {"93", "1594000", "88 1594000:92 2138000:95"}},
                            {110, {"88", "1805000", "83 1594000:87 2138000:90"}},
                            {120, {"82", "1805000", "78 1594000:82 2138000:85"}},
                            {130, {"75", "2138000", "68 1594000:72 2138000:75"}},
                        },
                },
                {
                    .chipType = CHIP_TYPE_VARIANT_2,
                    .baseLevel = 100,
                    .nodes =
                        {
                            "/sys/devices/system/cpu/cpufreq/policy2/schedutil/go_hispeed_load",
                            "/sys/devices/system/cpu/cpufreq/policy2/schedutil/hispeed_freq",
                            "/sys/devices/system/cpu/cpufreq/policy2/schedutil/target_loads",
                        },
                    .levels =
                        {
                            {90, {"97", "1120000", "92 1460000:95 1980000:98"}},
                            {100, {"93", "1460000", "88 1460000:92 1980000:95"}},
                            {110, {"88", "1680000", "83 1460000:87 1980000:90"}},
                            {120, {"82", "1680000", "78 1460000:82 1980000:85"}},
                            {130, {"75", "1980000", "68 1460000:72 1980000:75"}},
                        },
                },
            },
    },
    {
        .id = PERF_QOS_GOVERNOR_LOAD_GPU,
        .rows = {{
            .baseLevel = 100,
            // the load profile of the GPU governor: everyday, game, heavy game
            .nodes = {"/sys/class/devfreq/gpufreq/gpu_scene_aware/scene"},
            .levels = {{100, {"0"}}, {110, {"1"}}, {120, {"2"}}},
        }},
    },
};
static_assert(IsWellFormed(kGovernorLoadTable));

}  // namespace

std::span<const LevelQos> GovernorLoadTable() {
    return kGovernorLoadTable;
}

}  // namespace corebeacon::builtin
