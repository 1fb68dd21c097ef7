#include "config/qos_amendments.h"

#include <gtest/gtest.h>

#include "corebeacon/builtin_config.h"
#include "support/log_capture.h"
#include "support/scoped_node_io.h"
#include "support/text_nodes.h"

namespace corebeacon {
namespace {

using test::LogCapture;
using Texts = std::vector<std::string>;

constexpr const char* kBoardName = "/proc/device-tree/vexa,boardname";
constexpr const char* kBigClusterFreqs =
    "/sys/devices/system/cpu/cpufreq/policy2/scaling_available_frequencies";
constexpr const char* kNothingForTheBigCluster = "no need amend eas value map!";

const Level2ValueMap kFormerLevels = {{100, {"old"}}};
const Level2ValueMap kNewLevels = {{90, {"slow"}}, {100, {"fast"}}};

// A table of a level-mapped QoS with two rows and an EAS QoS, on a machine whose nodes are all
// there.
class QosAmendmentsTest : public ::testing::Test {
protected:
    QosAmendmentsTest() {
        mNodes.texts[kBigClusterFreqs] = "1239000 2487000 1805000\n";
        mNodes.texts[kBoardName] = "maker family board-x";
        mAmendments.maxFreqToVariant = {{2487000, 7}};
        mAmendments.variantToEasValueMap = {{7, {{10, {.boost = 5, .globalBoost = 1}}}}};
        mAmendments.qosVariantLevelMaps = {{PERF_QOS_LATENCY_CPU, {{7, kNewLevels}}}};
    }

    Texts Amend() {
        const LogCapture log;
        AmendQosTable(mAmendments, mTable);
        for (const auto& line : log.Lines()) {
            EXPECT_EQ(line.level, LOG_LEVEL_INFO);
            EXPECT_EQ(line.tag, "PF_QOSCONFIG");
        }
        return log.Texts();
    }

    void ExpectUnamended() const {
        EXPECT_EQ(mEas.levelToValueMap.size(), 1U);
        EXPECT_EQ(mEas.levelToValueMap.count(20), 1U);
        for (const PerfGroupConfig& row : mLatency.groups) {
            EXPECT_EQ(row.level2ValueMap, kFormerLevels);
            EXPECT_EQ(row.baseMin, 100);
        }
    }

    test::TextNodes mNodes;
    test::ScopedNodeIo mScope{mNodes};
    QosAmendments mAmendments;
    PerfQosConfig mLatency{"LATENCY_CPU",
                           {{"a", 100, {"/a"}, kFormerLevels, CHIP_TYPE_COMMON},
                            {"b", 100, {"/b"}, kFormerLevels, CHIP_TYPE_VARIANT_2}}};
    PerfQosEasConfig mEas{"EAS", {{0, "TOP_APP", 20, {"/eas"}, CHIP_TYPE_COMMON}}, [] {
                              EasParameters parameters;
                              parameters.levelToValueMap = {{20, {.boost = 1, .globalBoost = 0}}};
                              return parameters;
                          }()};
    PerfQosConfigMap mTable{{PERF_QOS_LATENCY_CPU, mLatency}, {PERF_QOS_EAS, mEas}};
};

TEST_F(QosAmendmentsTest, TheHighestFrequencyOfTheBigClusterChoosesTheLevelTables) {
    EXPECT_EQ(Amend(), Texts{});
    ASSERT_EQ(mEas.levelToValueMap.size(), 1U);
    EXPECT_EQ(mEas.levelToValueMap.at(10).boost, 5);
    EXPECT_EQ(mEas.levelToValueMap.at(10).globalBoost, 1U);
    for (const PerfGroupConfig& row : mLatency.groups) {
        EXPECT_EQ(row.level2ValueMap, kNewLevels);
    }
    EXPECT_EQ(mNodes.OpenDescriptors(), 0U);
}

TEST_F(QosAmendmentsTest, AnUnknownHighestFrequencyAmendsNothing) {
    mNodes.texts[kBigClusterFreqs] = "1239000 2487001";
    EXPECT_EQ(Amend(), Texts{kNothingForTheBigCluster});
    ExpectUnamended();
}

TEST_F(QosAmendmentsTest, AFrequencyBeyond32BitsIsNoKey) {
    mNodes.texts[kBigClusterFreqs] = std::to_string((std::int64_t{1} << 32) + 2487000);
    EXPECT_EQ(Amend(), Texts{kNothingForTheBigCluster});
    ExpectUnamended();
}

TEST_F(QosAmendmentsTest, AVariantWithoutTablesAmendsNothing) {
    mAmendments.maxFreqToVariant = {{2487000, 8}};
    EXPECT_EQ(Amend(), Texts{});
    ExpectUnamended();
}

TEST_F(QosAmendmentsTest, AQosThatTheTableLacksIsPassedOver) {
    mAmendments.qosVariantLevelMaps[PERF_QOS_LATENCY_GPU] = {{7, kNewLevels}};
    mAmendments.boardBaseValues = {{PERF_QOS_LATENCY_GPU, 110}, {PERF_QOS_LATENCY_CPU, 90}};
    mTable.erase(PERF_QOS_EAS);
    EXPECT_EQ(Amend(), Texts{});
    EXPECT_EQ(mLatency.groups[0].level2ValueMap, kNewLevels);
    EXPECT_EQ(mLatency.groups[0].baseMin, 90);
    EXPECT_EQ(mEas.levelToValueMap.count(20), 1U);
}

TEST_F(QosAmendmentsTest, AnEasQosWithoutLevelValuesIsPassedOver) {
    PerfQosConfig plain("EAS", {});
    mTable.erase(PERF_QOS_EAS);
    mTable.emplace(PERF_QOS_EAS, plain);
    EXPECT_EQ(Amend(), Texts{});
    EXPECT_EQ(mLatency.groups[0].level2ValueMap, kNewLevels);
}

TEST_F(QosAmendmentsTest, ALoadedEasDescriptionIsAmendedLikeACompiledOne) {
    PerfQosXmlLoadConfig loaded("EAS", "eas", {});
    mTable.erase(PERF_QOS_EAS);
    mTable.emplace(PERF_QOS_EAS, loaded);
    EXPECT_EQ(Amend(), Texts{});
    EXPECT_EQ(loaded.levelToValueMap.count(10), 1U);
}

TEST_F(QosAmendmentsTest, WithoutTheBigClustersListOnlyTheBoardCounts) {
    mNodes.texts.erase(kBigClusterFreqs);
    mAmendments.boardBaseValues = {{PERF_QOS_LATENCY_CPU, 90}};
    EXPECT_EQ(Amend(), (Texts{std::string("freq list node open fail: ") + kBigClusterFreqs,
                              "GetAvlFreqs failed!"}));
    EXPECT_EQ(mLatency.groups[0].level2ValueMap, kFormerLevels);
    EXPECT_EQ(mLatency.groups[0].baseMin, 90);
}

TEST_F(QosAmendmentsTest, AnEmptyListOfTheBigClusterAmendsNothing) {
    mNodes.texts[kBigClusterFreqs] = "\n";
    EXPECT_EQ(Amend(), (Texts{"freqList read empty", "GetAvlFreqs failed!"}));
    ExpectUnamended();
}

TEST_F(QosAmendmentsTest, NoFrequenciesAtAllAmendNothing) {
    const LogCapture log;
    AmendByBigClusterFreqs(mAmendments, {}, mTable);
    EXPECT_EQ(log.Texts(LOG_LEVEL_INFO), Texts{"avlFreqVec is empty!"});
    ExpectUnamended();
}

TEST_F(QosAmendmentsTest, BoardBaseValuesReachEveryRow) {
    mAmendments.boardBaseValues = {{PERF_QOS_LATENCY_CPU, 90}};
    EXPECT_EQ(Amend(), Texts{});
    EXPECT_EQ(mLatency.groups[0].baseMin, 90);
    EXPECT_EQ(mLatency.groups[1].baseMin, 90);
}

TEST_F(QosAmendmentsTest, WithoutABoardNameTheBaseValuesStay) {
    mNodes.texts.erase(kBoardName);
    mAmendments.boardBaseValues = {{PERF_QOS_LATENCY_CPU, 90}};
    EXPECT_EQ(Amend(), Texts{"open chiptype path failed!"});
    EXPECT_EQ(mLatency.groups[0].baseMin, 100);
}

TEST_F(QosAmendmentsTest, ABoardNameThatOpensButCannotBeReadIsNoDevelopmentBoard) {
    mNodes.texts[kBoardName] = "udp";
    mNodes.busy.insert(kBoardName);
    mAmendments.boardBaseValues = {{PERF_QOS_LATENCY_CPU, 90}};
    EXPECT_EQ(Amend(), Texts{});
    EXPECT_EQ(mLatency.groups[0].baseMin, 90);
}

TEST_F(QosAmendmentsTest, AListOfTheBigClusterThatCannotBeReadAmendsNothing) {
    mNodes.busy.insert(kBigClusterFreqs);
    EXPECT_EQ(Amend(), (Texts{"freqList read empty", "GetAvlFreqs failed!"}));
    ExpectUnamended();
}

TEST_F(QosAmendmentsTest, ABoardWhoseLastWordContainsUdpKeepsTheBaseValues) {
    mNodes.texts[kBoardName] = std::string("maker new-udp-board\0", 20);
    mAmendments.boardBaseValues = {{PERF_QOS_LATENCY_CPU, 90}};
    EXPECT_EQ(Amend(), Texts{"chiptype is udp"});
    EXPECT_EQ(mLatency.groups[0].baseMin, 100);
}

TEST_F(QosAmendmentsTest, OnlyTheLastWordOfTheBoardNameCounts) {
    mNodes.texts[kBoardName] = "udp board-x\n";
    mAmendments.boardBaseValues = {{PERF_QOS_LATENCY_CPU, 90}};
    EXPECT_EQ(Amend(), Texts{});
    EXPECT_EQ(mLatency.groups[0].baseMin, 90);
}

TEST_F(QosAmendmentsTest, TheBuiltInTableIsReturnedWithoutABoardNameAfterOneLine) {
    mNodes.texts.erase(kBoardName);
    const LogCapture log;
    EXPECT_EQ(GetPerfQosConfigMap().size(), 49U);
    EXPECT_EQ(log.Texts(), (Texts{kNothingForTheBigCluster, "open chiptype path failed!"}));
}

TEST_F(QosAmendmentsTest, TheBuiltInTableIsReadAfreshOnEveryCall) {
    const LogCapture log;
    EXPECT_EQ(GetPerfQosConfigMap().size(), 49U);
    EXPECT_EQ(log.Texts(), Texts{kNothingForTheBigCluster});
    mNodes.texts[kBoardName] = "udp";
    mNodes.texts.erase(kBigClusterFreqs);
    EXPECT_EQ(GetPerfQosConfigMap().size(), 49U);
    EXPECT_EQ(log.Texts(), (Texts{kNothingForTheBigCluster,
                                  std::string("freq list node open fail: ") + kBigClusterFreqs,
                                  "GetAvlFreqs failed!", "chiptype is udp"}));
}

TEST_F(QosAmendmentsTest, NothingIsLoggedWhileTheSwitchIsOff) {
    mNodes.texts.clear();
    const LogCapture log(0);
    GetPerfQosConfigMap();
    EXPECT_TRUE(log.Lines().empty());
}

}  // namespace
}  // namespace corebeacon
