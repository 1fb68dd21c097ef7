#include "corebeacon/qos_config.h"

#include <gtest/gtest.h>

#include "corebeacon/control_info.h"
#include "support/log_capture.h"

namespace corebeacon {
namespace {

using test::LogCapture;
using Texts = std::vector<std::string>;

const std::vector<std::string> kPair{"/policy0/min", "/policy0/max"};

PerfGroupConfig Row(ChipTypeAvailableValue chip, unsigned int groupId = 0) {
    return PerfGroupConfig(groupId, "row" + std::to_string(chip), 0, kPair, chip);
}

PerfConfigControlInfo Chip(unsigned int chip) {
    PerfConfigControlInfo info;
    info.chipType = static_cast<ChipTypeAvailableValue>(chip);
    return info;
}

/// The chip types of the rows that survive on `chip`.
std::vector<unsigned int> Surviving(PerfQosConfig& qos, unsigned int chip) {
    EXPECT_EQ(qos.GetGroupConfigByChipType(0, Chip(chip)), 0);
    std::vector<unsigned int> chips;
    for (const PerfGroupConfig& row : qos.groups) {
        chips.push_back(row.chipType);
    }
    return chips;
}

using Chips = std::vector<unsigned int>;

PerfQosConfig ThreeChips() {
    return PerfQosConfig(
        "CPU", {Row(CHIP_TYPE_COMMON), Row(CHIP_TYPE_VARIANT_1), Row(CHIP_TYPE_VARIANT_2)});
}

TEST(ChipSelection, TheRunningChipsOwnRowIsLeft) {
    PerfQosConfig first = ThreeChips();
    EXPECT_EQ(Surviving(first, 1), Chips{1});
    PerfQosConfig second = ThreeChips();
    EXPECT_EQ(Surviving(second, 2), Chips{2});
}

TEST(ChipSelection, WithoutARowOfItsOwnAChipGetsTheCommonOne) {
    PerfQosConfig common = ThreeChips();
    EXPECT_EQ(Surviving(common, 0), Chips{0});
    PerfQosConfig unknown = ThreeChips();
    EXPECT_EQ(Surviving(unknown, 77), Chips{0});
}

TEST(ChipSelection, TheOrderOfRowsDoesNotMatter) {
    PerfQosConfig qos("CPU",
                      {Row(CHIP_TYPE_VARIANT_2), Row(CHIP_TYPE_VARIANT_1), Row(CHIP_TYPE_COMMON)});
    EXPECT_EQ(Surviving(qos, 1), Chips{1});
}

TEST(ChipSelection, ASingleRowIsKeptWhateverItsChip) {
    PerfQosConfig qos("GPU", {Row(CHIP_TYPE_VARIANT_2)});
    EXPECT_EQ(Surviving(qos, 1), Chips{2});
}

TEST(ChipSelection, TwoCommonRowsWithoutAMatchLeaveNone) {
    PerfQosConfig qos("GPU", {Row(CHIP_TYPE_COMMON), Row(CHIP_TYPE_COMMON)});
    EXPECT_EQ(Surviving(qos, 1), Chips{});
}

TEST(ChipSelection, ASecondPassChangesNothing) {
    PerfQosConfig qos = ThreeChips();
    Surviving(qos, 1);
    EXPECT_EQ(Surviving(qos, 2), Chips{1});
}

TEST(ChipSelection, AQosWithoutRowsStaysWithout) {
    PerfQosConfig qos("NONE", {});
    EXPECT_EQ(Surviving(qos, 0), Chips{});
}

PerfQosTargetRatioConfig RatioWithTwoChips() {
    return PerfQosTargetRatioConfig(
        "MEMLAT",
        {Row(CHIP_TYPE_COMMON, 0), Row(CHIP_TYPE_VARIANT_2, 0), Row(CHIP_TYPE_COMMON, 1)});
}

TEST(ChipSelection, ATargetRatioKeepsItsMonitorSwitchOnEveryChip) {
    PerfQosTargetRatioConfig own = RatioWithTwoChips();
    EXPECT_EQ(Surviving(own, 2), (Chips{2, 0}));
    EXPECT_EQ(own.groups[0].groupId, 0U);
    EXPECT_EQ(own.groups[1].groupId, 1U);

    PerfQosTargetRatioConfig common = RatioWithTwoChips();
    EXPECT_EQ(Surviving(common, 1), (Chips{0, 0}));
    EXPECT_EQ(common.groups[0].groupId, 0U);
    EXPECT_EQ(common.groups[1].groupId, 1U);
}

TEST(ChipSelection, ATargetRatioOfTwoRowsIsKeptAsItIs) {
    PerfQosTargetRatioConfig qos("MEMLAT", {Row(CHIP_TYPE_VARIANT_1, 0), Row(CHIP_TYPE_COMMON, 1)});
    EXPECT_EQ(Surviving(qos, 2), (Chips{1, 0}));
}

TEST(ChipSelection, ALoadedDescriptionIsNarrowedUnlessItNeedsAllItsRows) {
    for (const char* type : {"eas", "memlat"}) {
        PerfQosXmlLoadConfig qos("X", type, {Row(CHIP_TYPE_COMMON), Row(CHIP_TYPE_VARIANT_1)});
        EXPECT_EQ(Surviving(qos, 1), (Chips{0, 1})) << type;
    }
    for (const char* type : {"freq", "", "Eas"}) {
        PerfQosXmlLoadConfig own("X", type, {Row(CHIP_TYPE_COMMON), Row(CHIP_TYPE_VARIANT_1)});
        EXPECT_EQ(Surviving(own, 1), Chips{1}) << type;
        PerfQosXmlLoadConfig common("X", type, {Row(CHIP_TYPE_COMMON), Row(CHIP_TYPE_VARIANT_1)});
        EXPECT_EQ(Surviving(common, 2), Chips{0}) << type;
        PerfQosXmlLoadConfig single("X", type, {Row(CHIP_TYPE_VARIANT_1)});
        EXPECT_EQ(Surviving(single, 2), Chips{1}) << type;
    }
}

TEST(ChipSelection, EasNeedsAllItsRowsOnEveryChip) {
    PerfQosEasConfig qos("EAS", {Row(CHIP_TYPE_COMMON, 0), Row(CHIP_TYPE_VARIANT_1, 1)}, {});
    EXPECT_EQ(Surviving(qos, 2), (Chips{0, 1}));
}

PerfQosConfig ThreeClusters() {
    return PerfQosConfig(
        "LOAD",
        {PerfGroupConfig("LOAD", 100, {"/policy0/x", "/policy1/x", "/policy2/x"},
                         {{90, {"a0", "a1", "a2"}}, {100, {"b0", "b1", "b2"}}}, CHIP_TYPE_COMMON)});
}

TEST(InvalidClusters, APathGoesTogetherWithItsColumnOfEveryLevel) {
    PerfQosConfig qos = ThreeClusters();
    std::vector<std::string> clusters{"policy1"};
    EXPECT_FALSE(qos.IsQosConfigValidByInvalidCluster(0, clusters));
    ASSERT_EQ(qos.groups.size(), 1U);
    EXPECT_EQ(qos.groups[0].sysNodePaths, (Texts{"/policy0/x", "/policy2/x"}));
    EXPECT_EQ(qos.groups[0].level2ValueMap,
              (Level2ValueMap{{90, {"a0", "a2"}}, {100, {"b0", "b2"}}}));
}

TEST(InvalidClusters, NeighbouringPathsAllGo) {
    PerfQosConfig qos = ThreeClusters();
    std::vector<std::string> clusters{"policy0", "policy1"};
    EXPECT_FALSE(qos.IsQosConfigValidByInvalidCluster(0, clusters));
    EXPECT_EQ(qos.groups[0].sysNodePaths, Texts{"/policy2/x"});
    EXPECT_EQ(qos.groups[0].level2ValueMap, (Level2ValueMap{{90, {"a2"}}, {100, {"b2"}}}));
}

TEST(InvalidClusters, AQosWithoutAnyNodeLeftIsVoid) {
    PerfQosConfig qos = ThreeClusters();
    std::vector<std::string> clusters{"policy"};
    EXPECT_TRUE(qos.IsQosConfigValidByInvalidCluster(0, clusters));
    EXPECT_TRUE(qos.groups.empty());
}

TEST(InvalidClusters, OnlyTheRowsWithoutNodesGo) {
    PerfQosConfig qos(
        "LOAD", {PerfGroupConfig("L", 100, {"/policy0/x"}, {{100, {"l"}}}, CHIP_TYPE_COMMON),
                 PerfGroupConfig("M", 100, {"/policy1/x"}, {{100, {"m"}}}, CHIP_TYPE_COMMON),
                 PerfGroupConfig("B", 100, {"/policy2/x"}, {{100, {"b"}}}, CHIP_TYPE_COMMON)});
    std::vector<std::string> clusters{"policy0", "policy2"};
    EXPECT_FALSE(qos.IsQosConfigValidByInvalidCluster(0, clusters));
    ASSERT_EQ(qos.groups.size(), 1U);
    EXPECT_EQ(qos.groups[0].name, "M");
    EXPECT_EQ(qos.groups[0].level2ValueMap, (Level2ValueMap{{100, {"m"}}}));
}

TEST(InvalidClusters, NoneOrAnEmptyNameChangesNothing) {
    for (std::vector<std::string> clusters : {Texts{}, Texts{""}, Texts{"policy3"}}) {
        PerfQosConfig qos = ThreeClusters();
        EXPECT_FALSE(qos.IsQosConfigValidByInvalidCluster(0, clusters));
        EXPECT_EQ(qos.groups[0].sysNodePaths.size(), 3U);
        EXPECT_EQ(qos.groups[0].level2ValueMap, ThreeClusters().groups[0].level2ValueMap);
    }
}

TEST(InvalidClusters, TheIndexEndsAsTheNumberOfPathsLeft) {
    PerfQosConfig qos = ThreeClusters();
    PerfGroupConfig& row = qos.groups[0];
    unsigned short index = 0;
    qos.RemoveInvalidClusterConfig({"policy0"}, row.sysNodePaths, row.level2ValueMap, index);
    EXPECT_EQ(index, 2);
}

TEST(InvalidClusters, ALevelThatLacksTheColumnEndsTheRemovalWithAWarning) {
    LogCapture log;
    PerfQosConfig qos("LOAD", {});
    Level2ValueMap levels{{1, {"a", "b"}}, {2, {"c"}}, {3, {"d", "e"}}};
    qos.RemoveValueFromLevel2ValueMap(1, levels);
    EXPECT_EQ(levels, (Level2ValueMap{{1, {"a"}}, {2, {"c"}}, {3, {"d", "e"}}}));
    ASSERT_EQ(log.Lines().size(), 1U);
    EXPECT_EQ(log.Lines()[0].tag, "PF_CONFIG");
    EXPECT_EQ(log.Count(5, "[LOAD] count : 1 is invalid, can not remove value!"), 1U);
}

TEST(Revision, LevelMappedRowsGetTheirRangeFromTheirLevels) {
    PerfQosConfig qos("LOAD", {PerfGroupConfig("LOAD", 100, kPair, {}, CHIP_TYPE_COMMON), Row({})});
    qos.groups[0].level2ValueMap = {{80, {"a", "b"}}, {140, {"c", "d"}}};
    EXPECT_EQ(qos.ReviseGroupConfigValue(0), 0);
    EXPECT_EQ(qos.groups[0].availableMin, 80);
    EXPECT_EQ(qos.groups[0].availableMax, 140);
    EXPECT_EQ(qos.groups[0].baseMin, 100);
    EXPECT_EQ(qos.groups[0].baseMax, 140);
    EXPECT_EQ(qos.groups[1].availableMax, 0);
}

TEST(Revision, ThePowerBudgetNeedsExactlyOneRow) {
    LogCapture log;
    PerfQosIpaPowerConfig one("IPA_POWER", {Row(CHIP_TYPE_COMMON)}, {});
    EXPECT_EQ(one.ReviseGroupConfigValue(0), 0);
    EXPECT_TRUE(log.Texts().empty());
    PerfQosIpaPowerConfig none("IPA_POWER", {}, {});
    EXPECT_EQ(none.ReviseGroupConfigValue(0), -1);
    PerfQosIpaPowerConfig two("IPA_POWER", {Row({}), Row({})}, {});
    EXPECT_EQ(two.ReviseGroupConfigValue(0), -1);
    EXPECT_EQ(log.Texts(6),
              (Texts{"[IPA_POWER] invalid group num: 0", "[IPA_POWER] invalid group num: 2"}));
}

TEST(KindRecords, EveryOriginHasItsOwnVariant) {
    const ByOrigin<std::string> path{"first", "second"};
    EXPECT_EQ(path.Of(false), "first");
    EXPECT_EQ(path.Of(true), "second");
}

TEST(KindRecords, TheDefaultsAreTheBuiltInNumbers) {
    const PerfQosXmlLoadConfig qos("X", "other", {});
    for (const bool isLoaded : {false, true}) {
        EXPECT_FLOAT_EQ(qos.bandwidthCoefficient.Of(isLoaded), 9.6F);
        EXPECT_EQ(qos.thresholds.Of(isLoaded).socSwitch, 10000);
        EXPECT_EQ(qos.thresholds.Of(isLoaded).boardSwitch, 9999);
        EXPECT_EQ(qos.gpuTopFreqPath.Of(isLoaded), "");
    }
}

TEST(KindRecords, ALoadedDescriptionHoldsTheRecordOfEveryKind) {
    const PerfQosXmlLoadConfig loaded("X", "other", {});
    const PerfQosConfig* qos = &loaded;
    EXPECT_NE(dynamic_cast<const FreqParameters*>(qos), nullptr);
    EXPECT_NE(dynamic_cast<const DdrParameters*>(qos), nullptr);
    EXPECT_NE(dynamic_cast<const EasParameters*>(qos), nullptr);
    EXPECT_NE(dynamic_cast<const IpaPowerParameters*>(qos), nullptr);
}

TEST(KindRecords, ACompiledInKindHoldsItsOwnOnly) {
    const PerfQosDdrConfig ddr("DDR", {}, {}, {});
    const PerfQosConfig* qos = &ddr;
    EXPECT_NE(dynamic_cast<const FreqParameters*>(qos), nullptr);
    EXPECT_NE(dynamic_cast<const DdrParameters*>(qos), nullptr);
    EXPECT_EQ(dynamic_cast<const EasParameters*>(qos), nullptr);
    const PerfQosConfig plain("PLAIN", {});
    qos = &plain;
    EXPECT_EQ(dynamic_cast<const IpaPowerParameters*>(qos), nullptr);
}

}  // namespace
}  // namespace corebeacon
