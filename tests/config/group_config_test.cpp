#include "corebeacon/group_config.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>

#include "config/decimal_digits.h"
#include "corebeacon/builtin_config.h"

namespace corebeacon {
namespace {

const std::vector<std::string> kNodes{"/n/0", "/n/1"};
const Level2ValueMap kLevels{{90, {"a", "b"}}, {100, {"c", "d"}}, {130, {"e", "f"}}};

void ExpectRanges(const PerfGroupConfig& row, int availableMin, int availableMax, int baseMin,
                  int baseMax) {
    EXPECT_EQ(row.availableMin, availableMin);
    EXPECT_EQ(row.availableMax, availableMax);
    EXPECT_EQ(row.baseMin, baseMin);
    EXPECT_EQ(row.baseMax, baseMax);
}

TEST(PerfGroupConfig, AFullRangeRowHoldsAllThatItIsGiven) {
    const PerfGroupConfig row("CPU", true, 10, 90, 20, 80, kNodes, CHIP_TYPE_VARIANT_1);
    EXPECT_EQ(row.name, "CPU");
    EXPECT_EQ(row.groupId, 0U);
    EXPECT_TRUE(row.rangeFlag);
    ExpectRanges(row, 10, 90, 20, 80);
    EXPECT_EQ(row.sysNodePaths, kNodes);
    EXPECT_TRUE(row.level2ValueMap.empty());
    EXPECT_EQ(row.chipType, CHIP_TYPE_VARIANT_1);
}

TEST(PerfGroupConfig, ARowWithoutMaximaHasThemAtZero) {
    const PerfGroupConfig row("DDR", true, 418000, 418001, kNodes, CHIP_TYPE_COMMON);
    EXPECT_TRUE(row.rangeFlag);
    EXPECT_EQ(row.groupId, 0U);
    ExpectRanges(row, 418000, 0, 418001, 0);
    EXPECT_EQ(row.sysNodePaths, kNodes);
}

TEST(PerfGroupConfig, ARowAwaitingItsLevelsHasOnlyItsDefault) {
    const PerfGroupConfig row(3U, std::string("TOP_APP"), 7, kNodes, CHIP_TYPE_VARIANT_2);
    EXPECT_EQ(row.name, "TOP_APP");
    EXPECT_EQ(row.groupId, 3U);
    EXPECT_FALSE(row.rangeFlag);
    ExpectRanges(row, 0, 0, 7, 0);
    EXPECT_EQ(row.sysNodePaths, kNodes);
    EXPECT_EQ(row.chipType, CHIP_TYPE_VARIANT_2);
}

TEST(PerfGroupConfig, ANumberedRangeRowIsNeverClamping) {
    const PerfGroupConfig row(4U, std::string("SWITCH"), 0, 1, 0, 1, kNodes, CHIP_TYPE_COMMON);
    EXPECT_EQ(row.groupId, 4U);
    EXPECT_FALSE(row.rangeFlag);
    ExpectRanges(row, 0, 1, 0, 1);
    EXPECT_EQ(row.sysNodePaths, kNodes);
}

TEST(PerfGroupConfig, ALevelMappedRowTakesItsRangeFromTheLevels) {
    const PerfGroupConfig row("LOAD", 100, kNodes, kLevels, CHIP_TYPE_VARIANT_2);
    EXPECT_EQ(row.groupId, 0U);
    EXPECT_FALSE(row.rangeFlag);
    ExpectRanges(row, 90, 130, 100, 130);
    EXPECT_EQ(row.level2ValueMap, kLevels);
    EXPECT_EQ(row.chipType, CHIP_TYPE_VARIANT_2);
}

TEST(PerfGroupConfig, ANumberedLevelMappedRowDoesToo) {
    const PerfGroupConfig row(1U, "ENABLE", 100, kNodes, kLevels, CHIP_TYPE_COMMON);
    EXPECT_EQ(row.groupId, 1U);
    EXPECT_EQ(row.name, "ENABLE");
    ExpectRanges(row, 90, 130, 100, 130);
    EXPECT_EQ(row.sysNodePaths, kNodes);
}

TEST(PerfGroupConfig, ALevelMappedRowWithoutLevelsKeepsItsRangeAtZero) {
    const PerfGroupConfig row("LOAD", 100, kNodes, {}, CHIP_TYPE_COMMON);
    ExpectRanges(row, 0, 0, 100, 0);
}

TEST(PerfGroupConfig, CopiesAreIndependent) {
    const PerfGroupConfig original("LOAD", 100, kNodes, kLevels, CHIP_TYPE_COMMON);
    PerfGroupConfig copy("X", 0, {}, {}, CHIP_TYPE_COMMON);
    copy = original;
    copy.sysNodePaths.clear();
    copy.level2ValueMap.clear();
    EXPECT_EQ(original.sysNodePaths, kNodes);
    EXPECT_EQ(original.level2ValueMap, kLevels);
    PerfGroupConfig moved("X", 0, {}, {}, CHIP_TYPE_COMMON);
    moved = PerfGroupConfig(original);
    EXPECT_EQ(moved.level2ValueMap, kLevels);
    EXPECT_EQ(moved.name, "LOAD");
}

TEST(DecimalDigits, ZeroAndNegativesCountOne) {
    EXPECT_EQ(CountDigits(0), 1);
    EXPECT_EQ(CountDigits(-1), 1);
    EXPECT_EQ(CountDigits(-123456789), 1);
}

TEST(DecimalDigits, PowersOfTenBeginANewDigit) {
    std::int64_t power = 1;
    for (int digits = 1; digits <= 18; ++digits) {
        power *= 10;
        EXPECT_EQ(CountDigits(power - 1), digits);
        EXPECT_EQ(CountDigits(power), digits + 1);
    }
}

TEST(ControlInfo, TheBuiltInRecordNamesTheNodesAndNumbersOfThePlatform) {
    const ControlInfoConfig& info = GetcontrolInfo();
    EXPECT_EQ(info.chipTypePath, "/proc/device-tree/vexa,chiptype");
    EXPECT_EQ(info.thermalZoneTypePath, "/sys/class/thermal/thermal_zone1/type");
    EXPECT_EQ(info.cpuBoostPath, "/sys/devices/system/cpu/cpufreq/boost");
    EXPECT_EQ(info.maxFreqThreshold, 1892000);
    EXPECT_EQ(info.reserved1, 0);
    EXPECT_EQ(info.reserved2, 0);
    EXPECT_EQ(info.cpuMask, "3f0");
    EXPECT_EQ(info.valueA, 1500);
    EXPECT_TRUE(info.invalidClusters.empty());
    EXPECT_EQ(info.cpuTopologyPaths,
              (std::vector<std::string>{
                  "/sys/devices/system/cpu/possible",
                  "/sys/devices/system/cpu/cpu*/topology/core_siblings",
                  "/sys/devices/system/cpu/cpu*/topology/physical_package_id",
              }));
    EXPECT_EQ(info.valueB, 1000);
}

TEST(ControlInfo, EveryCallGivesTheSameRecord) {
    EXPECT_EQ(&GetcontrolInfo(), &GetcontrolInfo());
}

TEST(ControlInfo, ItsFieldsFollowTheOrderOfItsConstructor) {
    ControlInfoConfig info("a", "b", "c", 1, 2, 3, "d", 4, {"policy2"}, {"e"}, 5);
    info = ControlInfoConfig(info);
    EXPECT_EQ(info.chipTypePath + info.thermalZoneTypePath + info.cpuBoostPath + info.cpuMask,
              "abcd");
    EXPECT_EQ(info.maxFreqThreshold, 1);
    EXPECT_EQ(info.reserved1, 2);
    EXPECT_EQ(info.reserved2, 3);
    EXPECT_EQ(info.valueA, 4);
    EXPECT_EQ(info.invalidClusters, (std::set<std::string>{"policy2"}));
    EXPECT_EQ(info.cpuTopologyPaths, std::vector<std::string>{"e"});
    EXPECT_EQ(info.valueB, 5);
}

TEST(ControlInfo, AMachineIsPlainUntilToldOtherwise) {
    const PerfConfigControlInfo facts;
    EXPECT_EQ(facts.chipType, CHIP_TYPE_COMMON);
    EXPECT_TRUE(facts.invalidClusters.empty());
    EXPECT_FALSE(facts.cpuBoostEnabled);
    EXPECT_FALSE(facts.boardIpaEnabled);
}

}  // namespace
}  // namespace corebeacon
