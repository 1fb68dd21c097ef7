#include <algorithm>
#include <iterator>
#include <sstream>

#include "corebeacon/builtin_config.h"
#include "support/scoped_node_io.h"
#include "tools/sim/sim_fixture.h"

namespace corebeacon::sim {
namespace {

/// One chip variant's device.
class SimChip : public testing::TestWithParam<unsigned> {
protected:
    /// The row that the chip's engine keeps of a frequency QoS.
    static PerfGroupConfig RowOf(PerfQosId id) {
        const PerfQosConfigMap table = GetPerfQosConfigMap();
        const std::vector<PerfGroupConfig>& rows = table.at(id).get().groups;
        for (const PerfGroupConfig& row : rows) {
            if (row.chipType == GetParam()) {
                return row;
            }
        }
        return rows.front();
    }

    std::vector<int> ListOf(const std::string& path) const {
        std::istringstream text(mDevice->Value(path));
        return {std::istream_iterator<int>(text), std::istream_iterator<int>()};
    }

    const std::unique_ptr<SimulatedDevice> mDevice = SimulatedDevice::ForChip(GetParam());
    const test::ScopedNodeIo mInForce{*mDevice};
};

INSTANTIATE_TEST_SUITE_P(Variants, SimChip, testing::Values(0U, 1U, 2U));

TEST_P(SimChip, HasEveryNodeOfTheTable) {
    for (const auto& [id, qos] : GetPerfQosConfigMap()) {
        for (const PerfGroupConfig& row : qos.get().groups) {
            for (const std::string& path : row.sysNodePaths) {
                EXPECT_TRUE(mDevice->Exists(path)) << path;
                const int fd = mDevice->Open(path.c_str(), O_WRONLY);
                EXPECT_GE(fd, 0) << path;
                mDevice->Close(fd);
            }
        }
        if (const auto* freq = dynamic_cast<const FreqParameters*>(&qos.get())) {
            EXPECT_FALSE(ListOf(freq->availableFreqsPath).empty()) << freq->availableFreqsPath;
        }
    }
}

TEST_P(SimChip, TakesEveryTextOfEveryLevel) {
    for (const auto& [id, qos] : GetPerfQosConfigMap()) {
        for (const PerfGroupConfig& row : qos.get().groups) {
            for (const auto& [level, texts] : row.level2ValueMap) {
                for (std::size_t i = 0; i < texts.size(); ++i) {
                    const std::string& path = row.sysNodePaths.at(i);
                    if (path == "/dev/vexa_perf_ctrl") {
                        continue;  // driven by ioctl
                    }
                    const int fd = mDevice->Open(path.c_str(), O_WRONLY);
                    EXPECT_EQ(mDevice->Write(fd, texts[i].data(), texts[i].size()),
                              static_cast<ssize_t>(texts[i].size()))
                        << path << " " << texts[i];
                    mDevice->Close(fd);
                }
            }
        }
    }
}

TEST_P(SimChip, ItsFrequencyTablesEndWhereTheRowsEnd) {
    for (const PerfQosId id :
         {PERF_QOS_CPU_L, PERF_QOS_CPU_M, PERF_QOS_CPU_B, PERF_QOS_GPU, PERF_QOS_L3C}) {
        const PerfGroupConfig row = RowOf(id);
        const PerfQosConfigMap table = GetPerfQosConfigMap();
        const auto* freq = dynamic_cast<const FreqParameters*>(&table.at(id).get());
        ASSERT_NE(freq, nullptr);
        const std::vector<int> list = ListOf(freq->availableFreqsPath);
        ASSERT_GE(list.size(), 6U);
        EXPECT_EQ(list.front(), row.availableMin) << row.name;
        EXPECT_EQ(list.back(), row.availableMax) << row.name;
        EXPECT_EQ(mDevice->Value(row.sysNodePaths.at(0)), std::to_string(row.availableMin));
        EXPECT_EQ(mDevice->Value(row.sysNodePaths.at(1)), std::to_string(row.availableMax));
    }
}

TEST_P(SimChip, TheCacheHasTheFrequencyThatScenariosAskFor) {
    const std::vector<int> list = ListOf("/sys/class/devfreq/l3c_devfreq/available_frequencies");
    const int wanted = GetParam() == 2 ? 1149000000 : 1152000000;
    EXPECT_EQ(std::count(list.begin(), list.end(), wanted), 1);
}

TEST_P(SimChip, TextNodesHoldWhatTheBaseLevelWrites) {
    const PerfGroupConfig row = RowOf(PERF_QOS_GOVERNOR_LOAD_CPU_L);
    const std::vector<std::string>& texts = row.level2ValueMap.at(row.baseMin);
    for (std::size_t i = 0; i < row.sysNodePaths.size(); ++i) {
        EXPECT_EQ(mDevice->Value(row.sysNodePaths[i]), texts[i]) << row.sysNodePaths[i];
    }
}

TEST_P(SimChip, TellsItsBoardAndItsVariant) {
    EXPECT_EQ(mDevice->Value("/proc/device-tree/vexa,boardname"), "vexa-board-x");
    EXPECT_EQ(mDevice->Bytes("/proc/device-tree/vexa,boardname").back(), '\0');
    EXPECT_EQ(mDevice->Value("/proc/device-tree/vexa,chiptype"),
              "vexa-chip-" + std::to_string(GetParam()));
    const ControlInfoConfig& facts = GetcontrolInfo();
    EXPECT_EQ(mDevice->Value(facts.thermalZoneTypePath), "board-thermal");
    EXPECT_EQ(mDevice->Value(facts.cpuBoostPath), "0");
    EXPECT_EQ(mDevice->Value("/sys/devices/system/cpu/possible"), "0-2");
    EXPECT_TRUE(mDevice->Exists("/sys/devices/system/cpu/cpu2/topology/core_siblings"));
    EXPECT_TRUE(mDevice->Exists("/sys/devices/system/cpu/cpu2/topology/physical_package_id"));
}

TEST_P(SimChip, TheGovernorsNodesGoWithTheirCluster) {
    const std::string policy = "/sys/devices/system/cpu/cpufreq/policy1";
    EXPECT_TRUE(mDevice->Exists(policy + "/schedutil/hispeed_freq"));
    mDevice->SetPolicyOnline(policy, false);
    EXPECT_FALSE(mDevice->Exists(policy + "/schedutil/hispeed_freq"));
    mDevice->SetPolicyOnline(policy, true);
    EXPECT_TRUE(mDevice->Exists(policy + "/schedutil/hispeed_freq"));
}

TEST_P(SimChip, StartsUntouchedAndWithAnEmptyRecord) {
    EXPECT_TRUE(mDevice->Operations().empty());
    EXPECT_TRUE(mDevice->TouchedNodes().empty());
    EXPECT_EQ(mDevice->OpenDescriptors(), 0U);
    EXPECT_EQ(mDevice->Value("/dev/cpu_dma_latency"), "2000000000");
    EXPECT_EQ(mDevice->Value("/dev/memory_bandwidth"), "0");
    EXPECT_EQ(mDevice->Value("/sys/class/thermal/thermal_zone0/mode"), "enabled");
}

TEST(SimChips, BuildingOneLeavesTheNodeAccessAsItWas) {
    SimulatedDevice former;
    const test::ScopedNodeIo inForce(former);
    const auto device = SimulatedDevice::ForChip(1);
    EXPECT_EQ(&GetNodeIo(), &former);
}

TEST(SimChips, ThereIsNoFourthVariant) {
    EXPECT_EQ(SimulatedDevice::ForChip(3), nullptr);
}

}  // namespace
}  // namespace corebeacon::sim
