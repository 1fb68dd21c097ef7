// Latency bounds and the memory-latency monitors.

#include "config/builtin_qos_rows.h"

namespace corebeacon::builtin {

namespace {

// The PM QoS devices under /dev read a text as hexadecimal, except that 4 bytes are always taken as
// a binary number; texts of ten characters can never be mistaken for one. The default is the
// kernel's own "no request", 2000 s in microseconds.
constexpr LevelQos kLatencyTable[] = {
    {
        .id = PERF_QOS_LATENCY_CPU,
        .rows = {{
            .baseLevel = 100,
            .nodes = {"/dev/cpu_dma_latency"},  // longest wake-up from idle, us
            .levels =
                {
                    {100, {"0x77359400"}},
                    {110, {"0x00000064"}},
                    {120, {"0x00000032"}},
                    {130, {"0x00000001"}},
                },
        }},
    },
    {
        .id = PERF_QOS_LATENCY_GPU,
        .rows = {{
            .baseLevel = 100,
            .nodes = {"/sys/devices/platform/e9fc0000.vgpu/power_policy"},
            .levels =
                {
                    {100, {"job_demand"}},  // powered down between jobs
                    {110, {"always_on"}},
                },
        }},
    },
    {
        .id = PERF_QOS_LATENCY_DDR,
        .rows = {{
            .baseLevel = 100,
            .nodes =
                {
                    "/dev/memory_latency",               // longest memory access, ns
                    "/dev/acpuddr_link_governor_level",  // how eagerly the CPU-DDR link speeds up
                },
            .levels =
                {
                    {100, {"0x77359400", "0x00000000"}},
                    {110, {"0x00000190", "0x00000001"}},
                    {120, {"0x000000c8", "0x00000002"}},
                    {130, {"0x00000064", "0x00000003"}},
                },
        }},
    },
};
static_assert(IsWellFormed(kLatencyTable));

// A cluster counts as bound by memory while it retires fewer instructions per miss than the target
// ratio, so a higher ratio raises the memory's speed for more workloads. Level 0 closes the ratio:
// the resource then works the monitor's switch instead of writing a ratio.
constexpr LevelQos kMemLatTable[] = {
    {
        .id = PERF_QOS_MEMLAT_TARGET_RATIO_CPU_L,
        .rows =
            {
                {
                    .groupId = 0,
                    .baseLevel = 100,
                    .nodes =
                        {
                            "/sys/devices/system/cpu/mips_mem/cluster0/mips_ddr/target_ratio",
                            "/sys/devices/system/cpu/mips_mem/cluster0/mips_l3/target_ratio",
                        },
                    .levels =
                        {
                            {0, {"0", "0"}},
                            {90, {"150", "150"}},
                            {100, {"300", "300"}},
                            {110, {"600", "600"}},
                            {120, {"1000", "1000"}},
                        },
                },
                {
                    .groupId = 1,
                    .name = "MEMLAT_MONITOR_ENABLE_CPU_L",
                    .baseLevel = 0,
                    .nodes =
                        {
                            "/sys/devices/system/cpu/mips_mem/cluster0/mips_ddr/mipsmem_enable",
                            "/sys/devices/system/cpu/mips_mem/cluster0/mips_l3/mipsmem_enable",
                        },
                    .levels = {{0, {"0", "0"}}, {1, {"1", "1"}}},
                },
            },
    },
    {
        .id = PERF_QOS_MEMLAT_TARGET_RATIO_CPU_M,
        .rows =
            {
                {
                    .groupId = 0,
                    .baseLevel = 100,
                    .nodes =
                        {
                            "/sys/devices/system/cpu/mips_mem/cluster1/mips_ddr/target_ratio",
                            "/sys/devices/system/cpu/mips_mem/cluster1/mips_l3/target_ratio",
                        },
                    .levels =
                        {
                            {0, {"0", "0"}},
                            {90, {"150", "150"}},
                            {100, {"300", "300"}},
                            {110, {"600", "600"}},
                            {120, {"1000", "1000"}},
                        },
                },
                {
                    .groupId = 1,
                    .name = "MEMLAT_MONITOR_ENABLE_CPU_M",
                    .baseLevel = 0,
                    .nodes =
                        {
                            "/sys/devices/system/cpu/mips_mem/cluster1/mips_ddr/mipsmem_enable",
                            "/sys/devices/system/cpu/mips_mem/cluster1/mips_l3/mipsmem_enable",
                        },
                    .levels = {{0, {"0", "0"}}, {1, {"1", "1"}}},
                },
            },
    },
    {
        .id = PERF_QOS_MEMLAT_TARGET_RATIO_CPU_B,
        .rows =
            {
                {
                    .groupId = 0,
                    .baseLevel = 100,
                    .nodes =
                        {
                            "/sys/devices/system/cpu/mips_mem/cluster2/mips_ddr/target_ratio",
                            "/sys/devices/system/cpu/mips_mem/cluster2/mips_l3/target_ratio",
                        },
                    .levels =
                        {
                            {0, {"0", "0"}},
                            {90, {"300", "150"}},
                            {100, {"600", "300"}},
                            {110, {"1000", "600"}},
                            {120, {"1500", "1000"}},
                        },
                },
                {
                    // its slower big cluster leans on memory earlier
                    .groupId = 0,
                    .chipType = CHIP_TYPE_VARIANT_2,
                    .baseLevel = 100,
                    .nodes =
                        {
                            "/sys/devices/system/cpu/mips_mem/cluster2/mips_ddr/target_ratio",
                            "/sys/devices/system/cpu/mips_mem/cluster2/mips_l3/target_ratio",
                        },
                    .levels =
                        {
                            {0, {"0", "0"}},
                            {90, {"500", "300"}},
                            {100, {"1000", "300"}},
                            {110, {"1500", "600"}},
                            {120, {"2000", "1000"}},
                        },
                },
                {
                    .groupId = 1,
                    .name = "MEMLAT_MONITOR_ENABLE_CPU_B",
                    .baseLevel = 0,
                    .nodes =
                        {
                            "/sys/devices/system/cpu/mips_mem/cluster2/mips_ddr/mipsmem_enable",
                            "/sys/devices/system/cpu/mips_mem/cluster2/mips_l3/mipsmem_enable",
                        },
                    .levels = {{0, {"0", "0"}}, {1, {"1", "1"}}},
                },
            },
    },
};
static_assert(IsWellFormed(kMemLatTable));

}  // namespace

std::span<const LevelQos> LatencyTable() {
    return kLatencyTable;
}

std::span<const LevelQos> MemLatTable() {
    return kMemLatTable;
}

}  // namespace corebeacon::builtin
