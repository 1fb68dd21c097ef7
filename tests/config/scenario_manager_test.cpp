#include "config/scenario_manager.h"

#include <gtest/gtest.h>

#include "support/log_capture.h"

namespace corebeacon {
namespace {

using test::LogCapture;

constexpr PerfOperationType kBoost = PERF_OPERATION_BOOST;
constexpr PerfOperationType kLimit = PERF_OPERATION_LIMIT;

// Two QoS, one of them with two groups of which the second has a floor and a ceiling.
ConfigurableScenario Sample(PerfScenarioId id) {
    return {id,
            {{PERF_QOS_EAS, {{0, {{kBoost, 30}}}, {7, {{kLimit, 50}, {kBoost, 40}}}}},
             {PERF_QOS_CPU_M, {{0, {{kBoost, 1364000}}}}}}};
}

void ExpectRefused(const std::vector<ConfigurableScenario>& scenarios,
                   const std::vector<std::string>& texts) {
    LogCapture log(0);
    EXPECT_TRUE(ScenarioManager().Init(scenarios).empty());
    EXPECT_EQ(log.Texts(LOG_LEVEL_ERROR), texts);
    for (const auto& line : log.Lines()) {
        EXPECT_EQ(line.tag, "PF_SCEN_MGR");
    }
}

TEST(ScenarioManager, InitOrdersRequestsByQosGroupAndOperation) {
    const LogCapture log(0);
    const ScenarioTable table = ScenarioManager().Init({Sample(5), Sample(2)});
    const std::map<PerfQosId, GroupValueMap> expected = {
        {PERF_QOS_CPU_M, {{0, {{kBoost, 1364000}}}}},
        {PERF_QOS_EAS, {{0, {{kBoost, 30}}}, {7, {{kBoost, 40}, {kLimit, 50}}}}}};
    EXPECT_EQ(table, (ScenarioTable{{2, expected}, {5, expected}}));
    EXPECT_TRUE(log.Lines().empty());
}

TEST(ScenarioManager, TwoPairsOfOneOperationMakeTheWholeTableEmpty) {
    ExpectRefused({Sample(0), {1, {{PERF_QOS_GPU, {{0, {{kLimit, 1}, {kLimit, 2}}}}}}}},
                  {"scenario init duplicate operation type: 1", "LoadGroupInfo fail!"});
}

TEST(ScenarioManager, AGroupNamedTwiceMakesTheWholeTableEmpty) {
    ExpectRefused({Sample(0), {1, {{PERF_QOS_EAS, {{7, {{kBoost, 1}}}, {7, {{kLimit, 2}}}}}}}},
                  {"scenario init duplicate group id: 7", "LoadGroupInfo fail!"});
}

TEST(ScenarioManager, AGroupNamedTwiceIsRefusedEvenWhereItAsksForNothing) {
    ExpectRefused({{1, {{PERF_QOS_EAS, {{7, {}}, {7, {{kLimit, 2}}}}}}}},
                  {"scenario init duplicate group id: 7", "LoadGroupInfo fail!"});
}

TEST(ScenarioManager, AScenarioIdMetTwiceMakesTheWholeTableEmpty) {
    ExpectRefused({Sample(3), Sample(4), Sample(3)}, {"duplicate scenario id: 3"});
}

TEST(ScenarioManager, ARequestForNothingMakesTheWholeTableEmpty) {
    ExpectRefused({{1, {{PERF_QOS_GPU, {}}}}}, {"LoadGroupInfo fail!"});
    ExpectRefused({{1, {{PERF_QOS_GPU, {{0, {}}}}}}}, {"LoadGroupInfo fail!"});
}

TEST(ScenarioManager, AGroupWithoutValuesAddsNoEntry) {
    const GroupValueMap groups = ScenarioManager().LoadGroupInfo({{0, {}}, {1, {{kBoost, 9}}}});
    EXPECT_EQ(groups, (GroupValueMap{{1, {{kBoost, 9}}}}));
}

TEST(ScenarioManager, AQosNamedTwiceGetsTheLaterRequest) {
    const ScenarioTable table = ScenarioManager().Init(
        {{0, {{PERF_QOS_GPU, {{0, {{kBoost, 1}}}}}, {PERF_QOS_GPU, {{0, {{kLimit, 2}}}}}}}});
    EXPECT_EQ(table, (ScenarioTable{{0, {{PERF_QOS_GPU, {{0, {{kLimit, 2}}}}}}}}));
}

TEST(ScenarioManager, LookingUpAnUnknownScenarioGivesAnEmptyMapNotAnError) {
    const LogCapture log;
    ScenarioManager manager;
    EXPECT_TRUE(manager.ScenarioIdToQosInfo(0).empty());
    manager.Update(manager.Init({Sample(1)}));
    EXPECT_TRUE(manager.ScenarioIdToQosInfo(0).empty());
    EXPECT_EQ(manager.ScenarioIdToQosInfo(1).size(), 2U);
    EXPECT_TRUE(log.Lines().empty());
}

TEST(ScenarioManager, UpdateReplacesTheFormerTable) {
    ScenarioManager manager;
    manager.Update(manager.Init({Sample(1)}));
    manager.Update(manager.Init({Sample(2)}));
    EXPECT_TRUE(manager.ScenarioIdToQosInfo(1).empty());
    EXPECT_FALSE(manager.ScenarioIdToQosInfo(2).empty());
}

TEST(ScenarioManager, DumpWritesScenariosQosAndGroups) {
    ScenarioManager manager;
    manager.Update(manager.Init({Sample(5)}));
    std::ostringstream out;
    manager.Dump(out);
    EXPECT_EQ(out.str(),
              "scenarioId[5] qosNum: 2\n"
              "  qosId[1] groupNum(1) <type, value>:\n"
              "    grpId[0] valueNum(1): <0, 1364000> \n"
              "  qosId[9] groupNum(2) <type, value>:\n"
              "    grpId[0] valueNum(1): <0, 30> \n"
              "    grpId[7] valueNum(2): <0, 40> <1, 50> \n");
}

TEST(ScenarioManager, DumpOfNoScenariosIsEmpty) {
    std::ostringstream out;
    ScenarioManager().Dump(out);
    EXPECT_EQ(out.str(), "");
}

}  // namespace
}  // namespace corebeacon
