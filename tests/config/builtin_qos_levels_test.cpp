#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
#include <set>

#include "config/narrowed_table.h"

namespace corebeacon {
namespace {

// Calls `visit` for every level-mapped row of every chip.
template <typename Visit>
void ForEachLevelRow(Visit visit) {
    for (const auto& [qosId, config] : GetPerfQosConfigMap()) {
        for (const PerfGroupConfig& row : config.get().groups) {
            if (!row.level2ValueMap.empty()) {
                SCOPED_TRACE(row.name + " chip " + std::to_string(row.chipType));
                visit(row);
            }
        }
    }
}

std::string LastPart(const std::string& path) {
    return path.substr(path.rfind('/') + 1);
}

// The values in a text: all its numbers except the frequencies of "VALUE KHZ:VALUE ..."; the
// ioctl's "ID:PRIORITY" gives the priority. Words rank by `kWords`.
std::vector<long> Values(const std::string& text) {
    static const std::vector<std::string> kWords = {"job_demand", "always_on"};
    const auto word = std::find(kWords.begin(), kWords.end(), text);
    if (word != kWords.end()) {
        return {word - kWords.begin()};
    }
    std::vector<long> values;
    std::istringstream parts(text);
    for (std::string part; parts >> part;) {
        values.push_back(std::stol(part.substr(part.find(':') + 1), nullptr, 0));
    }
    return values;
}

// The frequencies at which the parts of a text begin.
std::vector<long> Thresholds(const std::string& text) {
    std::vector<long> thresholds;
    std::istringstream parts(text);
    for (std::string part; parts >> part;) {
        if (const auto colon = part.find(':'); colon != std::string::npos) {
            thresholds.push_back(std::stol(part.substr(0, colon)));
        }
    }
    return thresholds;
}

// Nodes where the smaller value is the one of more performance.
bool SmallerIsFaster(const std::string& node) {
    static const std::set<std::string> kNames = {"go_hispeed_load",
                                                 "target_loads",
                                                 "above_hispeed_delay",
                                                 "fast_ramp_down",
                                                 "ed_task_running_duration",
                                                 "ed_new_task_running_duration",
                                                 "lp_mode",
                                                 "cpu_dma_latency",
                                                 "memory_latency"};
    return kNames.contains(LastPart(node));
}

// Whether `faster` asks for at least as much as `slower` in every value.
bool IsAtLeast(const std::string& node, const std::string& slower, const std::string& faster) {
    const std::vector<long> low = Values(slower);
    const std::vector<long> high = Values(faster);
    return low.size() == high.size() &&
           std::equal(low.begin(), low.end(), high.begin(),
                      [&node](long a, long b) { return SmallerIsFaster(node) ? a >= b : a <= b; });
}

TEST(BuiltinQosLevels, EveryRowHoldsItsBaseLevelAndOneNonEmptyTextPerNode) {
    ForEachLevelRow([](const PerfGroupConfig& row) {
        EXPECT_TRUE(row.level2ValueMap.contains(row.baseMin));
        for (const auto& [level, texts] : row.level2ValueMap) {
            EXPECT_EQ(texts.size(), row.sysNodePaths.size()) << level;
            EXPECT_FALSE(std::ranges::any_of(texts, &std::string::empty)) << level;
        }
        EXPECT_FALSE(row.sysNodePaths.empty());
        for (const std::string& node : row.sysNodePaths) {
            EXPECT_EQ(node.rfind("/", 0), 0U) << node;
        }
    });
}

TEST(BuiltinQosLevels, RangesFollowFromTheLevels) {
    ForEachLevelRow([](const PerfGroupConfig& row) {
        EXPECT_EQ(row.availableMin, row.level2ValueMap.begin()->first);
        EXPECT_EQ(row.availableMax, row.level2ValueMap.rbegin()->first);
        EXPECT_EQ(row.baseMax, row.level2ValueMap.rbegin()->first);
        EXPECT_LE(row.availableMin, row.baseMin);
    });
}

TEST(BuiltinQosLevels, AHigherLevelNeverAsksForLessAndAlwaysDiffers) {
    ForEachLevelRow([](const PerfGroupConfig& row) {
        for (auto lower = row.level2ValueMap.begin(), higher = std::next(lower);
             higher != row.level2ValueMap.end(); lower = higher++) {
            EXPECT_NE(lower->second, higher->second) << higher->first;
            for (std::size_t i = 0; i < row.sysNodePaths.size(); ++i) {
                EXPECT_TRUE(IsAtLeast(row.sysNodePaths[i], lower->second[i], higher->second[i]))
                    << row.sysNodePaths[i] << ": " << lower->second[i] << " then "
                    << higher->second[i];
            }
        }
    });
}

TEST(BuiltinQosLevels, FrequencyDependentTextsSplitAtTheSameAscendingFrequencies) {
    ForEachLevelRow([](const PerfGroupConfig& row) {
        for (std::size_t i = 0; i < row.sysNodePaths.size(); ++i) {
            if (LastPart(row.sysNodePaths[i]) == "vexa_perf_ctrl") {
                continue;  // the colon there joins an id and a priority
            }
            const std::vector<long> expected = Thresholds(row.level2ValueMap.begin()->second[i]);
            EXPECT_TRUE(std::is_sorted(expected.begin(), expected.end()));
            for (const auto& [level, texts] : row.level2ValueMap) {
                EXPECT_EQ(Thresholds(texts[i]), expected) << level;
            }
        }
    });
}

// The frequencies in a governor's texts must be ones that the cluster has.
TEST(BuiltinQosLevels, FrequenciesInTextsLieWithinTheClustersRange) {
    const std::pair<std::string, PerfQosId> clusters[] = {{"/policy0/", PERF_QOS_CPU_L},
                                                          {"/policy1/", PERF_QOS_CPU_M},
                                                          {"/policy2/", PERF_QOS_CPU_B}};
    for (const auto chip : {CHIP_TYPE_COMMON, CHIP_TYPE_VARIANT_2}) {
        const PerfQosConfigMap table = test::NarrowedTable(chip);
        for (const auto& [qosId, config] : table) {
            const PerfGroupConfig& row = config.get().groups[0];
            for (std::size_t i = 0; i < row.sysNodePaths.size(); ++i) {
                const std::string& node = row.sysNodePaths[i];
                for (const auto& [directory, cluster] : clusters) {
                    if (node.find(directory) == std::string::npos) {
                        continue;
                    }
                    for (const auto& [level, texts] : row.level2ValueMap) {
                        std::vector<long> freqs = Thresholds(texts[i]);
                        if (LastPart(node) == "hispeed_freq") {
                            freqs.push_back(std::stol(texts[i]));
                        }
                        const PerfGroupConfig& range = table.at(cluster).get().groups[0];
                        for (const long freq : freqs) {
                            EXPECT_GE(freq, range.availableMin) << node << " level " << level;
                            EXPECT_LE(freq, range.availableMax) << node << " level " << level;
                        }
                    }
                }
            }
        }
    }
}

// Four bytes are a binary number to the PM QoS devices; anything else must be hexadecimal.
TEST(BuiltinQosLevels, TextsForPmQosDevicesAreHexadecimalAndNeverFourBytes) {
    std::size_t seen = 0;
    ForEachLevelRow([&seen](const PerfGroupConfig& row) {
        for (std::size_t i = 0; i < row.sysNodePaths.size(); ++i) {
            const std::string& node = row.sysNodePaths[i];
            if (node.rfind("/dev/", 0) != 0 || LastPart(node) == "vexa_perf_ctrl") {
                continue;
            }
            for (const auto& [level, texts] : row.level2ValueMap) {
                ++seen;
                EXPECT_NE(texts[i].size(), 4U) << node;
                ASSERT_EQ(texts[i].rfind("0x", 0), 0U) << node;
                EXPECT_TRUE(std::all_of(texts[i].begin() + 2, texts[i].end(),
                                        [](unsigned char c) { return std::isxdigit(c) != 0; }));
            }
        }
    });
    EXPECT_GE(seen, 8U);
}

TEST(BuiltinQosLevels, ATargetRatioCanBeClosedAndItsMonitorSwitched) {
    for (const auto chip : test::kEveryChip) {
        const PerfQosConfigMap table = test::NarrowedTable(chip);
        for (const auto qosId :
             {PERF_QOS_MEMLAT_TARGET_RATIO_CPU_L, PERF_QOS_MEMLAT_TARGET_RATIO_CPU_M,
              PERF_QOS_MEMLAT_TARGET_RATIO_CPU_B}) {
            const auto& rows = table.at(qosId).get().groups;
            EXPECT_TRUE(rows[0].level2ValueMap.contains(0));
            EXPECT_EQ(rows[1].level2ValueMap, (Level2ValueMap{{0, {"0", "0"}}, {1, {"1", "1"}}}));
        }
    }
}

// The knobs that a device of this family is known to have, and the settings known to be good on it.
TEST(BuiltinQosLevels, EveryKnownNodeAndSettingIsInUse) {
    std::set<std::string> nodes;
    std::set<std::string> texts;
    for (const auto& [qosId, config] : GetPerfQosConfigMap()) {
        for (const PerfGroupConfig& row : config.get().groups) {
            nodes.insert(row.sysNodePaths.begin(), row.sysNodePaths.end());
            for (const auto& [level, levelTexts] : row.level2ValueMap) {
                texts.insert(levelTexts.begin(), levelTexts.end());
            }
        }
    }
    std::vector<std::string> expected = {
        "/sys/class/thermal/thermal_zone0/mode",
        "/sys/class/thermal/thermal_zone1/mode",
        "/sys/class/thermal/thermal_zone1/sustainable_power",
        "/sys/class/thermal/thermal_zone1/trip_point_0_temp",
        "/sys/class/thermal/thermal_zone0/trip_point_2_temp",
        "/dev/cpu_dma_latency",
        "/dev/memory_latency",
        "/dev/acpuddr_link_governor_level",
        "/sys/devices/platform/e9fc0000.vgpu/power_policy",
        "/sys/devices/system/cpu/core_ctl/cluster2/min_cpus",
        "/sys/devices/system/cpu/core_ctl/cluster2/max_cpus",
        "/sys/devices/system/cpu/core_ctl/cluster2/spread_affinity",
        "/sys/devices/system/cpu/cpuidle/lp_mode",
        "/sys/kernel/eas/walt_init_task_load_pct",
        "/sys/devices/virtual/venc_class/vcodec_venc/venc_freq",
        "/sys/class/devfreq/gpufreq/gpu_scene_aware/scene",
        "/dev/vexa_perf_ctrl",
    };
    for (const char* cluster : {"0", "1", "2"}) {
        for (const char* name :
             {"go_hispeed_load", "hispeed_freq", "target_loads", "above_hispeed_delay",
              "min_sample_time", "fast_ramp_up", "fast_ramp_down", "top_task_stats_policy",
              "top_task_stats_empty_window", "iowait_boost_step", "ed_task_running_duration",
              "ed_new_task_running_duration", "freq_reporting_policy"}) {
            expected.push_back(std::string("/sys/devices/system/cpu/cpufreq/policy") + cluster +
                               "/schedutil/" + name);
        }
        for (const char* name : {"mips_ddr/target_ratio", "mips_l3/target_ratio",
                                 "mips_ddr/mipsmem_enable", "mips_l3/mipsmem_enable"}) {
            expected.push_back(std::string("/sys/devices/system/cpu/mips_mem/cluster") + cluster +
                               "/" + name);
        }
    }
    for (const std::string& node : expected) {
        EXPECT_TRUE(nodes.contains(node)) << node;
    }
    for (const char* text :
         {"1000", "300", "800 1239000:600 1594000:400", "800 986000:600 1268000:400",
          "70 550000:75 758000:80 1148000:85 1430000:80", "85 1364000:90 1850000:95",
          "10000 692000:30000 869000:50000 1104000:79000", "12000 1018000:29000", "60000000",
          "70000000", "40000000", "40", "100", "5:80", "5:112", "job_demand", "always_on"}) {
        EXPECT_TRUE(texts.contains(text)) << text;
    }
}

}  // namespace
}  // namespace corebeacon
