#include "resources/eas_resource.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>
#include <utility>

#include "resources/level_map_group.h"
#include "resources/single_node_value_group.h"
#include "sim/simulated_device.h"
#include "support/deadline.h"
#include "support/log_capture.h"
#include "support/scoped_node_io.h"

namespace corebeacon {
namespace {

using test::Eventually;
using test::LogCapture;
using test::ScopedNodeIo;
using Texts = std::vector<std::string>;
using Rows = std::vector<PerfGroupConfig>;
using Levels = std::vector<int>;

constexpr const char* kSwitch = "/eas/switch";
constexpr const char* kLoadedSwitch = "/eas/switch_of_loaded";
constexpr PerfOperationType kBoost = PERF_OPERATION_BOOST;
constexpr PerfOperationType kLimit = PERF_OPERATION_LIMIT;

std::string Node(unsigned int groupId) {
    return "/eas/group" + std::to_string(groupId);
}

PerfGroupConfig Row(unsigned int groupId, int defaultLevel = 0) {
    const Level2ValueMap levels{{0, {"0"}}, {10, {"11"}}, {20, {"22"}}, {30, {"33"}}};
    return PerfGroupConfig(groupId, "EAS" + std::to_string(groupId), defaultLevel, {Node(groupId)},
                           levels, CHIP_TYPE_COMMON);
}

Rows MakeRows(unsigned int count) {
    Rows rows;
    for (unsigned int groupId = 0; groupId < count; ++groupId) {
        rows.push_back(Row(groupId));
    }
    return rows;
}

class EasResourceTest : public testing::Test {
protected:
    EasResourceTest() {
        for (unsigned int groupId = 0; groupId < 10; ++groupId) {
            mDevice.AddText(Node(groupId), "-");
        }
        mDevice.AddText(kSwitch, "-");
        mDevice.AddText(kLoadedSwitch, "-");
        // Level 20 is left out: it does not matter to the switch.
        mParameters.globalBoost.compiledIn = {{{0, 0}, {10, 0}, {30, 1}}, kSwitch};
        mParameters.globalBoost.loaded = {{{0, 0}, {10, 1}}, kLoadedSwitch};
    }

    EasResource& Make(const PerfQosConfig& config) {
        mResource = std::make_unique<EasResource>(
            ResConstructParam{config, PERF_WORK_MODE_0, PERF_QOS_EAS});
        return *mResource;
    }

    /// A resource that has built its groups.
    EasResource& Build(const Rows& rows, bool isLoaded = false) {
        const PerfQosEasConfig config("EAS", rows, mParameters);
        EasResource& resource = Make(config);
        EXPECT_EQ(resource.InitGroups(config, isLoaded), 0);
        EXPECT_EQ(mLog.Texts(6), Texts{});
        return resource;
    }

    /// What a valid request gains under `switchId`.
    OperationValueMap Gained(GroupValueMap groups, unsigned int switchId = 9) {
        const GroupValueMap asked = groups;
        EXPECT_EQ(mResource->RequestValidate(PERF_COMMAND_LONG_START, groups), 0);
        GroupValueMap rest;
        for (const auto& [groupId, values] : groups) {
            if (groupId != switchId) {
                rest.emplace(groupId, values);
            }
        }
        EXPECT_EQ(rest, asked);
        return groups[switchId];
    }

    /// The errors of a refused request, which must be left as it was.
    Texts Refusal(GroupValueMap groups, PerfCommandType type = PERF_COMMAND_LONG_START) {
        mLog.Clear();
        const GroupValueMap asked = groups;
        EXPECT_EQ(mResource->RequestValidate(type, groups), -1);
        EXPECT_EQ(groups, asked);
        EXPECT_EQ(mLog.Lines().back().tag, "PF_EAS_RES");
        EXPECT_EQ(mLog.Lines().back().function, "RequestValidate");
        return mLog.Texts(6);
    }

    int SwitchDefault() {
        return mResource->GetPerfGroupPtr(static_cast<unsigned>(mResource->GetGroupCount()) - 1)
            ->GetFinalBoostValue();
    }

    sim::SimulatedDevice mDevice;
    ScopedNodeIo mScope{mDevice};
    LogCapture mLog;
    EasParameters mParameters;
    std::unique_ptr<EasResource> mResource;
};

TEST_F(EasResourceTest, EveryRowBecomesALevelGroupAndTheSwitchFollowsThem) {
    const EasResource& resource = Build(MakeRows(9));
    ASSERT_EQ(resource.GetGroupCount(), 10U);
    for (unsigned int groupId = 0; groupId < 9; ++groupId) {
        const std::shared_ptr<PerfGroup> group = resource.GetPerfGroupPtr(groupId);
        EXPECT_NE(dynamic_cast<LevelMapGroup*>(group.get()), nullptr);
        EXPECT_EQ(group->GetName(), "EAS" + std::to_string(groupId));
        EXPECT_EQ(group->GetGroupId(), groupId);
    }
    const std::shared_ptr<PerfGroup> global = resource.GetPerfGroupPtr(9);
    EXPECT_NE(dynamic_cast<SingleNodeValueGroup*>(global.get()), nullptr);
    EXPECT_EQ(global->GetName(), "GLOBAL_BOOST");
    EXPECT_EQ(global->GetGroupId(), 9U);
    global->DoConfig(1, 0);
    EXPECT_EQ(mDevice.WritesTo(kSwitch), Texts{"1"});
}

TEST_F(EasResourceTest, TheSwitchTakesZeroAndOne) {
    const std::shared_ptr<PerfGroup> global = Build(MakeRows(2)).GetPerfGroupPtr(2);
    for (const auto& [value, result] : {std::pair{-1, -1}, {0, 0}, {1, 0}, {2, -1}}) {
        int asked = value;
        EXPECT_EQ(global->OperationValueValidate(asked), result) << value;
    }
}

TEST_F(EasResourceTest, MoreThanNineRowsAreRefused) {
    const PerfQosEasConfig config("EAS", MakeRows(10), mParameters);
    EasResource& resource = Make(config);
    EXPECT_EQ(resource.InitGroups(config, false), -1);
    EXPECT_EQ(mLog.Texts(), Texts{"[EAS] invalid group num 10"});
    EXPECT_EQ(mLog.Lines()[0].level, 6);
    EXPECT_EQ(mLog.Lines()[0].tag, "PF_EAS_RES");
    EXPECT_EQ(mLog.Lines()[0].function, "InitGroups");
    EXPECT_EQ(resource.GetGroupCount(), 0U);
}

TEST_F(EasResourceTest, ABadRowEndsTheBuildingAndKeepsTheGroupsBefore) {
    Rows rows = MakeRows(3);
    rows[1].level2ValueMap.clear();
    const PerfQosEasConfig config("EAS", rows, mParameters);
    EasResource& resource = Make(config);
    EXPECT_EQ(resource.InitGroups(config, false), -1);
    EXPECT_EQ(resource.GetGroupCount(), 1U);
    EXPECT_EQ(mLog.Texts(6), (Texts{"[EAS1] level2value mapping is empty",
                                    "[EAS] GroupParametersValidate failed!"}));
    EXPECT_EQ(mLog.Lines()[1].function, "InitGroups");
}

TEST_F(EasResourceTest, AConfigurationOfAnotherKindIsRefused) {
    const PerfQosConfig config("EAS", MakeRows(2));
    EXPECT_EQ(Make(config).InitGroups(config, false), -1);
    EXPECT_EQ(mLog.Texts(6), Texts{"[EAS] no EAS parameters in the configuration"});
}

TEST_F(EasResourceTest, ASwitchWithoutANodeIsRefused) {
    mParameters.globalBoost.compiledIn.nodePath.clear();
    const PerfQosEasConfig config("EAS", MakeRows(2), mParameters);
    EasResource& resource = Make(config);
    EXPECT_EQ(resource.InitGroups(config, false), -1);
    EXPECT_EQ(mLog.Texts(6), (Texts{"[GLOBAL_BOOST] node path is empty!",
                                    "[EAS] GroupParametersValidate failed!"}));
    EXPECT_EQ(resource.GetGroupCount(), 2U);
}

TEST_F(EasResourceTest, ALoadedDescriptionHasItsOwnSwitch) {
    PerfQosXmlLoadConfig config("EAS", "eas", MakeRows(2));
    static_cast<EasParameters&>(config) = mParameters;
    EasResource& resource = Make(config);
    ASSERT_EQ(resource.InitGroups(config, true), 0);
    resource.GetPerfGroupPtr(2)->DoConfig(0, 1);
    EXPECT_EQ(mDevice.TouchedNodes(), Texts{kLoadedSwitch});
    EXPECT_EQ(Gained({{0, {{kBoost, 10}}}}, 2), (OperationValueMap{{kBoost, 1}}));

    ASSERT_EQ(Make(config).InitGroups(config, false), 0);
    EXPECT_EQ(Gained({{0, {{kBoost, 10}}}}, 2), (OperationValueMap{{kBoost, 0}}));
}

TEST_F(EasResourceTest, TheSwitchStandsAtOneWhenAStandingLevelNeedsIt) {
    Build({Row(0), Row(1, 10)});
    EXPECT_EQ(SwitchDefault(), 0);
    Build({Row(0), Row(1, 30), Row(2)});
    EXPECT_EQ(SwitchDefault(), 1);
}

TEST_F(EasResourceTest, AStandingLevelThatTheTableLacksCountsAsGoingWithout) {
    Build(MakeRows(2));
    EXPECT_EQ(Gained({{0, {{kLimit, 20}}}}, 2), (OperationValueMap{{kLimit, 1}}));
    Build({Row(0), Row(1, 20)});
    EXPECT_EQ(SwitchDefault(), 0);
    EXPECT_EQ(Gained({{0, {{kLimit, 20}}}}, 2), (OperationValueMap{{kLimit, 0}}));
}

TEST_F(EasResourceTest, ABoostThatNeedsTheSwitchGainsIt) {
    Build(MakeRows(9));
    EXPECT_EQ(Gained({{0, {{kBoost, 30}}}}), (OperationValueMap{{kBoost, 1}}));
    EXPECT_EQ(Gained({{0, {{kBoost, 10}}}, {8, {{kBoost, 30}}}}), (OperationValueMap{{kBoost, 1}}));
    EXPECT_EQ(Gained({{0, {{kBoost, 10}}}, {8, {{kBoost, 0}}}}), (OperationValueMap{{kBoost, 0}}));
}

TEST_F(EasResourceTest, ALimitThatGoesWithoutTheSwitchForbidsIt) {
    Build(MakeRows(9));
    EXPECT_EQ(Gained({{0, {{kLimit, 30}}}, {1, {{kLimit, 10}}}}), (OperationValueMap{{kLimit, 0}}));
    EXPECT_EQ(Gained({{0, {{kLimit, 30}}}}), (OperationValueMap{{kLimit, 1}}));
}

TEST_F(EasResourceTest, LevelsThatTheTableLacksNeedNothingAndForbidNothing) {
    Build(MakeRows(9));
    EXPECT_EQ(Gained({{4, {{kBoost, 20}, {kLimit, 20}}}}),
              (OperationValueMap{{kBoost, 0}, {kLimit, 1}}));
}

TEST_F(EasResourceTest, AskingDoesNotTeachTheTable) {
    // A level asked for as a boost must not afterwards forbid the switch as a limit.
    Build(MakeRows(9));
    Gained({{4, {{kBoost, 20}}}});
    EXPECT_EQ(Gained({{4, {{kLimit, 20}}}}), (OperationValueMap{{kLimit, 1}}));
}

TEST_F(EasResourceTest, ABoostThatNeedsWhatALimitForbidsIsRefused) {
    Build(MakeRows(9));
    EXPECT_EQ(Refusal({{0, {{kBoost, 30}}}, {1, {{kLimit, 10}}}}),
              (Texts{"[EAS] boostValue(1) larger than limitValue(0)",
                     "[EAS] BuildGlobalBoostCommand failed"}));
    EXPECT_EQ(mLog.Lines()[0].function, "BuildGlobalBoostCommand");
    EXPECT_EQ(Gained({{0, {{kBoost, 30}}}, {1, {{kLimit, 30}}}}),
              (OperationValueMap{{kBoost, 1}, {kLimit, 1}}));
}

TEST_F(EasResourceTest, TheSwitchItselfCannotBeAskedForBesideNineGroups) {
    Build(MakeRows(9));
    EXPECT_EQ(Refusal({{9, {{kBoost, 1}}}}), Texts{"[EAS] invalid group id: 9"});
    EXPECT_EQ(Refusal({{0, {{kBoost, 10}}}, {12, {{kBoost, 1}}}}),
              Texts{"[EAS] invalid group id: 12"});
}

TEST_F(EasResourceTest, MoreThanNineGroupsAreRefusedBeforeTheirIds) {
    Build(MakeRows(9));
    GroupValueMap groups;
    for (unsigned int groupId = 0; groupId < 10; ++groupId) {
        groups[groupId] = {{kBoost, 0}};
    }
    EXPECT_EQ(Refusal(groups), Texts{"[EAS] invalid group num: 10"});
}

TEST_F(EasResourceTest, WithThreeGroupsTheSwitchIsTheFourth) {
    Build(MakeRows(3));
    EXPECT_EQ(Gained({{0, {{kBoost, 30}}}}, 3), (OperationValueMap{{kBoost, 1}}));

    // It passes for a group here, so the checks of that group decide, and its value gives way.
    EXPECT_EQ(Refusal({{3, {{kBoost, 30}}}}).back(), "[EAS] GroupValidate failed");
    EXPECT_EQ(mLog.Count(6, "[EAS] GroupValueValidate failed for group 3"), 1U);
    GroupValueMap groups{{3, {{kBoost, 1}}}};
    EXPECT_EQ(mResource->RequestValidate(PERF_COMMAND_LONG_START, groups), 0);
    EXPECT_EQ(groups, (GroupValueMap{{3, {{kBoost, 0}}}}));

    EXPECT_EQ(Refusal({{4, {{kBoost, 1}}}}),
              (Texts{"[EAS] invalid group id: 4", "[EAS] GroupValidate failed"}));
}

TEST_F(EasResourceTest, WhatAGroupRefusesIsRefused) {
    Build(MakeRows(9));
    EXPECT_EQ(Refusal({{2, {{kBoost, 25}}}}).front(),
              "[EAS2] cmd value can't be found in levelMapping: 25");
    EXPECT_EQ(mLog.Texts(6).back(), "[EAS] GroupValidate failed");
    EXPECT_EQ(Refusal({{2, {{kLimit, 10}}}}, PERF_COMMAND_BASE_SET).back(),
              "[EAS] GroupValidate failed");
}

TEST_F(EasResourceTest, ARequestWithoutLevelsMeansNothing) {
    Build(MakeRows(9));
    EXPECT_EQ(Refusal({}), Texts{"[EAS] BuildGlobalBoostCommand failed"});
    EXPECT_EQ(Refusal({{0, {}}}), Texts{"[EAS] BuildGlobalBoostCommand failed"});
}

TEST_F(EasResourceTest, LevelsAreCollectedByGroupAndOperation) {
    const EasResource& resource = Build(MakeRows(9));
    Levels boosts{5};
    Levels limits;
    EXPECT_EQ(resource.GetEasCommandLevel(
                  {{0, {{kBoost, 30}, {kLimit, 20}}}, {1, {{kLimit, 10}}}, {2, {{kBoost, 0}}}},
                  boosts, limits),
              0);
    EXPECT_EQ(boosts, (Levels{5, 30, 0}));
    EXPECT_EQ(limits, (Levels{20, 10}));
}

TEST_F(EasResourceTest, AnOperationThatDoesNotExistEndsTheCollecting) {
    const EasResource& resource = Build(MakeRows(9));
    const GroupValueMap groups{{0, {{kBoost, 30}, {static_cast<PerfOperationType>(2), 10}}},
                               {1, {{kBoost, 20}}}};
    Levels boosts;
    Levels limits;
    EXPECT_EQ(resource.GetEasCommandLevel(groups, boosts, limits), -1);
    EXPECT_EQ(boosts, Levels{30});
    EXPECT_TRUE(resource.BuildGlobalBoostCommand(groups).empty());
    EXPECT_EQ(mLog.Texts(6),
              (Texts{"[EAS] invalid operation type: 2", "[EAS] invalid operation type: 2",
                     "[EAS] GetEasCommandLevel failed"}));
    EXPECT_EQ(mLog.Lines()[0].function, "GetEasCommandLevel");
    EXPECT_EQ(mLog.Lines()[2].function, "BuildGlobalBoostCommand");
}

TEST_F(EasResourceTest, ManyThreadsMayValidateAtOnce) {
    Build(MakeRows(9));
    std::atomic<int> wrong{0};
    std::vector<std::thread> callers;
    for (unsigned int caller = 0; caller < 8; ++caller) {
        callers.emplace_back([this, caller, &wrong] {
            for (int i = 0; i < 200; ++i) {
                // Every level there is, known to the table or not.
                const int level = (static_cast<int>(caller) + i) % 4 * 10;
                GroupValueMap groups{{caller, {{kBoost, level}}}};
                if (mResource->RequestValidate(PERF_COMMAND_SHORT_START, groups) != 0 ||
                    groups[9][kBoost] != (level == 30 ? 1 : 0)) {
                    ++wrong;
                }
            }
        });
    }
    for (std::thread& caller : callers) {
        caller.join();
    }
    EXPECT_EQ(wrong, 0);
}

TEST_F(EasResourceTest, TheSwitchIsOnWhileAnyHolderNeedsIt) {
    PerfQosEasConfig config("EAS", MakeRows(9), mParameters);
    EasResource& resource = Make(config);
    ASSERT_EQ(resource.InitResource(config, false), 0);
    ASSERT_EQ(resource.InitThread(), 0);
    const auto send = [&](PerfCommandType type, unsigned long handle, GroupValueMap groups) {
        EXPECT_EQ(resource.RequestValidate(PERF_COMMAND_LONG_START, groups), 0);
        auto item = std::make_shared<PerfCommandItem>();
        item->handle = handle;
        item->groups = groups;
        resource.SendCommandToFifoQ({type, item});
    };
    send(PERF_COMMAND_LONG_START, 1, {{0, {{kBoost, 30}}}});
    send(PERF_COMMAND_LONG_START, 2, {{1, {{kBoost, 30}}}});
    send(PERF_COMMAND_LONG_STOP, 1, {{0, {{kBoost, 30}}}});
    EXPECT_TRUE(Eventually([this] { return mDevice.WritesTo(Node(0)) == (Texts{"33", "0"}); }));
    send(PERF_COMMAND_LONG_START, 3, {{5, {{kLimit, 10}}}});
    EXPECT_TRUE(Eventually([this] { return mDevice.WritesTo(kSwitch) == (Texts{"1", "0"}); }));
    send(PERF_COMMAND_LONG_STOP, 3, {{5, {{kLimit, 10}}}});
    send(PERF_COMMAND_LONG_STOP, 2, {{1, {{kBoost, 30}}}});
    EXPECT_TRUE(Eventually([this] {
        return mDevice.WritesTo(kSwitch) == (Texts{"1", "0", "1", "0"});
    }));
    EXPECT_EQ(mDevice.WritesTo(Node(1)), (Texts{"33", "0"}));
    mResource.reset();
    EXPECT_EQ(mDevice.OpenDescriptors(), 0U);
    EXPECT_EQ(mLog.Texts(6), Texts{});
}

}  // namespace
}  // namespace corebeacon
