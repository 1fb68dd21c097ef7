#include "fuzz/small_machine.h"

#include <utility>

#include "corebeacon/qos_config.h"
#include "sim/eas_example.h"

namespace corebeacon::fuzz {

namespace {

const std::string kPolicy = "/cpufreq/policy";
const std::string kGpu = "/devfreq/gpu";
const std::string kDdrList = "/devfreq/ddr";
const std::string kMemLat = "/memlat";
const std::string kProbeNode = "/probe";

/// An id of the host's own, with two groups.
constexpr auto kHostsOwn = static_cast<PerfQosId>(13);
/// The chip is named, because only a row that names its chip may have others beside it.
constexpr ChipTypeAvailableValue kChip = CHIP_TYPE_VARIANT_1;

using Rows = std::vector<PerfGroupConfig>;
using QosPointer = std::unique_ptr<PerfQosConfig>;

QosPointer MakeCpu(unsigned int cluster) {
    const std::string directory = kPolicy + std::to_string(cluster);
    const std::string name = "CPU_" + std::to_string(cluster);
    FreqParameters parameters;
    parameters.availableFreqsPath = directory + "/scaling_available_frequencies";
    return std::make_unique<PerfQosFreqConfig>(
        name,
        Rows{PerfGroupConfig(name, cluster != 1, 400000, 2000000, 400000, 2000000,
                             {directory + "/scaling_min_freq", directory + "/scaling_max_freq"},
                             CHIP_TYPE_COMMON)},
        parameters);
}

QosPointer MakeGpu() {
    FreqParameters parameters;
    parameters.availableFreqsPath = kGpu + "/available_frequencies";
    parameters.overwriteMaxFreq = true;
    parameters.gpuTopFreqPath = {kGpu + "/top", kGpu + "/top"};
    return std::make_unique<PerfQosFreqConfig>(
        "GPU",
        Rows{PerfGroupConfig("GPU", true, 200000000, 800000000, 200000000, 800000000,
                             {kGpu + "/min_freq", kGpu + "/max_freq"}, CHIP_TYPE_COMMON)},
        parameters);
}

QosPointer MakeDdr() {
    FreqParameters parameters;
    parameters.availableFreqsPath = kDdrList + "/available_frequencies";
    parameters.overwriteMaxFreq = true;
    return std::make_unique<PerfQosDdrConfig>(
        "DDR", Rows{PerfGroupConfig("DDR", true, 400000, 400000, {"/bandwidth"}, CHIP_TYPE_COMMON)},
        parameters, DdrParameters{});
}

QosPointer MakeIpaPower() {
    return std::make_unique<PerfQosIpaPowerConfig>(
        "IPA_POWER",
        Rows{PerfGroupConfig("IPA_POWER", true, 0, 10000, 9000, 10000,
                             {"/board/power", "/board/mode", "/soc/mode"}, CHIP_TYPE_COMMON)},
        IpaPowerParameters());
}

QosPointer MakeSingle(const std::string& name, int max, int base, const std::string& path) {
    return std::make_unique<PerfQosConfig>(
        name, Rows{PerfGroupConfig(name, false, 0, max, base, max, {path}, CHIP_TYPE_COMMON)});
}

QosPointer MakeLevels(const std::string& name, const std::vector<std::string>& paths,
                      const Level2ValueMap& levels) {
    return std::make_unique<PerfQosConfig>(
        name, Rows{PerfGroupConfig(name, 100, paths, levels, CHIP_TYPE_COMMON)});
}

QosPointer MakeMemLat() {
    const Level2ValueMap ratios = {{0, {"0"}}, {90, {"150"}}, {100, {"300"}}, {110, {"600"}}};
    const Level2ValueMap monitors = {{0, {"0"}}, {1, {"1"}}};
    return std::make_unique<PerfQosTargetRatioConfig>(
        "MEMLAT",
        Rows{PerfGroupConfig(0U, "MEMLAT", 100, {kMemLat + "/ratio"}, ratios, CHIP_TYPE_COMMON),
             PerfGroupConfig(1U, "MONITOR", 0, {kMemLat + "/enable"}, monitors, CHIP_TYPE_COMMON)});
}

QosPointer MakeHostsOwn() {
    const auto row = [](unsigned int group, int min, int max, int baseMin, int baseMax) {
        const std::string number = std::to_string(group);
        const std::vector<std::string> nodes = {"/host/min" + number, "/host/max" + number};
        return PerfGroupConfig(group, "HOST_" + number, min, max, baseMin, baseMax, nodes, kChip);
    };
    return std::make_unique<PerfQosConfig>("HOST",
                                           Rows{row(0, -50, 50, -10, 20), row(1, 0, 7, 2, 7)});
}

QosPointer Make(PerfQosId id) {
    switch (id) {
        case PERF_QOS_CPU_L:
        case PERF_QOS_CPU_M:
        case PERF_QOS_CPU_B:
            return MakeCpu(id);
        case PERF_QOS_GPU:
            return MakeGpu();
        case PERF_QOS_DDR:
            return MakeDdr();
        case PERF_QOS_IPA_POWER:
            return MakeIpaPower();
        case PERF_QOS_IPA_SWITCH_TEMP:
            return MakeSingle("IPA_SWITCH_TEMP", 100000, 65000, "/board/trip");
        case PERF_QOS_CPU_BOOST:
            return MakeSingle("CPU_BOOST", 1, 0, "/cpufreq/boost");
        case PERF_QOS_VIDEO_ENCODE_FREQ:
            return MakeSingle("VIDEO", 3, 0, "/video");
        case PERF_QOS_EAS:
            return std::make_unique<PerfQosEasConfig>(sim::MakeEasConfig());
        case PERF_QOS_LATENCY_CPU:
            return MakeLevels(
                "LATENCY", {"/dev/latency"},
                {{100, {"0x77359400"}}, {110, {"0x00000064"}}, {120, {"0x00000001"}}});
        case PERF_QOS_ISOLATION_MIN_CPUS_B:
            return MakeLevels("ISOLATION", {"/core/max", "/core/min"},
                              {{90, {"1", "0"}}, {100, {"2", "1"}}, {110, {"2", "2"}}});
        case PERF_QOS_NPU_SC_PRIO:
            return MakeLevels("NPU", {"/dev/npu"}, {{100, {"5:80"}}, {110, {"5:112"}}});
        case PERF_QOS_MEMLAT_TARGET_RATIO_CPU_M:
            return MakeMemLat();
        default:
            return MakeHostsOwn();
    }
}

using Texts = std::vector<std::pair<const char*, const char*>>;

/// The nodes of QoS that are written as text.
const Texts& TextsOf(PerfQosId id) {
    static const std::map<PerfQosId, Texts> texts = {
        {PERF_QOS_GPU, {{"/devfreq/gpu/top", "5000"}}},
        {PERF_QOS_IPA_POWER,
         {{"/board/power", "9000"}, {"/board/mode", "enabled"}, {"/soc/mode", "enabled"}}},
        {PERF_QOS_IPA_SWITCH_TEMP, {{"/board/trip", "65000"}}},
        {PERF_QOS_CPU_BOOST, {{"/cpufreq/boost", "0"}}},
        {PERF_QOS_VIDEO_ENCODE_FREQ, {{"/video", "0"}}},
        {PERF_QOS_ISOLATION_MIN_CPUS_B, {{"/core/max", "2"}, {"/core/min", "1"}}},
        {PERF_QOS_MEMLAT_TARGET_RATIO_CPU_M, {{"/memlat/ratio", "300"}, {"/memlat/enable", "0"}}},
        {kHostsOwn,
         {{"/host/min0", "-10"}, {"/host/max0", "20"}, {"/host/min1", "2"}, {"/host/max1", "7"}}},
    };
    static const Texts none;
    const auto found = texts.find(id);
    return found == texts.end() ? none : found->second;
}

void AddNodesOf(PerfQosId id, sim::SimulatedDevice& device) {
    switch (id) {
        case PERF_QOS_CPU_L:
        case PERF_QOS_CPU_M:
        case PERF_QOS_CPU_B:
            device.AddCpufreqPolicy(PolicyDirectories()[id], {400000, 800000, 1300000, 2000000});
            break;
        case PERF_QOS_GPU:
            device.AddDevfreq(kGpu, {200000000, 500000000, 800000000});
            break;
        case PERF_QOS_DDR:
            device.AddDevfreq(kDdrList, {400000000, 1000000000, 3200000000});
            // What 400 MHz come to.
            device.AddBinary("/bandwidth", sim::Aggregate::LARGEST, 3840, false);
            break;
        case PERF_QOS_LATENCY_CPU:
            device.AddBinary("/dev/latency", sim::Aggregate::SMALLEST, 2000000000, true);
            break;
        case PERF_QOS_NPU_SC_PRIO:
            device.AddIoctl("/dev/npu", {0x4010781E, 0x4010781F});
            break;
        case PERF_QOS_EAS:
            sim::AddEasNodes(device);
            break;
        default:
            break;
    }
    for (const auto& [path, text] : TextsOf(id)) {
        device.AddText(path, text);
    }
}

}  // namespace

void AddNodes(sim::SimulatedDevice& device, const std::vector<PerfQosId>& ids) {
    for (const PerfQosId id : ids) {
        AddNodesOf(id, device);
    }
    device.AddText(kProbeNode, "");
    device.SetRecordLimit(0);
}

const std::vector<std::string>& PolicyDirectories() {
    static const std::vector<std::string> directories = {kPolicy + "0", kPolicy + "1",
                                                         kPolicy + "2"};
    return directories;
}

const std::vector<std::string>& FaultyNodes() {
    static const std::vector<std::string> nodes = {kPolicy + "0/scaling_min_freq",
                                                   kPolicy + "0/scaling_max_freq",
                                                   kPolicy + "0/scaling_available_frequencies",
                                                   kGpu + "/top",
                                                   "/bandwidth",
                                                   "/board/power",
                                                   "/board/mode",
                                                   "/soc/mode",
                                                   "/dev/latency",
                                                   "/core/max",
                                                   "/dev/npu",
                                                   "/memlat/ratio",
                                                   "/host/min0",
                                                   sim::kEasGlobalBoostNode,
                                                   kProbeNode};
    return nodes;
}

SmallTable::SmallTable(const std::vector<PerfQosId>& ids) {
    for (const PerfQosId id : ids) {
        mQos.emplace(id, Make(id));
    }
}

PerfQosConfigMap SmallTable::Map() const {
    PerfQosConfigMap map;
    for (const auto& [id, qos] : mQos) {
        map.emplace(id, *qos);
    }
    return map;
}

std::vector<PerfQosConfig*> SmallTable::All() const {
    std::vector<PerfQosConfig*> all;
    for (const auto& [id, qos] : mQos) {
        all.push_back(qos.get());
    }
    return all;
}

const std::vector<PerfQosId>& SmallTable::AllIds() {
    static const std::vector<PerfQosId> ids = {PERF_QOS_CPU_L,
                                               PERF_QOS_CPU_M,
                                               PERF_QOS_CPU_B,
                                               PERF_QOS_GPU,
                                               PERF_QOS_DDR,
                                               PERF_QOS_IPA_POWER,
                                               PERF_QOS_IPA_SWITCH_TEMP,
                                               PERF_QOS_CPU_BOOST,
                                               PERF_QOS_EAS,
                                               PERF_QOS_LATENCY_CPU,
                                               PERF_QOS_MEMLAT_TARGET_RATIO_CPU_M,
                                               PERF_QOS_NPU_SC_PRIO,
                                               PERF_QOS_VIDEO_ENCODE_FREQ,
                                               PERF_QOS_ISOLATION_MIN_CPUS_B,
                                               kHostsOwn};
    return ids;
}

/// But for the monitor's nodes, which stay where they are when ratio and switch change in one step.
const std::map<std::string, std::string>& BaseValues(PerfQosId id) {
    static std::map<PerfQosId, std::map<std::string, std::string>> known;
    const auto [entry, isNew] = known.try_emplace(id);
    if (isNew && id != PERF_QOS_MEMLAT_TARGET_RATIO_CPU_M) {
        sim::SimulatedDevice device;
        AddNodesOf(id, device);
        entry->second = device.Snapshot();
    }
    return entry->second;
}

const std::vector<ConfigurableScenario>& SmallScenarios() {
    static const std::vector<ConfigurableScenario> scenarios = {
        {0,
         {{PERF_QOS_CPU_L, {{0, {{PERF_OPERATION_BOOST, 1300000}}}}},
          {PERF_QOS_EAS, {{2, {{PERF_OPERATION_BOOST, 40}}}}}}},
        {4,
         {{PERF_QOS_GPU, {{0, {{PERF_OPERATION_LIMIT, 500000000}}}}},
          {PERF_QOS_CPU_L, {{0, {{PERF_OPERATION_LIMIT, 800000}}}}}}}};
    return scenarios;
}

const std::vector<ConfigurableEvent>& SmallEvents() {
    static const std::vector<ConfigurableEvent> events = {
        {0,
         {{PERF_QOS_CPU_L,
           {{20, {{0, {{PERF_OPERATION_BOOST, 2000000}}}}},
            {60000, {{0, {{PERF_OPERATION_BOOST, 800000}}}}}}},
          {PERF_QOS_IPA_POWER, {{500, {{0, {{PERF_OPERATION_BOOST, 10000}}}}}}}}},
        {19, {{PERF_QOS_LATENCY_CPU, {{100, {{0, {{PERF_OPERATION_BOOST, 120}}}}}}}}}};
    return events;
}

ProbeEvent SmallProbe() {
    return {.nodePath = kProbeNode,
            .bindText = "+",
            .unbindText = "-",
            .startDelayMs = 10,
            .spanMs = 50,
            .cpuM = 1300000,
            .cpuB = 3000000,
            .gpu = 500000000};
}

}  // namespace corebeacon::fuzz
