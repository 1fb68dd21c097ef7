#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <thread>
#include <typeinfo>

#include "config/narrowed_table.h"
#include "config/scenario_manager.h"
#include "support/golden.h"

namespace corebeacon {
namespace {

// "chip availableMin-availableMax baseMin-baseMax" of each row of a QoS with a value range.
struct RangeEntry {
    PerfQosId id;
    const char* name;
    std::vector<std::string> rows;
    bool clamps = true;
};

const RangeEntry kRangeEntries[] = {
    {PERF_QOS_CPU_L,
     "CPU_L",
     {"0 418000-1530000 418000-1530000", "1 447000-2016000 447000-2016000",
      "2 335000-1550000 335000-1550000"}},
    {PERF_QOS_CPU_M,
     "CPU_M",
     {"0 418000-2150000 418000-2150000", "1 941000-2324000 941000-2324000",
      "2 335000-2180000 335000-2180000"}},
    {PERF_QOS_CPU_B,
     "CPU_B",
     {"0 1239000-2487000 1239000-2487000", "1 1632000-2669000 1632000-2669000",
      "2 1120000-2300000 1120000-2300000"}},
    {PERF_QOS_GPU,
     "GPU",
     {"0 279000000-750000000 279000000-750000000", "1 164000000-615000000 164000000-615000000"}},
    {PERF_QOS_DDR, "DDR", {"0 418000-0 418000-0", "1 418000-0 418000-0"}},
    {PERF_QOS_L3C,
     "L3C",
     {"0 335000000-1380000000 335000000-1380000000", "1 300800000-1728000000 300800000-1728000000",
      "2 335000000-1450000000 335000000-1450000000"}},
    {PERF_QOS_IPA_POWER, "IPA_POWER", {"0 0-10000 9000-10000"}},
    {PERF_QOS_IPA_SWITCH_TEMP, "IPA_SWITCH_TEMP", {"0 0-100000 65000-100000"}},
    {PERF_QOS_IPA_SOC_CONTROL_TEMP, "IPA_SOC_CONTROL_TEMP", {"0 50000-100000 90000-100000"}},
    {PERF_QOS_VIDEO_ENCODE_FREQ, "VIDEO_ENCODE_FREQ", {"0 0-3 0-3"}, false},
};

// "group:chip:base" of each row of a level-mapped QoS.
struct LevelEntry {
    unsigned id;
    const char* name;
    const char* rows;
};

constexpr LevelEntry kLevelEntries[] = {
    {10, "LATENCY_CPU", "0:0:100"},
    {11, "LATENCY_GPU", "0:0:100"},
    {12, "LATENCY_DDR", "0:0:100"},
    {14, "MEMLAT_TARGET_RATIO_CPU_L", "0:0:100 1:0:0"},
    {15, "MEMLAT_TARGET_RATIO_CPU_M", "0:0:100 1:0:0"},
    {16, "MEMLAT_TARGET_RATIO_CPU_B", "0:0:100 0:2:100 1:0:0"},
    {20, "GOVERNOR_LOAD_CPU_L", "0:0:100 0:2:100"},
    {21, "GOVERNOR_LOAD_CPU_M", "0:0:100 0:2:100"},
    {22, "GOVERNOR_LOAD_CPU_B", "0:0:100 0:2:100"},
    {23, "GOVERNOR_LOAD_GPU", "0:0:100"},
    {24, "GOVERNOR_DELAY_UP_CPU_L", "0:0:100"},
    {25, "GOVERNOR_DELAY_UP_CPU_M", "0:0:100 0:2:100"},
    {26, "GOVERNOR_DELAY_UP_CPU_B", "0:0:100"},
    {28, "GOVERNOR_DELAY_DOWN_CPU_L", "0:0:100"},
    {29, "GOVERNOR_DELAY_DOWN_CPU_M", "0:0:100"},
    {30, "GOVERNOR_DELAY_DOWN_CPU_B", "0:0:100 0:2:100"},
    {32, "GOVERNOR_FAST_RAMP_UP_CPU_L", "0:0:110"},
    {33, "GOVERNOR_FAST_RAMP_UP_CPU_M", "0:0:110"},
    {34, "GOVERNOR_FAST_RAMP_UP_CPU_B", "0:0:110"},
    {35, "GOVERNOR_FAST_RAMP_DOWN_CPU_L", "0:0:110"},
    {36, "GOVERNOR_FAST_RAMP_DOWN_CPU_M", "0:0:110"},
    {37, "GOVERNOR_FAST_RAMP_DOWN_CPU_B", "0:0:110"},
    {38, "GOVERNOR_TOP_TASK_STATS_POLICY_CPU_L", "0:0:120"},
    {39, "GOVERNOR_TOP_TASK_STATS_POLICY_CPU_M", "0:0:120"},
    {40, "GOVERNOR_TOP_TASK_STATS_POLICY_CPU_B", "0:0:120"},
    {43, "ISOLATION_MIN_CPUS_B", "0:0:100"},
    {47, "CPU_IDLE_LP_MODE", "0:0:100"},
    {49, "FREQ_REPORTING_POLICY_CPU_M", "0:0:100"},
    {50, "FREQ_REPORTING_POLICY_CPU_B", "0:0:100"},
    {52, "GOVERNOR_TOP_TASK_STATS_EMPTY_WINDOW_CPU_L", "0:0:110"},
    {53, "GOVERNOR_TOP_TASK_STATS_EMPTY_WINDOW_CPU_M", "0:0:110"},
    {54, "GOVERNOR_TOP_TASK_STATS_EMPTY_WINDOW_CPU_B", "0:0:110"},
    {60, "CPU_IOWAIT_BOOST", "0:0:100"},
    {61, "CPU_ED_TASK", "0:0:100"},
    {62, "CPU_INIT_TASK_LOAD", "0:0:100"},
    {72, "NPU_SC_PRIO", "0:0:100"},
    {74, "ONSYS_AVS_CTRL_LEVEL", "0:0:100"},
    {100, "CAPACITY_MARGIN", "0:0:100 0:2:100"},
    {104, "THERMAL_THRESHOLD_UP", "0:0:100"},
};

std::string Range(const PerfGroupConfig& row) {
    std::ostringstream text;
    text << row.chipType << " " << row.availableMin << "-" << row.availableMax << " " << row.baseMin
         << "-" << row.baseMax;
    return text.str();
}

const char* KindName(const PerfQosConfig& config) {
    const std::type_info& type = typeid(config);
    return type == typeid(PerfQosFreqConfig)          ? "frequency"
           : type == typeid(PerfQosDdrConfig)         ? "memory frequency"
           : type == typeid(PerfQosIpaPowerConfig)    ? "thermal power"
           : type == typeid(PerfQosTargetRatioConfig) ? "target ratio"
           : type == typeid(PerfQosConfig)            ? "plain"
                                                      : "unknown";
}

std::string Describe(PerfQosId qosId, const PerfQosConfig& config) {
    std::ostringstream text;
    text << qosId << " " << config.name << " (" << KindName(config) << ")\n";
    if (const auto* freq = dynamic_cast<const FreqParameters*>(&config)) {
        text << "  list " << freq->availableFreqsPath << "\n";
    }
    for (const PerfGroupConfig& row : config.groups) {
        text << "  group " << row.groupId << " " << row.name << ", chip " << row.chipType
             << ", available " << row.availableMin << "-" << row.availableMax << ", base "
             << row.baseMin << "-" << row.baseMax << (row.rangeFlag ? ", clamps" : "") << "\n";
        for (const std::string& node : row.sysNodePaths) {
            text << "    " << node << "\n";
        }
        for (const auto& [level, texts] : row.level2ValueMap) {
            text << "    " << level << ":";
            for (const std::string& value : texts) {
                text << " \"" << value << "\"";
            }
            text << "\n";
        }
    }
    return text.str();
}

std::string DescribeTable() {
    std::string text;
    for (const auto& [qosId, config] : GetPerfQosConfigMap()) {
        text += Describe(qosId, config.get());
    }
    return text;
}

TEST(BuiltinQosTable, Has49EntriesAndNoneForTheQosThatHostsDescribe) {
    const PerfQosConfigMap table = GetPerfQosConfigMap();
    EXPECT_EQ(table.size(), 49U);
    EXPECT_EQ(table.size(), std::size(kRangeEntries) + std::size(kLevelEntries));
    EXPECT_FALSE(table.contains(PERF_QOS_CPU_BOOST));
    EXPECT_FALSE(table.contains(PERF_QOS_EAS));
    EXPECT_LT(table.rbegin()->first, PERF_QOS_INVALID);
}

TEST(BuiltinQosTable, RangesAreThoseOfEachChip) {
    const PerfQosConfigMap table = GetPerfQosConfigMap();
    for (const RangeEntry& expected : kRangeEntries) {
        ASSERT_TRUE(table.contains(expected.id)) << expected.name;
        const PerfQosConfig& config = table.at(expected.id).get();
        EXPECT_EQ(config.name, expected.name);
        std::vector<std::string> rows;
        for (const PerfGroupConfig& row : config.groups) {
            rows.push_back(Range(row));
            EXPECT_EQ(row.rangeFlag, expected.clamps) << expected.name;
            EXPECT_TRUE(row.level2ValueMap.empty()) << expected.name;
            EXPECT_EQ(row.groupId, 0U);
        }
        EXPECT_EQ(rows, expected.rows) << expected.name;
    }
}

TEST(BuiltinQosTable, LevelMappedRowsHaveTheirChipsAndBaseLevels) {
    const PerfQosConfigMap table = GetPerfQosConfigMap();
    for (const LevelEntry& expected : kLevelEntries) {
        const auto id = static_cast<PerfQosId>(expected.id);
        ASSERT_TRUE(table.contains(id)) << expected.name;
        const PerfQosConfig& config = table.at(id).get();
        EXPECT_EQ(config.name, expected.name);
        std::ostringstream rows;
        for (const PerfGroupConfig& row : config.groups) {
            rows << (rows.str().empty() ? "" : " ") << row.groupId << ":" << row.chipType << ":"
                 << row.baseMin;
            EXPECT_FALSE(row.rangeFlag) << expected.name;
        }
        EXPECT_EQ(rows.str(), expected.rows) << expected.name;
    }
}

TEST(BuiltinQosTable, EveryEntryIsOfTheKindThatItsRevisionNeeds) {
    const std::map<PerfQosId, std::string> special = {
        {PERF_QOS_CPU_L, "frequency"},
        {PERF_QOS_CPU_M, "frequency"},
        {PERF_QOS_CPU_B, "frequency"},
        {PERF_QOS_GPU, "frequency"},
        {PERF_QOS_DDR, "memory frequency"},
        {PERF_QOS_L3C, "frequency"},
        {PERF_QOS_IPA_POWER, "thermal power"},
        {PERF_QOS_MEMLAT_TARGET_RATIO_CPU_L, "target ratio"},
        {PERF_QOS_MEMLAT_TARGET_RATIO_CPU_M, "target ratio"},
        {PERF_QOS_MEMLAT_TARGET_RATIO_CPU_B, "target ratio"},
    };
    for (const auto& [qosId, config] : GetPerfQosConfigMap()) {
        const auto found = special.find(qosId);
        EXPECT_EQ(KindName(config.get()), found != special.end() ? found->second : "plain")
            << config.get().name;
    }
}

TEST(BuiltinQosTable, FrequencyListsAndParametersAreTold) {
    const PerfQosConfigMap table = GetPerfQosConfigMap();
    const auto freq = [&table](PerfQosId id) -> const FreqParameters& {
        return dynamic_cast<const FreqParameters&>(table.at(id).get());
    };
    const std::string cpufreq = "/sys/devices/system/cpu/cpufreq/";
    EXPECT_EQ(freq(PERF_QOS_CPU_L).availableFreqsPath,
              cpufreq + "policy0/scaling_available_frequencies");
    EXPECT_EQ(freq(PERF_QOS_CPU_M).availableFreqsPath,
              cpufreq + "policy1/scaling_available_frequencies");
    EXPECT_EQ(freq(PERF_QOS_CPU_B).availableFreqsPath,
              cpufreq + "policy2/scaling_available_frequencies");
    EXPECT_EQ(freq(PERF_QOS_GPU).availableFreqsPath,
              "/sys/class/devfreq/gpufreq/available_frequencies");
    EXPECT_EQ(freq(PERF_QOS_DDR).availableFreqsPath,
              "/sys/class/devfreq/ddrfreq/available_frequencies");
    EXPECT_EQ(freq(PERF_QOS_L3C).availableFreqsPath,
              "/sys/class/devfreq/l3c_devfreq/available_frequencies");
    for (const auto id : {PERF_QOS_CPU_L, PERF_QOS_CPU_M, PERF_QOS_CPU_B, PERF_QOS_GPU,
                          PERF_QOS_DDR, PERF_QOS_L3C}) {
        EXPECT_EQ(freq(id).overwriteMaxFreq, id == PERF_QOS_DDR);
        EXPECT_EQ(freq(id).gpuTopFreqPath.compiledIn, "");
        EXPECT_EQ(freq(id).gpuTopFreqPath.loaded, "");
    }

    const auto& ddr = dynamic_cast<const DdrParameters&>(table.at(PERF_QOS_DDR).get());
    EXPECT_FLOAT_EQ(ddr.bandwidthCoefficient.compiledIn, 9.6F);
    EXPECT_FLOAT_EQ(ddr.bandwidthCoefficient.loaded, 9.6F);
    const auto& ipa = dynamic_cast<const IpaPowerParameters&>(table.at(PERF_QOS_IPA_POWER).get());
    for (const IpaThresholds& thresholds : {ipa.thresholds.compiledIn, ipa.thresholds.loaded}) {
        EXPECT_EQ(thresholds.socSwitch, 10000);
        EXPECT_EQ(thresholds.boardSwitch, 9999);
    }
}

TEST(BuiltinQosTable, NodesStandInTheOrderThatTheirKindWritesThem) {
    using Nodes = std::vector<std::string>;
    const PerfQosConfigMap table = GetPerfQosConfigMap();
    const auto nodes = [&table](PerfQosId id) { return table.at(id).get().groups[0].sysNodePaths; };
    EXPECT_EQ(nodes(PERF_QOS_CPU_B),
              (Nodes{"/sys/devices/system/cpu/cpufreq/policy2/scaling_min_freq",
                     "/sys/devices/system/cpu/cpufreq/policy2/scaling_max_freq"}));
    EXPECT_EQ(nodes(PERF_QOS_GPU), (Nodes{"/sys/class/devfreq/gpufreq/min_freq",
                                          "/sys/class/devfreq/gpufreq/max_freq"}));
    EXPECT_EQ(nodes(PERF_QOS_L3C), (Nodes{"/sys/class/devfreq/l3c_devfreq/min_freq",
                                          "/sys/class/devfreq/l3c_devfreq/max_freq"}));
    EXPECT_EQ(nodes(PERF_QOS_DDR), Nodes{"/dev/memory_bandwidth"});
    EXPECT_EQ(
        nodes(PERF_QOS_IPA_POWER),
        (Nodes{"/sys/class/thermal/thermal_zone1/sustainable_power",
               "/sys/class/thermal/thermal_zone1/mode", "/sys/class/thermal/thermal_zone0/mode"}));
    EXPECT_EQ(nodes(PERF_QOS_IPA_SWITCH_TEMP),
              Nodes{"/sys/class/thermal/thermal_zone1/trip_point_0_temp"});
    EXPECT_EQ(nodes(PERF_QOS_IPA_SOC_CONTROL_TEMP),
              Nodes{"/sys/class/thermal/thermal_zone0/trip_point_2_temp"});
    EXPECT_EQ(nodes(PERF_QOS_VIDEO_ENCODE_FREQ),
              Nodes{"/sys/devices/virtual/venc_class/vcodec_venc/venc_freq"});
    EXPECT_EQ(nodes(PERF_QOS_NPU_SC_PRIO), Nodes{"/dev/vexa_perf_ctrl"});
}

TEST(BuiltinQosTable, OnEveryChipEachQosKeepsTheRowsOfOneKindOfMachine) {
    for (const auto chip : test::kEveryChip) {
        for (const auto& [qosId, config] : test::NarrowedTable(chip)) {
            const auto& rows = config.get().groups;
            const bool isMemLat = dynamic_cast<PerfQosTargetRatioConfig*>(&config.get()) != nullptr;
            ASSERT_EQ(rows.size(), isMemLat ? 2U : 1U) << config.get().name << " chip " << chip;
            for (unsigned group = 0; group < rows.size(); ++group) {
                EXPECT_EQ(rows[group].groupId, group) << config.get().name;
                EXPECT_TRUE(rows[group].chipType == chip || rows[group].chipType == 0);
            }
        }
    }
}

TEST(BuiltinQosTable, NoTwoQosOfAChipWriteTheSameNode) {
    for (const auto chip : test::kEveryChip) {
        std::set<std::string> seen;
        for (const auto& [qosId, config] : test::NarrowedTable(chip)) {
            for (const PerfGroupConfig& row : config.get().groups) {
                for (const std::string& node : row.sysNodePaths) {
                    EXPECT_TRUE(seen.insert(node).second) << node;
                }
            }
        }
    }
}

TEST(BuiltinQosTable, EveryLevelThatAScenarioUsesExistsOnEveryChipItServes) {
    for (const auto chip : test::kEveryChip) {
        const PerfQosConfigMap table = test::NarrowedTable(chip);
        for (const auto& [scenarioId, requests] :
             ScenarioManager().Init(GetConfigurableScenarioVec(chip))) {
            for (const auto& [qosId, groups] : requests) {
                if (PerfQosName(qosId) == nullptr || qosId == PERF_QOS_EAS) {
                    continue;  // only hosts describe these
                }
                ASSERT_TRUE(table.contains(qosId)) << qosId;
                for (const auto& [groupId, values] : groups) {
                    for (const auto& [operation, value] : values) {
                        EXPECT_TRUE(test::TakesValue(table, qosId, groupId, value))
                            << "chip " << chip << " scenario " << scenarioId << " qos " << qosId
                            << " value " << value;
                    }
                }
            }
        }
    }
}

TEST(BuiltinQosTable, EachCallRestoresWhatAnEngineHasNarrowed) {
    const std::string before = DescribeTable();
    {
        PerfQosConfigMap table = test::NarrowedTable(CHIP_TYPE_VARIANT_2);
        table.at(PERF_QOS_CPU_L).get().groups[0].availableMax = 1;
        table.at(PERF_QOS_GPU).get().groups.clear();
    }
    EXPECT_EQ(DescribeTable(), before);
}

TEST(BuiltinQosTable, EveryCallHandsOutTheSameObjects) {
    const PerfQosConfigMap first = GetPerfQosConfigMap();
    for (const auto& [qosId, config] : GetPerfQosConfigMap()) {
        EXPECT_EQ(&config.get(), &first.at(qosId).get());
    }
}

TEST(BuiltinQosTable, SeveralThreadsMayAskForItAtOnce) {
    std::vector<std::thread> threads;
    std::vector<std::size_t> sizes(8, 0);
    for (std::size_t& size : sizes) {
        threads.emplace_back([&size] { size = GetPerfQosConfigMap().size(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(sizes, std::vector<std::size_t>(8, 49U));
}

TEST(BuiltinQosTable, IsTheOneThatWasReviewed) {
    test::ExpectGolden(COREBEACON_GOLDEN_DIR "/qos_table.txt", DescribeTable());
}

}  // namespace
}  // namespace corebeacon
