// How long the governors wait, all times in microseconds.
//
// Up: the time to stay at the jump frequency before going beyond it, "US KHZ:US ..." with US valid
// from KHZ upwards (shorter reacts earlier). Down: the time to hold a frequency before leaving it
// for a lower one (longer keeps the speed).

#include "config/builtin_qos_rows.h"

namespace corebeacon::builtin {

namespace {

constexpr LevelQos kGovernorDelayTable[] = {
    {
        .id = PERF_QOS_GOVERNOR_DELAY_UP_CPU_L,
        .rows = {{
            .baseLevel = 100,
            .nodes = {"/sys/devices/system/cpu/cpufreq/policy0/schedutil/above_hispeed_delay"},
            .levels =
                {
                    {90, {"20000 692000:40000 869000:60000 1104000:99000"}},
                    {100, {"10000 692000:30000 869000:50000 1104000:79000"}},
                    {110, {"8000 692000:20000 869000:30000 1104000:49000"}},
                    {120, {"4000 692000:8000 869000:12000 1104000:20000"}},
                },
        }},
    },
    {
        .id = PERF_QOS_GOVERNOR_DELAY_UP_CPU_M,
        .rows =
            {
                {
                    .baseLevel = 100,
                    .nodes =
                        {"/sys/devices/system/cpu/cpufreq/policy1/schedutil/above_hispeed_delay"},
                    .levels =
                        {
                            {90, {"20000 1018000:49000"}},
                            {100, {"12000 1018000:29000"}},
                            {110, {"8000 1018000:19000"}},
                            {120, {"4000 1018000:9000"}},
                        },
                },
                {
                    .chipType = CHIP_TYPE_VARIANT_2,
                    .baseLevel = 100,
                    .nodes =
                        {"/sys/devices/system/cpu/cpufreq/policy1/schedutil/above_hispeed_delay"},
                    .levels =
                        {
                            {90, {"20000 960000:49000 1570000:69000"}},
                            {100, {"12000 960000:29000 1570000:39000"}},
                            {110, {"8000 960000:19000 1570000:29000"}},
                            {120, {"4000 960000:9000 1570000:15000"}},
                        },
                },
            },
    },
    {
        .id = PERF_QOS_GOVERNOR_DELAY_UP_CPU_B,
        .rows = {{
            .baseLevel = 100,
            .nodes = {"/sys/devices/system/cpu/cpufreq/policy2/schedutil/above_hispeed_delay"},
            .levels =
                {
                    {90, {"20000 1805000:49000"}},
                    {100, {"12000 1805000:29000"}},
                    {110, {"8000 1805000:19000"}},
                    {120, {"4000 1805000:9000"}},
                },
        }},
    },
    {
        .id = PERF_QOS_GOVERNOR_DELAY_DOWN_CPU_L,
        .rows = {{
            .baseLevel = 100,
            .nodes = {"/sys/devices/system/cpu/cpufreq/policy0/schedutil/min_sample_time"},
            .levels = {{90, {"20000"}}, {100, {"40000"}}, {110, {"60000"}}, {120, {"80000"}}},
        }},
    },
    {
        .id = PERF_QOS_GOVERNOR_DELAY_DOWN_CPU_M,
        .rows = {{
            .baseLevel = 100,
            .nodes = {"/sys/devices/system/cpu/cpufreq/policy1/schedutil/min_sample_time"},
            .levels = {{90, {"10000"}}, {100, {"20000"}}, {110, {"40000"}}, {120, {"60000"}}},
        }},
    },
    {
        .id = PERF_QOS_GOVERNOR_DELAY_DOWN_CPU_B,
        .rows =
            {
                {
                    .baseLevel = 100,
                    .nodes = {"/sys/devices/system/cpu/cpufreq/policy2/schedutil/min_sample_time"},
                    .levels =
                        {{90, {"10000"}}, {100, {"20000"}}, {110, {"40000"}}, {120, {"60000"}}},
                },
                {
                    // its lower top speed costs less to hold
                    .chipType = CHIP_TYPE_VARIANT_2,
                    .baseLevel = 100,
                    .nodes = {"/sys/devices/system/cpu/cpufreq/policy2/schedutil/min_sample_time"},
                    .levels =
                        {{90, {"20000"}}, {100, {"30000"}}, {110, {"50000"}}, {120, {"80000"}}},
                },
            },
    },
};
static_assert(IsWellFormed(kGovernorDelayTable));

}  // namespace

std::span<const LevelQos> GovernorDelayTable() {
    return kGovernorDelayTable;
}

}  // namespace corebeacon::builtin
