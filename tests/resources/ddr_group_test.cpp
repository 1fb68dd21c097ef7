#include "resources/ddr_group.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <limits>

#include "resources/node_fixture.h"

namespace corebeacon::test {
namespace {

using sim::Fault;
using sim::OperationKind;

constexpr const char* kNode = "/ddr/node";
constexpr int kHighestInt = std::numeric_limits<int>::max();

PerfGroupConfig Config(int minimum, int maximum) {
    return PerfGroupConfig("DDR", true, minimum, maximum, minimum, maximum, {kNode},
                           CHIP_TYPE_COMMON);
}

const PerfGroupConfig kInKhz = Config(400000, 2133000);
const PerfGroupConfig kInHz = Config(400000000, 2133000000);

class DdrGroupTest : public NodeFixture {
protected:
    DdrGroupTest() { mDevice.AddText(kNode, "-"); }

    DdrGroup& Make(const PerfGroupConfig& config, float coefficient = 9.6F) {
        mGroup = std::make_unique<DdrGroup>(config, PERF_WORK_MODE_0, coefficient);
        return *mGroup;
    }

    /// What becomes of a requested value, which must be accepted.
    int Validated(const PerfGroupConfig& config, int value) {
        EXPECT_EQ(Make(config).OperationValueValidate(value), 0) << value;
        return value;
    }

    /// What a boost writes.
    std::string Written(const PerfGroupConfig& config, float coefficient, int boost) {
        EXPECT_EQ(Make(config, coefficient).DoConfig(boost, kNoLimit), 0);
        const Writes writes = TakeWrites();
        EXPECT_EQ(writes.size(), 1U);
        return writes.empty() ? std::string() : writes.front().second;
    }

    std::unique_ptr<DdrGroup> mGroup;
};

// ---- What is asked for ----

TEST_F(DdrGroupTest, ARequestInHzIsBroughtToKhz) {
    EXPECT_EQ(Validated(kInKhz, 1866000000), 1866000);
    EXPECT_EQ(Validated(kInKhz, 800000999), 800000);
    EXPECT_TRUE(mLog.Texts().empty());
}

TEST_F(DdrGroupTest, ARequestInKhzIsBroughtToHz) {
    EXPECT_EQ(Validated(kInHz, 1866000), 1866000000);
    EXPECT_TRUE(mLog.Texts().empty());
}

TEST_F(DdrGroupTest, ARequestInTheRowsOwnUnitStays) {
    EXPECT_EQ(Validated(kInKhz, 1866000), 1866000);
    EXPECT_EQ(Validated(kInHz, 1866000000), 1866000000);
    EXPECT_TRUE(mLog.Texts().empty());
}

TEST_F(DdrGroupTest, AFrequencyInKhzTooLargeForHzBecomesTheMaximum) {
    EXPECT_EQ(Validated(kInHz, 3000000), 2133000000);
    EXPECT_EQ(mLog.Texts(),
              (Texts{"[DDR] operationValue can not convert from KHZ to HZ, as internal use HZ!",
                     "[DDR] operationValue(2147483647) larger than avl max(2133000000)"}));
    EXPECT_EQ(mLog.Lines()[0].level, 5);
    EXPECT_EQ(mLog.Lines()[0].tag, "PF_DDR_GRP");
    EXPECT_EQ(mLog.Lines()[0].function, "OperationValueValidate");
    EXPECT_EQ(mLog.Lines()[1].level, 3);
    EXPECT_EQ(mLog.Lines()[1].function, "OperationValueValidate");
}

TEST_F(DdrGroupTest, TheLargestFrequencyInKhzThatFitsHzIsConvertedWithoutAWarning) {
    const PerfGroupConfig wide = Config(400000000, kHighestInt);
    EXPECT_EQ(Validated(wide, 2147483), 2147483000);
    EXPECT_TRUE(mLog.Texts().empty());
    EXPECT_EQ(Validated(wide, 2147484), kHighestInt);
    EXPECT_EQ(mLog.Texts(), Texts{"[DDR] operationValue can not convert from KHZ to HZ, as "
                                  "internal use HZ!"});
}

TEST_F(DdrGroupTest, EightDigitsAreLeftAsTheyAre) {
    const PerfGroupConfig wideKhz = Config(400000, 99999999);
    EXPECT_EQ(Validated(wideKhz, 12345678), 12345678);
    EXPECT_EQ(Validated(wideKhz, 99999999), 99999999);
    EXPECT_EQ(Validated(wideKhz, 10000000), 10000000);
    EXPECT_TRUE(mLog.Texts().empty());
    EXPECT_EQ(Validated(kInKhz, 12345678), 2133000) << "and only then brought into range";
    EXPECT_EQ(Validated(kInHz, 12345678), 400000000);
    EXPECT_EQ(mLog.Texts(3),
              (Texts{"[DDR] operationValue(12345678) larger than avl max(2133000)",
                     "[DDR] operationValue(12345678) less than avl min(400000000)"}));
}

TEST_F(DdrGroupTest, DigitsAreCountedExactlyAroundPowersOfTen) {
    const PerfGroupConfig wideKhz = Config(1, 99999999);
    EXPECT_EQ(Validated(wideKhz, 9999999), 9999999);
    EXPECT_EQ(Validated(wideKhz, 100000000), 100000);
    EXPECT_EQ(Validated(wideKhz, 999999999), 999999);
    EXPECT_EQ(Validated(wideKhz, 1000000000), 1000000);
    EXPECT_EQ(Validated(Config(10000000, kHighestInt), 1000000), 1000000000)
        << "a minimum of eight digits is in Hz";
    EXPECT_EQ(Validated(Config(9999999, kHighestInt), 100000000), 9999999)
        << "one of seven digits is in kHz";
}

TEST_F(DdrGroupTest, ValuesOutsideTheRangeAreClampedAndAccepted) {
    EXPECT_EQ(Validated(kInKhz, 1), 400000);
    EXPECT_EQ(Validated(kInKhz, 399999), 400000);
    EXPECT_EQ(Validated(kInKhz, 2133001), 2133000);
    EXPECT_EQ(mLog.Texts(3), (Texts{"[DDR] operationValue(1) less than avl min(400000)",
                                    "[DDR] operationValue(399999) less than avl min(400000)",
                                    "[DDR] operationValue(2133001) larger than avl max(2133000)"}));
    EXPECT_EQ(mLog.Texts().size(), 3U);
    mLog.Clear();
    EXPECT_EQ(Validated(kInKhz, 400000), 400000);
    EXPECT_EQ(Validated(kInKhz, 2133000), 2133000);
    EXPECT_TRUE(mLog.Texts().empty());
}

TEST_F(DdrGroupTest, ClampingDoesNotDependOnTheRow) {
    PerfGroupConfig strict = kInKhz;
    strict.rangeFlag = false;
    EXPECT_EQ(Validated(strict, 300000), 400000);
}

TEST_F(DdrGroupTest, AValueBelowOneIsRefused) {
    for (int value : {0, -1, std::numeric_limits<int>::min()}) {
        const int asked = value;
        EXPECT_EQ(Make(kInKhz).OperationValueValidate(value), -1);
        EXPECT_EQ(value, asked);
    }
    EXPECT_EQ(mLog.Texts(6), Texts(3, "[DDR] operationValue is below zero!"));
    EXPECT_EQ(mLog.Texts().size(), 3U);
}

TEST_F(DdrGroupTest, TheLogSwitchSilencesTheClamping) {
    const LogCapture quiet(1);
    EXPECT_EQ(Validated(kInKhz, 300000), 400000);
    EXPECT_EQ(Validated(kInKhz, 3000000), 2133000);
    EXPECT_EQ(quiet.Texts(), Texts{});
}

TEST_F(DdrGroupTest, ABoostInHzBelowALimitInKhzIsUnderstood) {
    OperationValueMap values{{PERF_OPERATION_BOOST, 800000000}, {PERF_OPERATION_LIMIT, 1866000}};
    EXPECT_EQ(Make(kInKhz).GroupValueValidate(PERF_COMMAND_SHORT_START, values), 0);
    EXPECT_EQ(values,
              (OperationValueMap{{PERF_OPERATION_BOOST, 800000}, {PERF_OPERATION_LIMIT, 1866000}}));
}

// ---- What is written ----

TEST_F(DdrGroupTest, AFrequencyInKhzIsWrittenAsABandwidth) {
    EXPECT_EQ(Written(kInKhz, 8.0F, 1866000), Binary(14928));
    EXPECT_EQ(mLog.Texts(),
              Texts{"############ [DDR] final write: bandwidth=14928, min=1866000 \n"});
    EXPECT_EQ(mLog.Lines()[0].level, 4);
    EXPECT_EQ(mLog.Lines()[0].tag, "PF_DDR_GRP");
    EXPECT_EQ(mLog.Lines()[0].function, "DoConfig");
}

TEST_F(DdrGroupTest, AFrequencyInHzIsWrittenAsTheSameBandwidth) {
    EXPECT_EQ(Written(kInHz, 8.0F, 1866000000), Binary(14928));
    EXPECT_EQ(Written(kInKhz, 9.6F, 1866000), Binary(17913));
    EXPECT_EQ(Written(kInHz, 9.6F, 1866000000), Binary(17913));
}

TEST_F(DdrGroupTest, TheUnitOfABoostChangesFromTheEighthDigitOn) {
    EXPECT_EQ(Written(kInKhz, 8.0F, 9999999), Binary(79999));
    EXPECT_EQ(Written(kInKhz, 8.0F, 10000000), Binary(80));
    EXPECT_EQ(Written(kInKhz, 8.0F, 0), Binary(0));
}

TEST_F(DdrGroupTest, TheBandwidthIsComputedInSinglePrecisionAndTruncated) {
    EXPECT_EQ(Written(kInKhz, 1.0F, 1999), Binary(1));
    EXPECT_EQ(Written(kInKhz, 0.5F, 1999), Binary(0));
    EXPECT_EQ(Written(kInHz, 9.6F, 1041666600), Binary(10000)) << "in double precision 9999";
}

TEST_F(DdrGroupTest, ABandwidthBeyondAnIntIsWrittenAsTheLargestOne) {
    EXPECT_EQ(Written(kInKhz, 1.0e6F, 2147483), Binary(2147483008)) << "the largest float below";
    EXPECT_EQ(Written(kInKhz, 1.0e30F, 2133000), Binary(kHighestInt));
    EXPECT_EQ(Written(kInKhz, std::numeric_limits<float>::infinity(), 2133000),
              Binary(kHighestInt));
}

TEST_F(DdrGroupTest, TheFirstBandwidthThatFitsNoIntIsWrittenAsTheLargestOne) {
    constexpr float kTwoToThe21st = 2097152.0F;
    EXPECT_EQ(Written(kInKhz, kTwoToThe21st, 1024000), Binary(kHighestInt));
}

TEST_F(DdrGroupTest, ANegativeCoefficientWritesTheFrequencyAsANumber) {
    EXPECT_EQ(Written(kInKhz, -0.1F, 1866000), Binary(1866000));
    EXPECT_EQ(mLog.Texts(), Texts{"############ [DDR] final write: min=1866000 \n"});
    EXPECT_EQ(mLog.Lines()[0].level, 4);
    EXPECT_EQ(mLog.Lines()[0].function, "DoConfig");
}

TEST_F(DdrGroupTest, ACoefficientOfZeroWritesTheFrequencyAsText) {
    EXPECT_EQ(Written(kInKhz, 0.0F, 1866000), "1866000");
    EXPECT_EQ(mLog.Texts(), Texts{"############ [DDR] final write (1866000) \n"});
    EXPECT_EQ(mLog.Lines()[0].tag, "PF_SINGLE_NODE_VALUE_GRP");
    EXPECT_EQ(Written(kInKhz, -0.0F, 1866000), "1866000");
}

TEST_F(DdrGroupTest, TheLimitPlaysNoPart) {
    for (const float coefficient : {8.0F, -1.0F, 0.0F}) {
        DdrGroup& group = Make(kInKhz, coefficient);
        group.DoConfig(1866000, 0);
        group.DoConfig(1866000, 400000);
        const Writes writes = TakeWrites();
        ASSERT_EQ(writes.size(), 2U);
        EXPECT_EQ(writes[0], writes[1]);
    }
}

TEST_F(DdrGroupTest, TheLogSwitchSilencesTheWrites) {
    const LogCapture quiet(2);
    EXPECT_EQ(Written(kInKhz, 8.0F, 1866000), Binary(14928));
    EXPECT_EQ(Written(kInKhz, -1.0F, 1866000), Binary(1866000));
    EXPECT_EQ(quiet.Texts(), Texts{});
}

TEST_F(DdrGroupTest, AWriteThatFailsClosesTheNodeAndTheNextOpensItAgain) {
    DdrGroup& group = Make(kInKhz, 8.0F);
    mDevice.Inject(kNode, OperationKind::WRITE, Fault::Errno(EIO));
    EXPECT_EQ(group.DoConfig(1866000, kNoLimit), -1);
    EXPECT_EQ(mLog.Texts(6),
              Texts{"[DDR] 14928 write to /ddr/node failed, errno=5 (Input/output error) \n"});
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
    EXPECT_EQ(group.DoConfig(1866000, kNoLimit), 0);
    EXPECT_EQ(TakeWrites(), (Writes{{kNode, Binary(14928)}}));
}

TEST_F(DdrGroupTest, ANodeThatIsMissingOrTakesOnlyAPartFailsTheWrite) {
    mDevice.Inject(kNode, OperationKind::WRITE, Fault::Short(2));
    EXPECT_EQ(Make(kInKhz, -1.0F).DoConfig(1866000, kNoLimit), -1);
    mDevice.Remove(kNode);
    EXPECT_EQ(Make(kInKhz, -1.0F).DoConfig(1866000, kNoLimit), -1);
    EXPECT_EQ(mLog.Texts(6).size(), 2U);
}

TEST_F(DdrGroupTest, ClosingTheNodeWithdrawsTheRequestFromTheKernel) {
    mDevice.AddBinary(kNode, sim::Aggregate::SUM, 0, false);
    DdrGroup& group = Make(kInKhz, 8.0F);
    group.DoConfig(1866000, kNoLimit);
    group.DoConfig(400000, kNoLimit);
    EXPECT_EQ(mDevice.Value(kNode), "3200") << "a descriptor's newest number counts";
    EXPECT_EQ(mDevice.Operations(OperationKind::OPEN).size(), 1U);
    group.CloseAllFds();
    EXPECT_EQ(mDevice.Value(kNode), "0");
    group.DoConfig(1866000, kNoLimit);
    EXPECT_EQ(mDevice.Value(kNode), "14928");
    mGroup.reset();
    EXPECT_EQ(mDevice.Value(kNode), "0");
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
}

TEST_F(DdrGroupTest, TheBaseValueIsShownAsItIsWritten) {
    EXPECT_EQ(BaseRecords(Make(kInKhz, 8.0F)), Texts{"3200 @ /ddr/node"});
    EXPECT_EQ(BaseRecords(Make(kInHz, 8.0F)), Texts{"3200 @ /ddr/node"});
    EXPECT_EQ(BaseRecords(Make(kInKhz, -1.0F)), Texts{"400000 @ /ddr/node"});
    EXPECT_EQ(BaseRecords(Make(kInKhz, 0.0F)), Texts{"400000 @ /ddr/node"});
}

}  // namespace
}  // namespace corebeacon::test
