#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "engine/recording_group.h"
#include "support/log_capture.h"

namespace corebeacon::test {
namespace {

using Texts = std::vector<std::string>;

constexpr auto kUnknownOperation = static_cast<PerfOperationType>(2);
constexpr auto kUnknownCommand = static_cast<PerfCommandType>(10);

TEST(PerfGroupValidation, AcceptsABaseRangeThatFillsTheAvailableRange) {
    LogCapture log;
    const PerfGroupConfig config("G", false, 5, 5, 5, 5, {"/a"}, CHIP_TYPE_COMMON);
    EXPECT_TRUE(PerfGroup::GroupParametersValidate(config));
    EXPECT_TRUE(log.Lines().empty());
}

TEST(PerfGroupValidation, AcceptsAConfigurationWithoutNodes) {
    PerfGroupConfig config = MakeGroupConfig();
    config.sysNodePaths.clear();
    EXPECT_TRUE(PerfGroup::GroupParametersValidate(config));
}

TEST(PerfGroupValidation, RefusesAnEmptyNodePath) {
    LogCapture log;
    PerfGroupConfig config = MakeGroupConfig();
    config.sysNodePaths[1].clear();
    config.availableMin = 9999;
    EXPECT_FALSE(PerfGroup::GroupParametersValidate(config));
    EXPECT_EQ(log.Texts(6), Texts{"[G] node path is empty!"});
    EXPECT_EQ(log.Lines()[0].tag, "PF_GROUP");
    EXPECT_EQ(log.Lines()[0].function, "GroupParametersValidate");
}

TEST(PerfGroupValidation, RefusesAnAvailableMinimumAboveTheMaximum) {
    LogCapture log;
    PerfGroupConfig config = MakeGroupConfig();
    config.availableMin = 3001;
    EXPECT_FALSE(PerfGroup::GroupParametersValidate(config));
    EXPECT_EQ(log.Texts(6), Texts{"[G] available min(3001) larger than max(3000)"});
}

TEST(PerfGroupValidation, RefusesABoostBaseAboveTheLimitBase) {
    LogCapture log;
    PerfGroupConfig config = MakeGroupConfig();
    config.baseMin = 2001;
    EXPECT_FALSE(PerfGroup::GroupParametersValidate(config));
    EXPECT_EQ(log.Texts(6), Texts{"[G] boost base(2001) larger than limit base(2000)"});
}

TEST(PerfGroupValidation, RefusesABaseRangeOutsideTheAvailableRange) {
    LogCapture log;
    PerfGroupConfig low = MakeGroupConfig();
    low.baseMin = 99;
    EXPECT_FALSE(PerfGroup::GroupParametersValidate(low));
    PerfGroupConfig high = MakeGroupConfig();
    high.baseMax = 3001;
    EXPECT_FALSE(PerfGroup::GroupParametersValidate(high));
    EXPECT_EQ(log.Texts(6), (Texts{"[G] base range(99, 2000) out of available range(100, 3000)",
                                   "[G] base range(300, 3001) out of available range(100, 3000)"}));
}

TEST(PerfGroupValidation, StartAndStopCommandsTakeBoostsAndLimits) {
    LogCapture log;
    const RecordingGroup group(MakeGroupConfig(), PERF_WORK_MODE_0);
    for (const PerfCommandType type : {PERF_COMMAND_SHORT_START, PERF_COMMAND_SHORT_STOP,
                                       PERF_COMMAND_LONG_START, PERF_COMMAND_LONG_STOP}) {
        EXPECT_EQ(group.CheckOperationType(type, PERF_OPERATION_BOOST), 0);
        EXPECT_EQ(group.CheckOperationType(type, PERF_OPERATION_LIMIT), 0);
    }
    EXPECT_TRUE(log.Lines().empty());
}

TEST(PerfGroupValidation, ABaseSetTakesABoostOnly) {
    LogCapture log;
    const RecordingGroup group(MakeGroupConfig(), PERF_WORK_MODE_0);
    EXPECT_EQ(group.CheckOperationType(PERF_COMMAND_BASE_SET, PERF_OPERATION_BOOST), 0);
    EXPECT_EQ(group.CheckOperationType(PERF_COMMAND_BASE_SET, PERF_OPERATION_LIMIT), -1);
    EXPECT_EQ(log.Texts(), Texts{"[G] PERF_COMMAND_BASE_SET long term limit not allowed "});
    EXPECT_EQ(log.Lines()[0].level, 6);
}

TEST(PerfGroupValidation, OtherCommandsCarryNoOperation) {
    LogCapture log;
    const RecordingGroup group(MakeGroupConfig(), PERF_WORK_MODE_0);
    for (const PerfCommandType type :
         {PERF_COMMAND_MODE_START, PERF_COMMAND_GET_LOG, PERF_COMMAND_GET_BASE_INFO,
          PERF_COMMAND_SUSPEND, PERF_COMMAND_RESUME, kUnknownCommand}) {
        EXPECT_EQ(group.CheckOperationType(type, PERF_OPERATION_BOOST), -1);
    }
    EXPECT_EQ(log.Texts(6), (Texts{"[G] invalid command type: 4", "[G] invalid command type: 5",
                                   "[G] invalid command type: 6", "[G] invalid command type: 7",
                                   "[G] invalid command type: 8", "[G] invalid command type: 10"}));
}

TEST(PerfGroupValidation, AnUnknownOperationIsRefusedBeforeTheCommandIsLookedAt) {
    LogCapture log;
    const RecordingGroup group(MakeGroupConfig(), PERF_WORK_MODE_0);
    EXPECT_EQ(group.CheckOperationType(kUnknownCommand, kUnknownOperation), -1);
    EXPECT_EQ(log.Texts(6), Texts{"[G] invalid operation type: 2"});
}

TEST(PerfGroupValidation, TheBoundsThemselvesAreValid) {
    LogCapture log;
    const RecordingGroup group(MakeGroupConfig(), PERF_WORK_MODE_0);
    int value = 100;
    EXPECT_EQ(group.OperationValueValidate(value), 0);
    value = 3000;
    EXPECT_EQ(group.OperationValueValidate(value), 0);
    EXPECT_EQ(value, 3000);
    EXPECT_TRUE(log.Lines().empty());
}

TEST(PerfGroupValidation, AClampingGroupBringsValuesIntoRange) {
    LogCapture log;
    const RecordingGroup group(MakeGroupConfig(true), PERF_WORK_MODE_0);
    int value = 99;
    EXPECT_EQ(group.OperationValueValidate(value), 0);
    EXPECT_EQ(value, 100);
    value = 3001;
    EXPECT_EQ(group.OperationValueValidate(value), 0);
    EXPECT_EQ(value, 3000);
    EXPECT_EQ(log.Texts(3), (Texts{"[G] operation value(99) less than avl min(100)",
                                   "[G] operation value(3001) larger than avl max(3000)"}));
}

TEST(PerfGroupValidation, OtherGroupsRefuseValuesOutOfRangeAndLeaveThemAsTheyAre) {
    LogCapture log;
    const RecordingGroup group(MakeGroupConfig(), PERF_WORK_MODE_0);
    int value = std::numeric_limits<int>::min();
    EXPECT_EQ(group.OperationValueValidate(value), -1);
    EXPECT_EQ(value, std::numeric_limits<int>::min());
    value = 3001;
    EXPECT_EQ(group.OperationValueValidate(value), -1);
    EXPECT_EQ(value, 3001);
    EXPECT_EQ(log.Texts(3), (Texts{"[G] operation value(-2147483648) less than avl min(100)",
                                   "[G] operation value(3001) larger than avl max(3000)"}));
}

TEST(PerfGroupValidation, AValueBelowTheMinimumOfAClampingGroupIsRaisedToTheMinimumAndAccepted) {
    const RecordingGroup group(MakeGroupConfig(true), PERF_WORK_MODE_0);
    OperationValueMap values = Both(1, 2);
    EXPECT_EQ(group.GroupValueValidate(PERF_COMMAND_SHORT_START, values), 0);
    EXPECT_EQ(values, Both(100, 100));
}

TEST(PerfGroupValidation, AnOperationThatTheCommandMayNotCarryIsTold) {
    LogCapture log;
    const RecordingGroup group(MakeGroupConfig(), PERF_WORK_MODE_0);
    OperationValueMap values = Both(500, 600);
    EXPECT_EQ(group.GroupValueValidate(PERF_COMMAND_BASE_SET, values), -1);
    EXPECT_EQ(log.Texts(6), (Texts{"[G] PERF_COMMAND_BASE_SET long term limit not allowed ",
                                   "[G] CheckOperationType failed "}));
}

TEST(PerfGroupValidation, AnInvalidValueIsTold) {
    LogCapture log;
    const RecordingGroup group(MakeGroupConfig(), PERF_WORK_MODE_0);
    OperationValueMap values = Both(500, 4000);
    EXPECT_EQ(group.GroupValueValidate(PERF_COMMAND_LONG_START, values), -1);
    EXPECT_EQ(log.Texts(6), Texts{"[G] invalid operation value: 4000"});
}

TEST(PerfGroupValidation, ABoostAboveTheLimitOfOneRequestIsRefused) {
    LogCapture log;
    const RecordingGroup group(MakeGroupConfig(), PERF_WORK_MODE_0);
    OperationValueMap values = Both(601, 600);
    EXPECT_EQ(group.GroupValueValidate(PERF_COMMAND_SHORT_START, values), -1);
    EXPECT_EQ(log.Texts(), Texts{"[G] boost value 601 larger than limit value 600"});
    EXPECT_EQ(log.Lines()[0].level, 6);
    values = Both(600, 600);
    EXPECT_EQ(group.GroupValueValidate(PERF_COMMAND_SHORT_START, values), 0);
}

TEST(PerfGroupValidation, BoostAndLimitAreComparedAfterClamping) {
    const RecordingGroup group(MakeGroupConfig(true), PERF_WORK_MODE_0);
    OperationValueMap values = Both(9000, 8000);
    EXPECT_EQ(group.GroupValueValidate(PERF_COMMAND_SHORT_START, values), 0);
    EXPECT_EQ(values, Both(3000, 3000));
}

TEST(PerfGroupValidation, AnEmptyMapHasNothingToRefuse) {
    const RecordingGroup group(MakeGroupConfig(), PERF_WORK_MODE_0);
    OperationValueMap values;
    EXPECT_EQ(group.GroupValueValidate(PERF_COMMAND_SHORT_START, values), 0);
}

/// A kind with checks of its own.
class PickyGroup : public RecordingGroup {
public:
    using RecordingGroup::RecordingGroup;
    int CheckOperationType(PerfCommandType, PerfOperationType operation) const override {
        return operation == PERF_OPERATION_LIMIT ? -1 : 0;
    }
    int OperationValueValidate(int& value) const override {
        value *= 2;
        return 0;
    }
};

TEST(PerfGroupValidation, AKindMayOverrideBothChecks) {
    LogCapture log;
    const PickyGroup group(MakeGroupConfig(), PERF_WORK_MODE_0);
    OperationValueMap values = Boost(7);
    EXPECT_EQ(group.GroupValueValidate(kUnknownCommand, values), 0);
    EXPECT_EQ(values, Boost(14));
    values = Limit(500);
    EXPECT_EQ(group.GroupValueValidate(PERF_COMMAND_SHORT_START, values), -1);
    EXPECT_EQ(log.Texts(), Texts{"[G] CheckOperationType failed "});
}

}  // namespace
}  // namespace corebeacon::test
