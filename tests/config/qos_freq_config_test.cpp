#include <gtest/gtest.h>

#include <memory>

#include "corebeacon/qos_config.h"
#include "support/log_capture.h"
#include "support/scoped_node_io.h"
#include "support/text_nodes.h"

namespace corebeacon {
namespace {

using test::LogCapture;
using test::ScopedNodeIo;
using test::TextNodes;
using Texts = std::vector<std::string>;

constexpr const char* kListPath = "/sys/freqs";
constexpr int kMaxInt = 2147483647;

PerfGroupConfig Range(int availableMin, int availableMax, int baseMin, int baseMax) {
    return PerfGroupConfig("CPU_L", true, availableMin, availableMax, baseMin, baseMax,
                           {"/min", "/max"}, CHIP_TYPE_COMMON);
}

std::vector<int> Ranges(const PerfQosConfig& qos) {
    const PerfGroupConfig& row = qos.groups.at(0);
    return {row.availableMin, row.availableMax, row.baseMin, row.baseMax};
}

/// Each case runs on the compiled-in kind (false) and on a loaded description (true): both have to
/// treat frequencies alike.
class FreqRevision : public testing::TestWithParam<bool> {
protected:
    PerfQosConfig& Make(std::vector<PerfGroupConfig> rows, bool overwriteMaxFreq = false) {
        FreqParameters parameters;
        parameters.availableFreqsPath = kListPath;
        parameters.overwriteMaxFreq = overwriteMaxFreq;
        if (GetParam()) {
            auto loaded = std::make_unique<PerfQosXmlLoadConfig>("CPU", "freq", std::move(rows));
            static_cast<FreqParameters&>(*loaded) = parameters;
            mQos = std::move(loaded);
        } else {
            mQos = std::make_unique<PerfQosFreqConfig>("CPU", std::move(rows), parameters);
        }
        return *mQos;
    }

    /// The ranges of `row` after a revision against this list.
    std::vector<int> Revised(PerfGroupConfig row, const std::string& list,
                             bool overwriteMaxFreq = false) {
        mNodes.texts[kListPath] = list;
        PerfQosConfig& qos = Make({std::move(row)}, overwriteMaxFreq);
        EXPECT_EQ(qos.ReviseGroupConfigValue(0), 0);
        return Ranges(qos);
    }

    using Values = std::vector<int>;

    TextNodes mNodes;
    ScopedNodeIo mScope{mNodes};
    LogCapture mLog;
    std::unique_ptr<PerfQosConfig> mQos;
};

INSTANTIATE_TEST_SUITE_P(Kinds, FreqRevision, testing::Bool(), [](const auto& kind) {
    return kind.param ? std::string("Loaded") : std::string("CompiledIn");
});

TEST_P(FreqRevision, ARowInsideTheNodesRangeStays) {
    EXPECT_EQ(Revised(Range(418000, 1530000, 500000, 1400000), "1530000 418000 418000"),
              (Values{418000, 1530000, 500000, 1400000}));
    EXPECT_TRUE(mLog.Texts().empty());
}

TEST_P(FreqRevision, TheMinimaRiseAndTheMaximaFallToTheNodes) {
    EXPECT_EQ(Revised(Range(300, 2000, 400, 1900), "500 1000 1500"),
              (Values{500, 1500, 500, 1500}));
    EXPECT_EQ(mLog.Texts(), (Texts{
                                "adjust available min freq 300->500",
                                "adjust base min freq 400->500",
                                "adjust available max freq 2000->1500",
                                "adjust base max freq 1900->1500",
                            }));
    EXPECT_EQ(mLog.Texts(4).size(), 4U);
    EXPECT_EQ(mLog.Lines()[0].tag, "PF_CONFIG");
}

TEST_P(FreqRevision, AvailableAndBaseAreAdjustedIndependently) {
    EXPECT_EQ(Revised(Range(300, 2000, 600, 1400), "500 1500"), (Values{500, 1500, 600, 1400}));
    EXPECT_EQ(mLog.Texts(), (Texts{"adjust available min freq 300->500",
                                   "adjust available max freq 2000->1500"}));
    mLog.Clear();
    EXPECT_EQ(Revised(Range(600, 1400, 300, 2000), "500 1500"), (Values{600, 1400, 500, 1500}));
    EXPECT_EQ(mLog.Texts(),
              (Texts{"adjust base min freq 300->500", "adjust base max freq 2000->1500"}));
}

TEST_P(FreqRevision, TheRowsValuesAreComparedAsSignedNumbers) {
    EXPECT_EQ(Revised(Range(-1, 100, -1, 100), "0 100"), (Values{0, 100, 0, 100}));
    EXPECT_EQ(mLog.Texts(), (Texts{"adjust available min freq 4294967295->0",
                                   "adjust base min freq 4294967295->0"}));
}

TEST_P(FreqRevision, WithoutOverwritingNothingIsConverted) {
    EXPECT_EQ(Revised(Range(418000, 2000000, 418000, 2000000), "400000000 3000000000"),
              (Values{400000000, 2000000, 400000000, 2000000}));
}

TEST_P(FreqRevision, NodeValuesBeyondARowsFieldAreHeldAtItsEnd) {
    EXPECT_EQ(Revised(Range(1, 2, 1, 2), "3000000000"), (Values{kMaxInt, 2, kMaxInt, 2}));
    EXPECT_EQ(Revised(Range(-5, 2, -5, 2), "-9000000000"),
              (Values{-5, -2147483647 - 1, -5, -2147483647 - 1}));
}

TEST_P(FreqRevision, OverwritingARowInKhzDividesTheNodesHz) {
    EXPECT_EQ(Revised(Range(418000, 0, 418000, 0), "2133000000 547000000", true),
              (Values{547000, 2133000, 547000, 2133000}));
    EXPECT_EQ(mLog.Texts(), (Texts{
                                "overwrite max freq 0 0 ->2133000000",
                                "adjust available min freq 418000->547000",
                                "adjust base min freq 418000->547000",
                            }));
    EXPECT_EQ(mLog.Texts(4).size(), 3U);
}

TEST_P(FreqRevision, TheRowsOwnMinimumTellsItsUnit) {
    // Seven digits are kHz, eight are Hz.
    EXPECT_EQ(Revised(Range(9999999, 0, 9999999, 0), "20000000000", true),
              (Values{20000000, 20000000, 20000000, 20000000}));
    EXPECT_EQ(Revised(Range(10000000, 0, 10000000, 0), "20000000", true),
              (Values{20000000, 20000000, 20000000, 20000000}));
    // Zero and negative minima count one digit.
    EXPECT_EQ(Revised(Range(0, 0, 0, 0), "5000 9000", true), (Values{5, 9, 5, 9}));
    EXPECT_EQ(Revised(Range(-5, 0, -5, 0), "5000 9000", true), (Values{5, 9, 5, 9}));
}

TEST_P(FreqRevision, AKhzMaximumBeyondARowsFieldIsHeldAtItsEnd) {
    EXPECT_EQ(Revised(Range(418000, 5, 418000, 6), "418000000 2147483648000", true),
              (Values{418000, kMaxInt, 418000, kMaxInt}));
    EXPECT_EQ(mLog.Texts(), (Texts{"overwrite max freq 5 6 ->2147483648000",
                                   "[CPU] availableMax freq can not use KHZ!"}));
    EXPECT_EQ(mLog.Count(5, "[CPU] availableMax freq can not use KHZ!"), 1U);
    mLog.Clear();
    EXPECT_EQ(Revised(Range(418000, 5, 418000, 6), "418000000 2147483647999", true),
              (Values{418000, kMaxInt, 418000, kMaxInt}));
    EXPECT_TRUE(mLog.Texts(5).empty());
}

TEST_P(FreqRevision, AHzMaximumBeyondARowsFieldIsHeldAtItsEnd) {
    EXPECT_EQ(Revised(Range(300000000, 5, 300000000, 6), "300000000 2147483648", true),
              (Values{300000000, kMaxInt, 300000000, kMaxInt}));
    EXPECT_EQ(mLog.Count(5, "[CPU] availableMax freq can not use HZ!"), 1U);
    mLog.Clear();
    EXPECT_EQ(Revised(Range(300000000, 5, 300000000, 6), "300000000 2147483647", true),
              (Values{300000000, kMaxInt, 300000000, kMaxInt}));
    EXPECT_TRUE(mLog.Texts(5).empty());
}

TEST_P(FreqRevision, AMissingListVoidsTheQos) {
    PerfQosConfig& qos = Make({Range(1, 2, 1, 2)});
    EXPECT_EQ(qos.ReviseGroupConfigValue(0), -1);
    EXPECT_EQ(mLog.Texts(6),
              (Texts{"[CPU] freq list node open fail: /sys/freqs", "[CPU] getAvlFreqs failed!"}));
    EXPECT_EQ(Ranges(qos), (Values{1, 2, 1, 2}));
}

TEST_P(FreqRevision, AnEmptyListVoidsTheQos) {
    mNodes.texts[kListPath] = "\n";
    EXPECT_EQ(Make({Range(1, 2, 1, 2)}).ReviseGroupConfigValue(0), -1);
    EXPECT_EQ(mLog.Texts(6), (Texts{"[CPU] freqList read empty", "[CPU] getAvlFreqs failed!"}));
}

TEST_P(FreqRevision, AnythingButOneRowVoidsTheQos) {
    mNodes.texts[kListPath] = "5";
    PerfQosConfig& two = Make({Range(1, 9, 1, 9), Range(1, 9, 1, 9)});
    EXPECT_EQ(two.ReviseGroupConfigValue(0), -1);
    EXPECT_EQ(Ranges(two), (Values{1, 9, 1, 9}));
    EXPECT_EQ(Make({}).ReviseGroupConfigValue(0), -1);
    EXPECT_EQ(mLog.Texts(6), (Texts{"[CPU] invalid group num: 2", "[CPU] invalid group num: 0"}));
}

TEST(FreqOperations, BothKindsReadAListAndNarrowToOne) {
    TextNodes nodes;
    const ScopedNodeIo scope(nodes);
    LogCapture log;
    nodes.texts["/other"] = "30 10 20";
    PerfQosFreqConfig compiled("CPU", {Range(1, 99, 1, 99)}, {});
    PerfQosXmlLoadConfig loaded("CPU", "freq", {Range(1, 99, 1, 99)});
    std::vector<std::int64_t> freqs;
    EXPECT_EQ(compiled.GetAvlFreqs("/other", freqs), 0);
    EXPECT_EQ(freqs, (std::vector<std::int64_t>{10, 20, 30}));
    freqs.clear();
    EXPECT_EQ(loaded.FreqGetAvlFreqs("/other", freqs), 0);
    EXPECT_EQ(freqs, (std::vector<std::int64_t>{10, 20, 30}));
    EXPECT_EQ(compiled.GetAvlFreqs("/none", freqs), -1);
    EXPECT_EQ(loaded.FreqGetAvlFreqs("/none", freqs), -1);
    EXPECT_EQ(log.Count(6, "[CPU] freq list node open fail: /none"), 2U);

    compiled.AdjustMinMax(freqs);
    loaded.FreqAdjustMinMax(freqs);
    EXPECT_EQ(Ranges(compiled), (std::vector<int>{10, 30, 10, 30}));
    EXPECT_EQ(Ranges(loaded), (std::vector<int>{10, 30, 10, 30}));
}

TEST(FreqOperations, WithoutAListOrASingleRowNothingIsNarrowed) {
    PerfQosFreqConfig one("CPU", {Range(1, 99, 1, 99)}, {});
    one.AdjustMinMax({});
    EXPECT_EQ(Ranges(one), (std::vector<int>{1, 99, 1, 99}));
    PerfQosFreqConfig two("CPU", {Range(1, 99, 1, 99), Range(1, 99, 1, 99)}, {});
    two.AdjustMinMax({10});
    EXPECT_EQ(Ranges(two), (std::vector<int>{1, 99, 1, 99}));
}

/// A host's kind that knows the kernel to list one frequency too many.
class CorrectedFreqConfig : public PerfQosFreqConfig {
public:
    using PerfQosFreqConfig::PerfQosFreqConfig;
    void AdjustFreqsByProperty(unsigned int chipType, std::vector<std::int64_t>& freqs) override {
        if (property == "no-top-on-2" && chipType == 2) {
            freqs.pop_back();
        }
    }
};

TEST(FreqOperations, AHostsKindMayCorrectTheListByItsProperty) {
    TextNodes nodes;
    const ScopedNodeIo scope(nodes);
    nodes.texts[kListPath] = "10 20 30";
    FreqParameters parameters;
    parameters.availableFreqsPath = kListPath;
    parameters.property = "no-top-on-2";
    CorrectedFreqConfig other("CPU", {Range(1, 99, 1, 99)}, parameters);
    EXPECT_EQ(other.ReviseGroupConfigValue(1), 0);
    EXPECT_EQ(Ranges(other), (std::vector<int>{10, 30, 10, 30}));
    CorrectedFreqConfig second("CPU", {Range(1, 99, 1, 99)}, parameters);
    EXPECT_EQ(second.ReviseGroupConfigValue(2), 0);
    EXPECT_EQ(Ranges(second), (std::vector<int>{10, 20, 10, 20}));
}

TEST(FreqOperations, TheMemorysKindIsRevisedAsAFrequency) {
    TextNodes nodes;
    const ScopedNodeIo scope(nodes);
    nodes.texts[kListPath] = "418000000 1866000000";
    FreqParameters freq;
    freq.availableFreqsPath = kListPath;
    freq.overwriteMaxFreq = true;
    PerfQosDdrConfig ddr(
        "DDR",
        {PerfGroupConfig("DDR", true, 418000, 418000, {"/dev/memory_bandwidth"}, CHIP_TYPE_COMMON)},
        freq, {.levelTable = {{1, {"418000"}}}, .bandwidthCoefficient = {8.0F, 9.6F}});
    EXPECT_EQ(ddr.ReviseGroupConfigValue(0), 0);
    EXPECT_EQ(Ranges(ddr), (std::vector<int>{418000, 1866000, 418000, 1866000}));
    EXPECT_FLOAT_EQ(ddr.bandwidthCoefficient.Of(false), 8.0F);
    EXPECT_EQ(ddr.levelTable.size(), 1U);
}

}  // namespace
}  // namespace corebeacon
