// The whole device of a chip variant. This is the one file of the simulator that needs the engine's
// tables; who only adds nodes by hand does not link it.
#include <array>
#include <map>
#include <string>
#include <utility>

#include "corebeacon/builtin_config.h"
#include "sim/chip_facts.h"
#include "sim/device_nodes.h"
#include "sim/simulated_device.h"

namespace corebeacon::sim {

namespace {

const std::string kCpu = "/sys/devices/system/cpu";
const std::string kCpufreq = kCpu + "/cpufreq";
const std::string kDevfreq = "/sys/class/devfreq";
const std::string kThermal = "/sys/class/thermal";
const std::string kGovernorDirectory = "/schedutil/";

constexpr std::int32_t kNoLatencyWishUs = 2000 * 1000 * 1000;

constexpr std::array kGovernorNodes{
    "go_hispeed_load",
    "hispeed_freq",
    "target_loads",
    "above_hispeed_delay",
    "min_sample_time",
    "fast_ramp_up",
    "fast_ramp_down",
    "top_task_stats_policy",
    "top_task_stats_empty_window",
    "iowait_boost_step",
    "ed_task_running_duration",
    "ed_new_task_running_duration",
    "freq_reporting_policy",
};

constexpr std::array kOtherTextNodes{
    "/dev/memory_latency",
    "/sys/devices/platform/e9fc0000.vgpu/power_policy",
    "/sys/devices/system/cpu/core_ctl/cluster2/min_cpus",
    "/sys/devices/system/cpu/core_ctl/cluster2/max_cpus",
    "/sys/devices/system/cpu/core_ctl/cluster2/spread_affinity",
    "/sys/devices/system/cpu/cpuidle/lp_mode",
    "/sys/kernel/eas/walt_init_task_load_pct",
    "/sys/devices/virtual/venc_class/vcodec_venc/venc_freq",
    "/sys/class/devfreq/gpufreq/gpu_scene_aware/scene",
};

std::string PolicyDirectory(unsigned cluster) {
    return kCpufreq + "/policy" + std::to_string(cluster);
}

/// What the table writes to each text node while nobody asks for anything: the closest there is to
/// what the node holds after boot.
class IdleTexts {
public:
    explicit IdleTexts(unsigned chip) {
        const PerfQosConfigMap table = GetPerfQosConfigMap();
        // The chip's own rows come second, so that they have the last word.
        for (const unsigned rowsOf : {static_cast<unsigned>(CHIP_TYPE_COMMON), chip}) {
            for (const auto& [id, qos] : table) {
                for (const PerfGroupConfig& row : qos.get().groups) {
                    Learn(row, row.chipType == rowsOf);
                }
            }
        }
    }

    std::string Of(const std::string& path) const {
        const auto found = mTexts.find(path);
        return found == mTexts.end() ? "0" : found->second;
    }

    /// Every path of the table, rows of other chips included.
    const std::map<std::string, std::string>& All() const { return mTexts; }

private:
    void Learn(const PerfGroupConfig& row, bool applies) {
        const auto level = row.level2ValueMap.find(row.baseMin);
        for (std::size_t i = 0; i < row.sysNodePaths.size(); ++i) {
            std::string text = std::to_string(row.baseMin);
            if (level != row.level2ValueMap.end() && i < level->second.size()) {
                text = level->second[i];
            }
            if (applies) {
                mTexts[row.sysNodePaths[i]] = text;
            } else {
                mTexts.emplace(row.sysNodePaths[i], text);
            }
        }
    }

    std::map<std::string, std::string> mTexts;
};

/// The table reads nodes, so the device must be in force while it is asked for.
class InForce {
public:
    explicit InForce(NodeIo& nodeIo) : mFormer(GetNodeIo()) { SetNodeIo(&nodeIo); }
    ~InForce() { SetNodeIo(&mFormer); }
    InForce(const InForce&) = delete;
    InForce& operator=(const InForce&) = delete;

private:
    NodeIo& mFormer;
};

void AddFrequencies(SimulatedDevice& device, const ChipFacts& facts) {
    for (unsigned cluster = 0; cluster < kClusterCount; ++cluster) {
        device.AddCpufreqPolicy(PolicyDirectory(cluster), facts.clusterKhz[cluster]);
    }
    device.AddDevfreq(kDevfreq + "/gpufreq", facts.gpuHz);
    device.AddDevfreq(kDevfreq + "/ddrfreq", facts.ddrHz);
    device.AddDevfreq(kDevfreq + "/l3c_devfreq", facts.l3cHz);
    device.AddChoice(kCpufreq + "/boost", {"0", "1"}, "0");
}

void AddBoard(SimulatedDevice& device, unsigned chip) {
    // Device-tree strings end in NUL.
    device.AddContent("/proc/device-tree/vexa,boardname", std::string("vexa-board-x") + '\0');
    device.AddContent("/proc/device-tree/vexa,chiptype",
                      "vexa-chip-" + std::to_string(chip) + '\0');
    device.AddText(kCpu + "/possible", "0-" + std::to_string(kClusterCount - 1), Access::READ_ONLY);
    for (unsigned cpu = 0; cpu < kClusterCount; ++cpu) {
        const std::string topology = kCpu + "/cpu" + std::to_string(cpu) + "/topology";
        device.AddText(topology + "/core_siblings", "7", Access::READ_ONLY);
        device.AddText(topology + "/physical_package_id", "0", Access::READ_ONLY);
    }
}

void AddThermalZones(SimulatedDevice& device) {
    device.AddThermalZone(kThermal + "/thermal_zone0",
                          {.type = "soc-thermal",
                           .sustainablePowerMw = 4500,
                           .tripTempsMilliC = {65000, 75000, 90000, 115000}});
    device.AddThermalZone(kThermal + "/thermal_zone1", {.type = "board-thermal",
                                                        .sustainablePowerMw = 9000,
                                                        .tripTempsMilliC = {65000, 85000, 115000}});
}

void AddDevices(SimulatedDevice& device) {
    device.AddBinary("/dev/cpu_dma_latency", Aggregate::SMALLEST, kNoLatencyWishUs, true);
    device.AddBinary("/dev/memory_bandwidth", Aggregate::SUM, 0, false);
    device.AddIoctl("/dev/vexa_perf_ctrl", {IoctlNode::kSetPriority, IoctlNode::kResetPriority});
}

void AddTextNodes(SimulatedDevice& device, const IdleTexts& idle) {
    for (const char* path : kOtherTextNodes) {
        device.AddText(path, idle.Of(path));
    }
    device.AddText("/dev/acpuddr_link_governor_level", idle.Of("/dev/acpuddr_link_governor_level"),
                   Access::WRITE_ONLY);
    for (unsigned cluster = 0; cluster < kClusterCount; ++cluster) {
        const std::string memory = kCpu + "/mips_mem/cluster" + std::to_string(cluster) + "/mips_";
        for (const char* file :
             {"ddr/target_ratio", "ddr/mipsmem_enable", "l3/target_ratio", "l3/mipsmem_enable"}) {
            device.AddText(memory + file, idle.Of(memory + file));
        }
        const std::string policy = PolicyDirectory(cluster);
        for (const char* name : kGovernorNodes) {
            device.AddGovernorNode(policy, name, idle.Of(policy + kGovernorDirectory + name));
        }
    }
    // Whatever else the table has been given.
    for (const auto& [path, text] : idle.All()) {
        if (device.Exists(path)) {
            continue;
        }
        const std::size_t split = path.find(kGovernorDirectory);
        if (split == std::string::npos) {
            device.AddText(path, text);
        } else {
            device.AddGovernorNode(path.substr(0, split),
                                   path.substr(split + kGovernorDirectory.size()), text);
        }
    }
}

}  // namespace

std::unique_ptr<SimulatedDevice> SimulatedDevice::ForChip(unsigned chip) {
    if (chip >= kChipCount) {
        return nullptr;
    }
    auto device = std::make_unique<SimulatedDevice>();
    AddFrequencies(*device, FactsOfChip(chip));
    AddBoard(*device, chip);
    AddThermalZones(*device);
    AddDevices(*device);
    const InForce inForce(*device);
    AddTextNodes(*device, IdleTexts(chip));
    device->ClearRecord();
    return device;
}

}  // namespace corebeacon::sim
