#include "engine/perf_resource.h"

#include <limits>

#include "engine/perf_resource_fixture.h"

namespace corebeacon::test {

namespace {

using Entries = std::vector<WriteList::Entry>;
using Texts = std::vector<std::string>;

constexpr auto kNoMode = static_cast<PerfWorkMode>(7);

// ---- Building ----

TEST_F(PerfResourceTest, AConfigurationWithoutGroupsIsRefused) {
    PerfQosConfig empty("EMPTY", {});
    RecordedResource resource({mConfig, PERF_WORK_MODE_0}, mKnobs);
    EXPECT_EQ(resource.InitResource(empty, false), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Texts{"[Q] empty group for qos EMPTY"});
    EXPECT_EQ(mLog.Lines().back().tag, "PF_RES");
}

TEST_F(PerfResourceTest, AGroupIdThatIsNotItsPositionIsRefused) {
    PerfQosConfig odd("ODD", {MakeRow(0, "first"), MakeRow(2, "second")});
    RecordedResource resource({odd, PERF_WORK_MODE_0}, mKnobs);
    EXPECT_EQ(resource.InitResource(odd, false), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Texts{"[ODD] inconsistent group id for second: 2 != 1"});
    EXPECT_EQ(resource.GetGroupCount(), 0U);
}

TEST_F(PerfResourceTest, TheKindBuildsItsGroupsFromTheSameConfigurationAndFlag) {
    RecordedResource resource({mConfig, PERF_WORK_MODE_0}, mKnobs);
    EXPECT_EQ(resource.InitResource(mConfig, true), 0);
    EXPECT_TRUE(resource.mLoadedFlag);
    EXPECT_EQ(resource.GetGroupCount(), 3U);
    EXPECT_FALSE(mResource->mLoadedFlag);
}

TEST_F(PerfResourceTest, AKindThatCannotBuildItsGroupsFailsTheResource) {
    RecordedResource resource({mConfig, PERF_WORK_MODE_0}, mKnobs);
    resource.mInitResult = -1;
    EXPECT_EQ(resource.InitResource(mConfig, false), -1);
}

TEST_F(PerfResourceTest, GroupsAreFoundOnlyWithinTheirRange) {
    EXPECT_NE(mResource->GetPerfGroupPtr(2), nullptr);
    EXPECT_EQ(mResource->GetPerfGroupPtr(3), nullptr);
    EXPECT_EQ(mResource->GetPerfGroupPtr(std::numeric_limits<unsigned int>::max()), nullptr);
    EXPECT_TRUE(mResource->IsValidPerfGroupId(2));
    EXPECT_FALSE(mResource->IsValidPerfGroupId(3));
}

TEST_F(PerfResourceTest, NameAndIdAreThoseItWasMadeWith) {
    EXPECT_EQ(mResource->GetName(), "Q");
    EXPECT_EQ(mResource->GetQosId(), PERF_QOS_GPU);
}

// ---- Validation ----

TEST_F(PerfResourceTest, ARequestWithinRangeIsAccepted) {
    GroupValueMap groups = Boost(2, 5000);
    EXPECT_EQ(mResource->RequestValidate(PERF_COMMAND_SHORT_START, groups), 0);
    EXPECT_TRUE(mLog.Texts().empty());
}

TEST_F(PerfResourceTest, MoreGroupsThanTheResourceHasAreRefusedBeforeTheQueue) {
    GroupValueMap groups;
    for (unsigned int groupId = 0; groupId < 4; ++groupId) {
        groups[groupId] = {{PERF_OPERATION_BOOST, 500}};
    }
    EXPECT_EQ(mResource->RequestValidate(PERF_COMMAND_SHORT_START, groups), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Texts{"[Q] invalid group num: 4"});
}

TEST_F(PerfResourceTest, AGroupIdOutOfRangeIsRefused) {
    GroupValueMap groups = Boost(3, 500);
    EXPECT_EQ(mResource->RequestValidate(PERF_COMMAND_SHORT_START, groups), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Texts{"[Q] invalid group id: 3", "[Q] GroupValidate failed!"}));
}

TEST_F(PerfResourceTest, AGroupThatWasNotBuiltIsRefused) {
    mResource->LoseGroup(1);
    GroupValueMap groups = Boost(1, 500);
    EXPECT_EQ(mResource->RequestValidate(PERF_COMMAND_SHORT_START, groups), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Texts{"[Q] null ptr for group id: 1", "[Q] GroupValidate failed!"}));
}

TEST_F(PerfResourceTest, AValueThatTheGroupRefusesIsRefused) {
    GroupValueMap groups = Boost(1, 5001);
    EXPECT_EQ(mResource->RequestValidate(PERF_COMMAND_SHORT_START, groups), -1);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "[Q] GroupValueValidate failed for group 1"), 1U);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "[Q] GroupValidate failed!"), 1U);
}

TEST_F(PerfResourceTest, AClampingGroupAmendsTheRequestInPlace) {
    PerfQosConfig config("C", {{"clamped", true, 10, 5000, 100, 1000,
                                std::vector<std::string>{"/sys/c"}, CHIP_TYPE_COMMON}});
    RecordedResource resource({config, PERF_WORK_MODE_0}, mKnobs);
    ASSERT_EQ(resource.InitResource(config, false), 0);
    GroupValueMap groups = Boost(0, 1);
    EXPECT_EQ(resource.RequestValidate(PERF_COMMAND_SHORT_START, groups), 0);
    EXPECT_EQ(groups, Boost(0, 10));
}

// ---- Carrying commands out ----

TEST_F(PerfResourceTest, ShortTermCommandsStartAndStop) {
    Step(PERF_COMMAND_SHORT_START, Item(5, Boost(1, 500), milliseconds(0), milliseconds(100)));
    Step(PERF_COMMAND_SHORT_STOP, Item(5, Boost(1, 500), milliseconds(0), milliseconds(100)));
    EXPECT_EQ(Writes(), (Entries{{"g1", 500, 5000}, {"g1", 100, 1000}}));
}

TEST_F(PerfResourceTest, LongTermCommandsStartAndStop) {
    Step(PERF_COMMAND_LONG_START, Item(5, Boost(0, 600)));
    Step(PERF_COMMAND_LONG_STOP, Item(5, Boost(0, 600)));
    EXPECT_EQ(Writes(), (Entries{{"g0", 600, 1000}, {"g0", 100, 1000}}));
}

TEST_F(PerfResourceTest, ABaseSetReplacesTheDefault) {
    Step(PERF_COMMAND_BASE_SET, Item(0, Boost(2, 300)));
    EXPECT_EQ(Writes(), (Entries{{"g2", 300, 1000}}));
}

TEST_F(PerfResourceTest, ACommandReachesItsGroupsInAscendingOrder) {
    Step(PERF_COMMAND_LONG_START,
         Item(5, {{2, {{PERF_OPERATION_BOOST, 700}}}, {0, {{PERF_OPERATION_BOOST, 600}}}}));
    EXPECT_EQ(Writes(), (Entries{{"g0", 600, 1000}, {"g2", 700, 1000}}));
}

TEST_F(PerfResourceTest, OneCommandIsCarriedOutPerWakeUp) {
    Send(PERF_COMMAND_LONG_START, Item(5, Boost(0, 600)));
    Send(PERF_COMMAND_LONG_START, Item(6, Boost(0, 700)));
    mResource->HandleCommand(WorkStatus::NEW_COMMAND);
    EXPECT_EQ(Writes(), (Entries{{"g0", 600, 1000}}));
    mResource->HandleCommand(WorkStatus::NEW_COMMAND);
    EXPECT_EQ(Writes(), (Entries{{"g0", 600, 1000}, {"g0", 700, 1000}}));
}

TEST_F(PerfResourceTest, AWakeUpWithoutACommandIsAnError) {
    mResource->HandleCommand(WorkStatus::NEW_COMMAND);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Texts{"[Q] empty command que", "[Q] HandleNewCommand failed"}));
}

TEST_F(PerfResourceTest, AnUnknownStatusIsAnError) {
    mResource->HandleCommand(static_cast<WorkStatus>(2));
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Texts{"[Q] invalid status value"});
}

TEST_F(PerfResourceTest, ACommandWithoutAnItemIsDropped) {
    Step(PERF_COMMAND_SHORT_START, nullptr);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), (Texts{"[Q] empty command", "[Q] CommandDispath failed",
                                                  "[Q] HandleNewCommand failed"}));
}

TEST_F(PerfResourceTest, ACommandOfAnUnknownTypeIsDropped) {
    Step(static_cast<PerfCommandType>(10), Item(5, Boost(0, 600)));
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR),
              (Texts{"[Q] invalid command type: 10", "[Q] commandHandleFunc is NULL",
                     "[Q] NormalCommandProcess failed", "[Q] CommandProcess failed",
                     "[Q] CommandDispath failed", "[Q] HandleNewCommand failed"}));
    EXPECT_TRUE(Writes().empty());
}

TEST_F(PerfResourceTest, ACommandForNoGroupIsDropped) {
    Step(PERF_COMMAND_LONG_START, Item(5, {}));
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR).front(), "[Q] invalid group num: 0");
}

TEST_F(PerfResourceTest, ACommandForTooManyGroupsIsDropped) {
    GroupValueMap groups;
    for (unsigned int groupId = 0; groupId < 4; ++groupId) {
        groups[groupId] = {{PERF_OPERATION_BOOST, 500}};
    }
    Step(PERF_COMMAND_LONG_START, Item(5, groups));
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR).front(), "[Q] invalid group num: 4");
    EXPECT_TRUE(Writes().empty());
}

TEST_F(PerfResourceTest, AGroupThatIsNotThereEndsTheCommandAndEarlierGroupsKeepTheirChange) {
    Step(PERF_COMMAND_LONG_START,
         Item(5, {{0, {{PERF_OPERATION_BOOST, 600}}}, {3, {{PERF_OPERATION_BOOST, 600}}}}));
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR).front(), "[Q] GetPerfGroupPtr failed for group id 3");
    EXPECT_EQ(Writes(), (Entries{{"g0", 600, 1000}}));
}

TEST_F(PerfResourceTest, AGroupThatFailsEndsTheCommand) {
    const auto item = Item(
        kInvalidHandle, {{0, {{PERF_OPERATION_BOOST, 600}}}, {1, {{PERF_OPERATION_BOOST, 600}}}});
    Step(PERF_COMMAND_LONG_START, item);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "[Q] commandHandleFunc failed in group 0"), 1U);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "[Q] commandHandleFunc failed in group 1"), 0U);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "[Q] HandleNewCommand failed"), 1U);
}

TEST_F(PerfResourceTest, AnEmptyHandlerIsRefused) {
    EXPECT_EQ(mResource->NormalCommandProcess(*Item(5, Boost(0, 600)), nullptr), -1);
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Texts{"[Q] commandHandleFunc is NULL"});
}

TEST_F(PerfResourceTest, GroupsSeeTheTimeAtWhichTheCommandIsCarriedOut) {
    Send(PERF_COMMAND_SHORT_START, Item(5, Boost(0, 500), milliseconds(0), milliseconds(100)));
    mClock.Advance(milliseconds(100));
    mResource->HandleCommand(WorkStatus::NEW_COMMAND);
    EXPECT_TRUE(Writes().empty()) << "it had expired in the queue";
    EXPECT_TRUE(mLog.Texts(LOG_LEVEL_ERROR).empty());
}

// ---- Work mode and suspension ----

TEST_F(PerfResourceTest, AWorkModeReachesEveryGroup) {
    auto item = Item(0, {});
    item->workMode = PERF_WORK_MODE_2;
    Step(PERF_COMMAND_MODE_START, item);
    EXPECT_EQ(mResource->WorkMode(), PERF_WORK_MODE_2);
    EXPECT_EQ(Writes(), (Entries{{"g0", 100, 1000}, {"g1", 100, 1000}, {"g2", 100, 1000}}));
}

TEST_F(PerfResourceTest, AFailingGroupEndsTheChangeOfWorkMode) {
    auto item = Item(0, {});
    item->workMode = kNoMode;
    Step(PERF_COMMAND_MODE_START, item);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "[Q] SetWorkMode failed"), 2U)
        << "once where it is found and once by the dispatcher";
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "[g0] invalid work mode: 7"), 1U);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "[g1] invalid work mode: 7"), 0U);
    EXPECT_TRUE(Writes().empty());
}

TEST_F(PerfResourceTest, SuspensionHoldsWritesBackAndResumptionCatchesUp) {
    Step(PERF_COMMAND_SUSPEND, Item(0, {}));
    EXPECT_TRUE(mResource->IsSuspended());
    EXPECT_EQ(mKnobs.closeCount, 3);
    Step(PERF_COMMAND_LONG_START, Item(5, Boost(1, 600)));
    EXPECT_TRUE(Writes().empty());
    Step(PERF_COMMAND_RESUME, Item(0, {}));
    EXPECT_FALSE(mResource->IsSuspended());
    EXPECT_EQ(Writes(), (Entries{{"g0", 100, 1000}, {"g1", 600, 1000}, {"g2", 100, 1000}}));
}

TEST_F(PerfResourceTest, TheSameSuspensionTwiceDoesNothingMore) {
    Step(PERF_COMMAND_RESUME, Item(0, {}));
    EXPECT_EQ(mLog.Texts(), Texts{"[Q] same suspend 0"});
    EXPECT_EQ(mLog.Lines().front().level, LOG_LEVEL_DEBUG);
    Step(PERF_COMMAND_SUSPEND, Item(0, {}));
    Step(PERF_COMMAND_SUSPEND, Item(0, {}));
    EXPECT_EQ(mLog.Count(LOG_LEVEL_DEBUG, "[Q] same suspend 1"), 1U);
    EXPECT_EQ(mKnobs.closeCount, 3);
}

TEST_F(PerfResourceTest, GroupsThatWereNotBuiltAreSkippedByWhatConcernsAll) {
    mResource->LoseGroup(0);
    auto mode = Item(0, {});
    mode->workMode = PERF_WORK_MODE_0;
    Step(PERF_COMMAND_MODE_START, mode);
    Step(PERF_COMMAND_SUSPEND, Item(0, {}));
    Step(PERF_COMMAND_RESUME, Item(0, {}));
    mResource->HandleCommand(WorkStatus::TIME_OUT);
    EXPECT_EQ(
        Writes(),
        (Entries{{"g1", 100, 1000}, {"g2", 100, 1000}, {"g1", 100, 1000}, {"g2", 100, 1000}}));
    EXPECT_TRUE(mLog.Texts(LOG_LEVEL_ERROR).empty());
}

// ---- Times ----

TEST_F(PerfResourceTest, WithoutShortTermRequestsThereIsNoNextWakeUp) {
    Step(PERF_COMMAND_LONG_START, Item(5, Boost(1, 600)));
    EXPECT_EQ(mResource->FindMinTime(), TimePoint{});
}

TEST_F(PerfResourceTest, TheNextWakeUpIsTheEarliestOfAllGroups) {
    const auto ends = [this](unsigned int groupId, int after) {
        Step(PERF_COMMAND_SHORT_START,
             Item(groupId + 1, Boost(groupId, 500), milliseconds(0), milliseconds(after)));
    };
    ends(0, 300);
    EXPECT_EQ(mResource->FindMinTime(), mClock.SteadyNow() + milliseconds(300));
    ends(1, 100);
    EXPECT_EQ(mResource->FindMinTime(), mClock.SteadyNow() + milliseconds(100));
    ends(2, 200);
    EXPECT_EQ(mResource->FindMinTime(), mClock.SteadyNow() + milliseconds(100));
}

TEST_F(PerfResourceTest, AGroupThatWasNotBuiltHasNoWakeUp) {
    Step(PERF_COMMAND_SHORT_START, Item(5, Boost(2, 500), milliseconds(0), milliseconds(300)));
    mResource->LoseGroup(1);
    EXPECT_EQ(mResource->FindMinTime(), mClock.SteadyNow() + milliseconds(300));
    EXPECT_EQ(mLog.Texts(LOG_LEVEL_ERROR), Texts{"[Q] null group pointer for group 1"});
}

TEST_F(PerfResourceTest, ATimeOutExpiresEveryGroupInOrder) {
    Step(PERF_COMMAND_SHORT_START,
         Item(5, {{0, {{PERF_OPERATION_BOOST, 500}}}, {2, {{PERF_OPERATION_BOOST, 500}}}},
              milliseconds(0), milliseconds(100)));
    mClock.Advance(milliseconds(100));
    mResource->HandleCommand(WorkStatus::TIME_OUT);
    EXPECT_EQ(
        Writes(),
        (Entries{{"g0", 500, 5000}, {"g2", 500, 5000}, {"g0", 100, 1000}, {"g2", 100, 1000}}));
    EXPECT_EQ(mResource->FindMinTime(), TimePoint{});
}

TEST_F(PerfResourceTest, AFailingGroupEndsTheTimeOutPassAndLaterGroupsWait) {
    Step(PERF_COMMAND_SHORT_START,
         Item(5, {{0, {{PERF_OPERATION_BOOST, 500}}}, {2, {{PERF_OPERATION_BOOST, 500}}}},
              milliseconds(0), milliseconds(100)));
    mResource->GetPerfGroupPtr(0)->SetWorkMode(kNoMode);
    mClock.Advance(milliseconds(100));
    mLog.Clear();
    mResource->HandleCommand(WorkStatus::TIME_OUT);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "[Q] ShortTermTimeOut failed"), 1U);
    EXPECT_EQ(mLog.Count(LOG_LEVEL_ERROR, "[Q] HandleCommandTimeOut failed"), 1U);
    EXPECT_EQ(mResource->FindMinTime(), mClock.SteadyNow()) << "the third group is still due";
    mResource->HandleCommand(WorkStatus::TIME_OUT);
    EXPECT_EQ(Writes().back(), (WriteList::Entry{"g2", 100, 1000}));
}

}  // namespace

}  // namespace corebeacon::test
