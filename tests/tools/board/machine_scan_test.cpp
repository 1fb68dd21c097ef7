#include "board/machine_scan.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>

#include "board/board_check.h"
#include "board/board_writer.h"
#include "corebeacon/builtin_config.h"

namespace corebeacon::board {
namespace {

namespace fs = std::filesystem;

class MachineScan : public ::testing::Test {
protected:
    MachineScan()
        : mRoot(fs::path(::testing::TempDir()) /
                ("corebeacon-machine-" + std::to_string(::getpid()) +
                 ::testing::UnitTest::GetInstance()->current_test_info()->name())) {
        fs::create_directories(mRoot);
    }
    ~MachineScan() override { fs::remove_all(mRoot); }

    void Put(const std::string& path, const std::string& text) {
        fs::create_directories((mRoot / path).parent_path());
        std::ofstream(mRoot / path) << text << "\n";
    }

    void PutPolicy(int number, int minKhz, int maxKhz, bool isListed = true) {
        const std::string folder =
            "sys/devices/system/cpu/cpufreq/policy" + std::to_string(number) + "/";
        Put(folder + "cpuinfo_min_freq", std::to_string(minKhz));
        Put(folder + "cpuinfo_max_freq", std::to_string(maxKhz));
        if (isListed) {
            Put(folder + "scaling_available_frequencies",
                std::to_string(minKhz) + " " + std::to_string(maxKhz) + " ");
        }
    }

    /// What a person gets, read back.
    Board Scan() const {
        ReadBoard read = ParseBoard(BoardText(ScanMachine(mRoot)));
        EXPECT_TRUE(read.errors.empty()) << read.errors.front().message;
        EXPECT_TRUE(CheckBoard(read, false).empty());
        return std::move(read.board);
    }

    const fs::path mRoot;
};

TEST_F(MachineScan, AMachineWithoutNodesIsAnEmptyBoard) {
    EXPECT_TRUE(Scan().qos.empty());
}

TEST_F(MachineScan, ClustersAreTakenInTheOrderOfTheirSpeed) {
    PutPolicy(0, 500000, 2500000);
    PutPolicy(4, 300000, 1500000);
    const Board board = Scan();
    ASSERT_EQ(board.qos.size(), 2U);
    const PerfQosXmlLoadConfig& little = board.qos.at(PERF_QOS_CPU_L);
    EXPECT_EQ(little.type, "freq");
    const std::string path = "/sys/devices/system/cpu/cpufreq/policy4";
    EXPECT_EQ(little.availableFreqsPath, path + "/scaling_available_frequencies");
    EXPECT_EQ(little.groups.at(0).sysNodePaths,
              (std::vector<std::string>{path + "/scaling_min_freq", path + "/scaling_max_freq"}));
    EXPECT_EQ(little.groups[0].availableMin, 300000);
    EXPECT_EQ(little.groups[0].baseMax, 1500000);
    EXPECT_TRUE(little.groups[0].rangeFlag);
    EXPECT_EQ(board.qos.at(PERF_QOS_CPU_B).groups.at(0).availableMax, 2500000);
}

TEST_F(MachineScan, MoreThanThreeClustersGetIdsOfTheirOwn) {
    for (int policy = 0; policy < 4; ++policy) {
        PutPolicy(policy, 100000, 200000 + policy);
    }
    const Board board = Scan();
    ASSERT_EQ(board.qos.size(), 4U);
    EXPECT_EQ(board.qos.at(PERF_QOS_CPU_M).groups.at(0).availableMax, 200001);
    EXPECT_EQ(board.qos.at(PERF_QOS_CPU_B).groups.at(0).availableMax, 200003);
    EXPECT_EQ(board.qos.rbegin()->second.name, "CPU_POLICY2");
}

TEST_F(MachineScan, APolicyWithoutAListIsAPlainRange) {
    PutPolicy(0, 500000, 2500000, false);
    Put("sys/devices/system/cpu/cpufreq/policy1/cpuinfo_min_freq", "none");
    Put("sys/devices/system/cpu/cpufreq/ondemand/cpuinfo_min_freq", "1");
    const Board board = Scan();
    ASSERT_EQ(board.qos.size(), 1U);
    EXPECT_EQ(board.qos.at(PERF_QOS_CPU_L).type, "plain");
    EXPECT_EQ(board.qos.at(PERF_QOS_CPU_L).groups.at(0).sysNodePaths.size(), 2U);
}

TEST_F(MachineScan, FindsGpuAndOtherDevices) {
    Put("sys/class/devfreq/1000.gpu/available_frequencies", "300000000 200000000");
    Put("sys/class/devfreq/dmc-1/available_frequencies", "500000000 4000000000");
    Put("sys/class/devfreq/idle/governor", "x");
    const Board board = Scan();
    ASSERT_EQ(board.qos.size(), 2U);
    const PerfGroupConfig& gpu = board.qos.at(PERF_QOS_GPU).groups.at(0);
    EXPECT_EQ(gpu.availableMin, 200000000);
    EXPECT_EQ(gpu.availableMax, 300000000);
    EXPECT_EQ(gpu.sysNodePaths.at(0), "/sys/class/devfreq/1000.gpu/min_freq");
    const auto& [id, other] = *board.qos.rbegin();
    EXPECT_EQ(PerfQosName(id), nullptr);
    EXPECT_EQ(other.name, "DMC_1");
    EXPECT_EQ(other.groups.at(0).availableMax, 2147483647);
}

TEST_F(MachineScan, APowerBudgetMayBeLowered) {
    Put("sys/class/thermal/thermal_zone0/sustainable_power", "4500");
    Put("sys/class/thermal/thermal_zone1/sustainable_power", "0");
    Put("sys/class/thermal/thermal_zone2/type", "x");
    const Board board = Scan();
    ASSERT_EQ(board.qos.size(), 1U);
    const PerfQosXmlLoadConfig& power = board.qos.begin()->second;
    EXPECT_EQ(power.name, "POWER_THERMAL_ZONE0");
    EXPECT_EQ(power.groups.at(0).availableMin, 0);
    EXPECT_EQ(power.groups[0].baseMin, 4500);
    EXPECT_EQ(power.groups[0].sysNodePaths,
              std::vector<std::string>{"/sys/class/thermal/thermal_zone0/sustainable_power"});
}

TEST_F(MachineScan, TheBoardHasTheNameOfTheDeviceTree) {
    Put("proc/device-tree/model", std::string("Board <1>") + '\0');
    EXPECT_EQ(Scan().name, "Board <1>");
}

}  // namespace
}  // namespace corebeacon::board
