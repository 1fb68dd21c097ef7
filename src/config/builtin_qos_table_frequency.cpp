// Frequency ranges. cpufreq nodes and rows count in kHz, devfreq ones in Hz.

#include "config/builtin_qos_rows.h"

namespace corebeacon::builtin {

namespace {

constexpr CpuFreqQos kCpuFreqTable[] = {
    {
        .id = PERF_QOS_CPU_L,
        .availableFreqs = "/sys/devices/system/cpu/cpufreq/policy0/scaling_available_frequencies",
        .minNode = "/sys/devices/system/cpu/cpufreq/policy0/scaling_min_freq",
        .maxNode = "/sys/devices/system/cpu/cpufreq/policy0/scaling_max_freq",
        .rows =
            {
                {.chipType = CHIP_TYPE_COMMON, .minKhz = 418000, .maxKhz = 1530000},
                {.chipType = CHIP_TYPE_VARIANT_1, .minKhz = 447000, .maxKhz = 2016000},
                {.chipType = CHIP_TYPE_VARIANT_2, .minKhz = 335000, .maxKhz = 1550000},
            },
    },
    {
        .id = PERF_QOS_CPU_M,
        .availableFreqs = "/sys/devices/system/cpu/cpufreq/policy1/scaling_available_frequencies",
        .minNode = "/sys/devices/system/cpu/cpufreq/policy1/scaling_min_freq",
        .maxNode = "/sys/devices/system/cpu/cpufreq/policy1/scaling_max_freq",
        .rows =
            {
                {.chipType = CHIP_TYPE_COMMON, .minKhz = 418000, .maxKhz = 2150000},
                {.chipType = CHIP_TYPE_VARIANT_1, .minKhz = 941000, .maxKhz = 2324000},
                {.chipType = CHIP_TYPE_VARIANT_2, .minKhz = 335000, .maxKhz = 2180000},
            },
    },
    {
        .id = PERF_QOS_CPU_B,
        .availableFreqs = "/sys/devices/system/cpu/cpufreq/policy2/scaling_available_frequencies",
        .minNode = "/sys/devices/system/cpu/cpufreq/policy2/scaling_min_freq",
        .maxNode = "/sys/devices/system/cpu/cpufreq/policy2/scaling_max_freq",
        .rows =
            {
                {.chipType = CHIP_TYPE_COMMON, .minKhz = 1239000, .maxKhz = 2487000},
                {.chipType = CHIP_TYPE_VARIANT_1, .minKhz = 1632000, .maxKhz = 2669000},
                {.chipType = CHIP_TYPE_VARIANT_2, .minKhz = 1120000, .maxKhz = 2300000},
            },
    },
};

constexpr DevFreqQos kDevFreqTable[] = {
    {
        .id = PERF_QOS_GPU,
        .availableFreqs = "/sys/class/devfreq/gpufreq/available_frequencies",
        .minNode = "/sys/class/devfreq/gpufreq/min_freq",
        .maxNode = "/sys/class/devfreq/gpufreq/max_freq",
        .rows =
            {
                {.chipType = CHIP_TYPE_COMMON, .minHz = 279000000, .maxHz = 750000000},
                {.chipType = CHIP_TYPE_VARIANT_1, .minHz = 164000000, .maxHz = 615000000},
            },
    },
    {
        .id = PERF_QOS_L3C,
        .availableFreqs = "/sys/class/devfreq/l3c_devfreq/available_frequencies",
        .minNode = "/sys/class/devfreq/l3c_devfreq/min_freq",
        .maxNode = "/sys/class/devfreq/l3c_devfreq/max_freq",
        .rows =
            {
                {.chipType = CHIP_TYPE_COMMON, .minHz = 335000000, .maxHz = 1380000000},
                {.chipType = CHIP_TYPE_VARIANT_1, .minHz = 300800000, .maxHz = 1728000000},
                {.chipType = CHIP_TYPE_VARIANT_2, .minHz = 335000000, .maxHz = 1450000000},
            },
    },
};

// Memory is not asked for a frequency but for a bandwidth: the kernel's memory-bandwidth QoS device
// aggregates the requests of all clients and takes MB/s as a 4-byte number.
constexpr DdrQos kDdrEntry = {
    .id = PERF_QOS_DDR,
    .availableFreqs = "/sys/class/devfreq/ddrfreq/available_frequencies",
    .bandwidthNode = "/dev/memory_bandwidth",
    .megabytesPerSecondPerMhz = 9.6F,
    .rows =
        {
            {.chipType = CHIP_TYPE_COMMON, .minKhz = 418000},
            {.chipType = CHIP_TYPE_VARIANT_1, .minKhz = 418000},
        },
};

// The video encoder numbers its operating points itself, from slowest to fastest.
constexpr OperatingPointQos kVideoEncodeEntry = {
    .id = PERF_QOS_VIDEO_ENCODE_FREQ,
    .node = "/sys/devices/virtual/venc_class/vcodec_venc/venc_freq",
    .minPoint = 0,
    .maxPoint = 3,
};

}  // namespace

std::span<const CpuFreqQos> CpuFreqTable() {
    return kCpuFreqTable;
}

std::span<const DevFreqQos> DevFreqTable() {
    return kDevFreqTable;
}

const DdrQos& DdrEntry() {
    return kDdrEntry;
}

const OperatingPointQos& VideoEncodeEntry() {
    return kVideoEncodeEntry;
}

}  // namespace corebeacon::builtin
