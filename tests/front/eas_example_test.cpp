#include "sim/eas_example.h"

#include <gtest/gtest.h>

#include <chrono>
#include <map>

#include "support/deadline.h"
#include "support/engine_fixture.h"
#include "support/log_capture.h"
#include "support/manual_clock.h"

namespace corebeacon::test {
namespace {

using sim::EasBoostNode;
using sim::kEasGlobalBoostNode;
using Texts = std::vector<std::string>;

constexpr int kPid = 1001;
constexpr unsigned int kTopApp = 0;
constexpr unsigned int kBackground = 4;
constexpr unsigned int kVip = 7;

PerfRequestInfo AskGroup(unsigned int groupId, PerfOperationType operation, int level,
                         PerfQosId qosId = PERF_QOS_EAS) {
    return {qosId, {{groupId, {{operation, level}}}}};
}

/// An engine of chip variant 2 with the built-in tables and the example beside them.
class EasExampleTest : public EngineFixture {
protected:
    EasExampleTest() : EngineFixture(CHIP_TYPE_VARIANT_2) { sim::AddEasNodes(*mDevice); }

    void Start(PerfDefaultConfig& config) {
        mFront = std::make_unique<ConfigManager>();
        ASSERT_EQ(mFront->Init(config, GetConfigurableEventVec(mChip),
                               GetConfigurableScenarioVec(mChip), ProbeEvent()),
                  0);
        ASSERT_NE(mFront->Resources().GetResourcePtr(PERF_QOS_EAS), nullptr);
        mDevice->ClearRecord();
    }

    void StartBesideTheBuiltInTable() {
        PerfQosEasConfig eas = sim::MakeEasConfig();
        PerfDefaultConfig config = BuiltinConfig();
        config.qosConfigMap.emplace(PERF_QOS_EAS, eas);
        Start(config);
    }

    unsigned long Request(unsigned int duration, const std::vector<PerfRequestInfo>& request) {
        unsigned long handle = 0;
        EXPECT_EQ(mFront->PerfRequest(kPid, duration, request, handle), 0);
        Settle(*mFront);
        return handle;
    }

    void Release(unsigned long handle) {
        EXPECT_EQ(mFront->PerfRelease(kPid, handle), 0);
        Settle(*mFront);
    }

    /// The EAS nodes that are not as after boot, by the last directory that names them.
    std::map<std::string, std::string> Raised() const {
        std::map<std::string, std::string> raised;
        for (unsigned int groupId = 0; groupId < sim::kEasTaskGroups.size(); ++groupId) {
            if (const std::string value = mDevice->Value(EasBoostNode(groupId)); value != "0") {
                raised[sim::kEasTaskGroups[groupId].name] = value;
            }
        }
        if (const std::string value = mDevice->Value(kEasGlobalBoostNode); value != "0") {
            raised["GLOBAL_BOOST"] = value;
        }
        return raised;
    }
    using Values = std::map<std::string, std::string>;

    ManualClock mClock;
    LogCapture mLog;
};

TEST_F(EasExampleTest, ABoostRaisesItsGroupAndWhatTheLevelNeeds) {
    StartBesideTheBuiltInTable();
    const unsigned long low = Request(0, {AskGroup(kTopApp, PERF_OPERATION_BOOST, 20)});
    EXPECT_EQ(Raised(), (Values{{"TOP_APP", "20"}}));
    const unsigned long high = Request(0, {AskGroup(kVip, PERF_OPERATION_BOOST, 40)});
    EXPECT_EQ(Raised(), (Values{{"TOP_APP", "20"}, {"VIP", "60"}, {"GLOBAL_BOOST", "1"}}));
    Release(high);
    EXPECT_EQ(Raised(), (Values{{"TOP_APP", "20"}}));
    Release(low);
    EXPECT_EQ(Raised(), Values{});
    EXPECT_EQ(mLog.Texts(6), Texts{});
}

TEST_F(EasExampleTest, EveryGroupTakesEveryLevel) {
    StartBesideTheBuiltInTable();
    const std::map<int, std::string> levels{
        {0, "0"}, {10, "10"}, {20, "20"}, {30, "35"}, {40, "60"}};
    for (unsigned int groupId = 0; groupId < sim::kEasTaskGroups.size(); ++groupId) {
        for (const auto& [level, text] : levels) {
            const unsigned long handle =
                Request(0, {AskGroup(groupId, PERF_OPERATION_BOOST, level)});
            EXPECT_EQ(mDevice->Value(EasBoostNode(groupId)), text);
            EXPECT_EQ(mDevice->Value(kEasGlobalBoostNode), level >= 30 ? "1" : "0");
            Release(handle);
        }
        const unsigned long limit = Request(0, {AskGroup(groupId, PERF_OPERATION_LIMIT, -10)});
        EXPECT_EQ(Raised(), (Values{{sim::kEasTaskGroups[groupId].name, "-10"}}));
        Release(limit);
    }
    EXPECT_EQ(Raised(), Values{});
}

TEST_F(EasExampleTest, ATimedBoostEndsByItselfTogetherWithItsSwitch) {
    StartBesideTheBuiltInTable();
    Request(500, {AskGroup(kTopApp, PERF_OPERATION_BOOST, 30)});
    EXPECT_EQ(Raised(), (Values{{"TOP_APP", "35"}, {"GLOBAL_BOOST", "1"}}));
    mClock.Advance(std::chrono::milliseconds(500));
    EXPECT_TRUE(Eventually([this] { return Raised().empty(); }));
}

TEST_F(EasExampleTest, ALimitToALevelThatGoesWithoutItSwitchesGlobalBoostOff) {
    StartBesideTheBuiltInTable();
    Request(0, {AskGroup(kTopApp, PERF_OPERATION_BOOST, 30)});
    const unsigned long indifferent = Request(0, {AskGroup(kVip, PERF_OPERATION_LIMIT, 20)});
    EXPECT_EQ(Raised(), (Values{{"TOP_APP", "35"}, {"GLOBAL_BOOST", "1"}}));
    Release(indifferent);
    const unsigned long forbidding = Request(0, {AskGroup(kBackground, PERF_OPERATION_LIMIT, 10)});
    EXPECT_EQ(Raised(), (Values{{"TOP_APP", "35"}}));
    Release(forbidding);
    EXPECT_EQ(Raised(), (Values{{"TOP_APP", "35"}, {"GLOBAL_BOOST", "1"}}));
}

TEST_F(EasExampleTest, TheBaseMayBeSetThroughItsOwnNumber) {
    StartBesideTheBuiltInTable();
    EXPECT_EQ(Request(0, {AskGroup(kTopApp, PERF_OPERATION_BOOST, 10, PERF_QOS_EAS_BASE)}), ~0UL);
    EXPECT_EQ(Raised(), (Values{{"TOP_APP", "10"}}));
    const unsigned long boost = Request(0, {AskGroup(kTopApp, PERF_OPERATION_BOOST, 40)});
    EXPECT_EQ(Raised(), (Values{{"TOP_APP", "60"}, {"GLOBAL_BOOST", "1"}}));
    Release(boost);
    EXPECT_EQ(Raised(), (Values{{"TOP_APP", "10"}}));
    Request(0, {AskGroup(kTopApp, PERF_OPERATION_BOOST, 30, PERF_QOS_EAS_BASE)});
    EXPECT_EQ(Raised(), (Values{{"TOP_APP", "35"}, {"GLOBAL_BOOST", "1"}}));
    Request(0, {AskGroup(kTopApp, PERF_OPERATION_BOOST, 0, PERF_QOS_EAS_BASE)});
    EXPECT_EQ(Raised(), Values{});

    unsigned long handle = 0;
    EXPECT_EQ(
        mFront->PerfRequest(
            kPid, 0, {AskGroup(kTopApp, PERF_OPERATION_LIMIT, 10, PERF_QOS_EAS_BASE)}, handle),
        -1);
}

TEST_F(EasExampleTest, TheScenariosOfTheChipAreServed) {
    StartBesideTheBuiltInTable();
    for (const auto& [scenarioId, text] : {std::pair{0U, "35"}, {1U, "60"}}) {
        unsigned long handle = 0;
        ASSERT_EQ(mFront->PerfSetScenario(kPid, scenarioId, handle), 0);
        Settle(*mFront);
        EXPECT_EQ(Raised(), (Values{{"TOP_APP", text}, {"VIP", text}, {"GLOBAL_BOOST", "1"}}));
        Release(handle);
        EXPECT_EQ(Raised(), Values{});
    }
}

TEST_F(EasExampleTest, ALoadedDescriptionServesTheSame) {
    PerfQosXmlLoadConfig eas = sim::MakeLoadedEasConfig();
    PerfDefaultConfig config;
    config.controlInfo.chipType = mChip;
    config.qosXmlConfigMap.emplace(PERF_QOS_EAS, eas);
    Start(config);
    const unsigned long handle = Request(0, {AskGroup(kVip, PERF_OPERATION_BOOST, 30)});
    EXPECT_EQ(Raised(), (Values{{"VIP", "35"}, {"GLOBAL_BOOST", "1"}}));
    Release(handle);
    EXPECT_EQ(Raised(), Values{});
    EXPECT_EQ(mLog.Texts(6), Texts{});
}

TEST_F(EasExampleTest, RepeatedInitsFromOneDescriptionAgree) {
    PerfQosEasConfig eas = sim::MakeEasConfig();
    for (int round = 0; round < 2; ++round) {
        PerfDefaultConfig config = BuiltinConfig();
        config.qosConfigMap.emplace(PERF_QOS_EAS, eas);
        Start(config);
        const unsigned long handle = Request(0, {AskGroup(kVip, PERF_OPERATION_LIMIT, 20)});
        EXPECT_EQ(mDevice->Value(kEasGlobalBoostNode), "0");
        Release(handle);
    }
    EXPECT_EQ(mLog.Texts(6), Texts{});
}

}  // namespace
}  // namespace corebeacon::test
