// What a group tells of itself: who decides, and why the others do not.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/recording_group.h"
#include "support/log_capture.h"

namespace corebeacon::test {
namespace {

std::string RuleText(GroupRule rule) {
    static const char* const kNames[] = {
        "in force", "lower boost", "higher limit",   "equal",   "limit wins", "boost wins",
        "escaped",  "replaced",    "not tightening", "ignored", "waiting",    "expired"};
    return kNames[static_cast<std::size_t>(rule)];
}

std::string HandleText(unsigned long handle) {
    return handle == GroupState::kNobody ? "*" : std::to_string(handle);
}

std::string PairText(const GroupPair& pair) {
    return std::to_string(pair.floor) + "~" + std::to_string(pair.ceiling);
}

/// "5 boost 1800: in force, floor", with what beat it behind a rule that names it.
std::string ItemText(const GroupItemState& item) {
    std::string text = HandleText(item.handle) +
                       (item.operation == PERF_OPERATION_BOOST ? " boost " : " limit ") +
                       std::to_string(item.value) + ": " + RuleText(item.rule);
    if (item.beatenBy != 0) {
        text += " " + HandleText(item.beatenBy);
    }
    return text + (item.decidesFloor ? ", floor" : "") + (item.decidesCeiling ? ", ceiling" : "");
}

using Texts = std::vector<std::string>;

/// Range 100 to 3000, base 300 to 2000.
class PerfGroupInspect : public testing::Test {
protected:
    PerfGroupInspect() { mGroup.UpdateCurrTimePoint(At(0)); }

    void SetMode(PerfWorkMode mode) { mGroup.SetWorkMode(mode); }
    void Timely(unsigned long handle, OperationValueMap values, int start = 0, int end = 10) {
        EXPECT_EQ(mGroup.ShortTermStart(Timed(handle, start, end, std::move(values))), 0);
    }
    void Stand(unsigned long handle, OperationValueMap values) {
        EXPECT_EQ(mGroup.LongTermStart(Standing(handle, std::move(values))), 0);
    }
    GroupState State(int seconds = 1) const {
        GroupState state;
        mGroup.Inspect(At(seconds), state);
        return state;
    }
    Texts Items(int seconds = 1) const {
        Texts texts;
        for (const GroupItemState& item : State(seconds).items) {
            texts.push_back(ItemText(item));
        }
        return texts;
    }
    GroupItemState Item(unsigned long handle) const {
        for (const GroupItemState& item : State().items) {
            if (item.handle == handle) {
                return item;
            }
        }
        ADD_FAILURE() << "no item of " << handle;
        return {};
    }

    RecordingGroup mGroup{MakeGroupConfig(true), PERF_WORK_MODE_0};
};

TEST_F(PerfGroupInspect, AGroupThatNobodyAsksIsDecidedByItsBaseValues) {
    const GroupState state = State();
    EXPECT_EQ(Items(), (Texts{"* boost 300: in force, floor", "* limit 2000: in force, ceiling"}));
    EXPECT_EQ(state.name, "G");
    EXPECT_EQ(PairText(state.base), "300~2000");
    EXPECT_EQ(PairText(state.inForce), "300~2000");
    EXPECT_EQ(state.rangeMin, 100);
    EXPECT_EQ(state.rangeMax, 3000);
    EXPECT_TRUE(state.isClamping);
    EXPECT_FALSE(state.isSuspended);
    EXPECT_EQ(state.nextWakeUp, TimePoint{});
    EXPECT_EQ(state.inspectedAt, At(1));
    EXPECT_TRUE(state.nodes.empty());
    EXPECT_EQ(state.kind, GroupKind::OTHER);
    EXPECT_EQ(PairText(state.items[0].afterRelease), "300~2000");
}

TEST_F(PerfGroupInspect, ATimedBoostDecidesBothSidesSinceItEscapesTheStandingCeiling) {
    Timely(5, Boost(1800));
    EXPECT_EQ(Items(), (Texts{"5 boost 1800: in force, floor, ceiling",
                              "* boost 300: lower boost 5", "* limit 2000: escaped 5"}));
    const GroupItemState winner = Item(5);
    EXPECT_TRUE(winner.isTimed);
    EXPECT_EQ(winner.start, At(0));
    EXPECT_EQ(winner.end, At(10));
    EXPECT_EQ(PairText(winner.afterRelease), "300~2000");
    EXPECT_EQ(PairText(winner.afterEnd), "300~2000");
    EXPECT_EQ(State().nextWakeUp, At(10));
}

TEST_F(PerfGroupInspect, WhatIsBehindInAQueueIsToldFromTheHead) {
    Stand(1, Boost(900));
    Stand(2, Boost(1200));
    Stand(3, Boost(1200));
    EXPECT_EQ(Items(), (Texts{"2 boost 1200: in force, floor", "3 boost 1200: equal 2",
                              "1 boost 900: lower boost 2", "* boost 300: lower boost 2",
                              "* limit 2000: in force, ceiling"}));
    EXPECT_EQ(PairText(Item(2).afterRelease), "1200~2000");
    EXPECT_FALSE(Item(2).isTimed);
    EXPECT_EQ(Item(2).end, TimePoint{});
}

TEST_F(PerfGroupInspect, AHigherStandingLimitIsBehindALowerOne) {
    Stand(1, Limit(1500));
    Stand(2, Limit(1000));
    EXPECT_EQ(Items(), (Texts{"* boost 300: in force, floor", "2 limit 1000: in force, ceiling",
                              "1 limit 1500: higher limit 2", "* limit 2000: higher limit 2"}));
    EXPECT_EQ(PairText(Item(2).afterRelease), "300~1500");
}

TEST_F(PerfGroupInspect, ATimedBoostNoHigherThanTheStandingOneIsTold) {
    Stand(1, Boost(900));
    Timely(2, Boost(800));
    EXPECT_EQ(Items()[0], "2 boost 800: lower boost 1, ceiling");
    Timely(3, Boost(900));
    EXPECT_EQ(Items()[0], "3 boost 900: equal 1, ceiling");
}

TEST_F(PerfGroupInspect, InMode0TheStandingLimitWinsOverTheStandingBoost) {
    Stand(1, Boost(1500));
    Stand(2, Limit(1000));
    EXPECT_EQ(Items(),
              (Texts{"1 boost 1500: limit wins 2", "* boost 300: lower boost 1",
                     "2 limit 1000: in force, floor, ceiling", "* limit 2000: higher limit 2"}));
    EXPECT_EQ(PairText(Item(2).afterRelease), "1500~2000");
}

TEST_F(PerfGroupInspect, InMode1TheStandingBoostWinsOverTheStandingLimit) {
    SetMode(PERF_WORK_MODE_1);
    Stand(1, Boost(1500));
    Stand(2, Limit(1000));
    EXPECT_EQ(Items(),
              (Texts{"1 boost 1500: in force, floor, ceiling", "* boost 300: lower boost 1",
                     "2 limit 1000: boost wins 1", "* limit 2000: higher limit 2"}));
    EXPECT_EQ(PairText(Item(1).afterRelease), "300~1000");
}

TEST_F(PerfGroupInspect, InMode2TimedLimitsCountForNothingAndLimitsWin) {
    SetMode(PERF_WORK_MODE_2);
    Timely(1, Boost(2500));
    Timely(2, Limit(500));
    EXPECT_EQ(Items(), (Texts{"1 boost 2500: limit wins *", "* boost 300: lower boost 1",
                              "2 limit 500: ignored *", "* limit 2000: in force, floor, ceiling"}));
    EXPECT_EQ(PairText(State().inForce), "2000~2000");
}

TEST_F(PerfGroupInspect, InMode0ATimedLimitTakesThePlaceOfTheBaseAndCutsTheFloor) {
    Stand(1, Boost(1500));
    Timely(2, Limit(800));
    EXPECT_EQ(Items(),
              (Texts{"1 boost 1500: limit wins 2", "* boost 300: lower boost 1",
                     "2 limit 800: in force, floor, ceiling", "* limit 2000: replaced 2"}));
    EXPECT_EQ(PairText(Item(2).afterEnd), "1500~2000");
}

TEST_F(PerfGroupInspect, ATimedLimitRelaxesAStandingOneButNeverTightensIt) {
    Stand(1, Limit(1000));
    Timely(2, Limit(800));
    EXPECT_EQ(Items(), (Texts{"* boost 300: in force, floor", "2 limit 800: not tightening 1",
                              "1 limit 1000: in force, ceiling", "* limit 2000: higher limit 1"}));
    EXPECT_EQ(mGroup.ShortTermStop(Timed(2, 0, 10, Limit(800))), 0);
    Timely(3, Limit(1000));
    EXPECT_EQ(Items()[1], "3 limit 1000: equal 1");
    EXPECT_EQ(mGroup.ShortTermStop(Timed(3, 0, 10, Limit(1000))), 0);
    Timely(4, Limit(1200));
    EXPECT_EQ(Items()[1], "4 limit 1200: in force, ceiling");
    EXPECT_EQ(Items()[2], "1 limit 1000: replaced 4");
}

TEST_F(PerfGroupInspect, ATimedBoostAboveATimedLimitLiftsTheCeilingInMode1) {
    SetMode(PERF_WORK_MODE_1);
    Stand(1, Limit(900));
    Timely(2, Limit(1000));
    Timely(3, Boost(2500));
    EXPECT_EQ(Items(), (Texts{"3 boost 2500: in force, floor, ceiling",
                              "* boost 300: lower boost 3", "2 limit 1000: boost wins 3",
                              "1 limit 900: replaced 2", "* limit 2000: higher limit 1"}));
    EXPECT_EQ(PairText(Item(3).afterRelease), "300~1000");
}

TEST_F(PerfGroupInspect, ALimitThatCutAStandingBoostMayDecideTheFloorWhileItsCeilingIsEscaped) {
    Stand(1, Boost(1500));
    Stand(2, Limit(1000));
    Timely(3, Boost(900));
    EXPECT_EQ(Items(), (Texts{"3 boost 900: lower boost 2, ceiling", "1 boost 1500: limit wins 2",
                              "* boost 300: lower boost 1", "2 limit 1000: escaped 3, floor",
                              "* limit 2000: higher limit 2"}));
}

TEST_F(PerfGroupInspect, WhatWaitsIsToldAndCountsWhenTheWinnerEnds) {
    Timely(1, Boost(1800), 0, 10);
    Timely(2, Boost(1500), 5, 20);
    Timely(3, Boost(2800), 11, 20);
    EXPECT_EQ(Items()[3], "2 boost 1500: waiting");
    EXPECT_EQ(Items()[4], "3 boost 2800: waiting");
    EXPECT_EQ(Item(2).start, At(5));
    EXPECT_TRUE(Item(2).isTimed);
    EXPECT_EQ(Item(2).end, At(20));
    EXPECT_EQ(PairText(Item(1).afterRelease), "300~2000");
    EXPECT_EQ(PairText(Item(1).afterEnd), "1500~3000");
    EXPECT_EQ(State().nextWakeUp, At(5));
}

TEST_F(PerfGroupInspect, WhatExpiredBehindTheHeadIsTold) {
    Timely(1, Boost(1800), 0, 10);
    Timely(2, Boost(1500), 0, 3);
    EXPECT_EQ(Items(2)[1], "2 boost 1500: lower boost 1");
    EXPECT_EQ(Items(3)[1], "2 boost 1500: expired");
}

TEST_F(PerfGroupInspect, WhatExpiredBehindTheHeadDoesNotFollowItsRelease) {
    Timely(1, Boost(1800), 0, 10);
    Timely(2, Boost(1500), 0, 3);
    EXPECT_EQ(PairText(State(2).items.front().afterRelease), "1500~3000");
    EXPECT_EQ(PairText(State(3).items.front().afterRelease), "300~2000");
}

TEST_F(PerfGroupInspect, AnOverdueWinnerIsStillInForceAndEndsNow) {
    Timely(1, Boost(1800), 0, 10);
    const GroupItemState item = State(12).items.front();
    EXPECT_EQ(ItemText(item), "1 boost 1800: in force, floor, ceiling");
    EXPECT_EQ(PairText(item.afterEnd), "300~2000");
    // Its release comes too late to do anything: its end does it.
    EXPECT_EQ(PairText(item.afterRelease), "300~2000");
}

TEST_F(PerfGroupInspect, AReleaseTakesBackEveryStepOfAnEvent) {
    Timely(1, Boost(1800), 0, 10);
    Timely(1, Boost(1500), 5, 30);
    Timely(1, Boost(1500), 5, 40);
    EXPECT_EQ(PairText(Item(1).afterRelease), "300~2000");
    EXPECT_EQ(PairText(Item(1).afterEnd), "1500~3000");
}

TEST_F(PerfGroupInspect, AReleaseTakesBackStepsThatDifferInNothingButTheirValue) {
    Timely(1, Boost(1800));
    Timely(1, Boost(1500));
    EXPECT_EQ(PairText(Item(1).afterRelease), "300~2000");
}

TEST_F(PerfGroupInspect, AReleaseTakesBackBothSidesOfARequest) {
    Timely(1, Both(1000, 1200));
    EXPECT_EQ(PairText(State().inForce), "1000~1200");
    for (const GroupItemState& item : State().items) {
        if (item.handle == 1) {
            EXPECT_EQ(PairText(item.afterRelease), "300~2000");
        }
    }
    Stand(2, Both(900, 1100));
    EXPECT_EQ(PairText(Item(1).afterRelease), "900~1100");
}

TEST_F(PerfGroupInspect, ASuspendedGroupTellsWhatItWouldWrite) {
    mGroup.SetSuspend(true);
    Timely(1, Boost(1800));
    EXPECT_TRUE(State().isSuspended);
    EXPECT_EQ(PairText(State().inForce), "1800~3000");
}

TEST_F(PerfGroupInspect, AStandingLimitThatCameUnnoticedDoesNotChangeTheStory) {
    // In mode 0 a timed limit counts in full as long as nobody holds a standing one; but a standing
    // limit no lower than the base changes no head, and so nothing is settled anew.
    Timely(1, Limit(800));
    Stand(2, Limit(2500));
    EXPECT_EQ(PairText(State().inForce), "300~800");
    EXPECT_EQ(Items()[1], "1 limit 800: in force, ceiling");
}

TEST_F(PerfGroupInspect, ABaseSetIsToldAsTheBase) {
    Stand(1, Boost(900));
    EXPECT_EQ(mGroup.BaseSet(Standing(kNoHandle, Boost(500))), 0);
    EXPECT_EQ(PairText(State().base), "500~2000");
    EXPECT_EQ(PairText(Item(1).afterRelease), "500~2000");
}

TEST_F(PerfGroupInspect, LookingChangesNothingAndWritesNothing) {
    Timely(1, Boost(1800), 0, 10);
    Timely(2, Both(1500, 1600), 5, 20);
    Stand(3, Boost(900));
    const std::string before = mGroup.DumpText();
    const std::size_t writes = mGroup.writes.size();
    State();
    EXPECT_EQ(mGroup.DumpText(), before);
    EXPECT_EQ(mGroup.writes.size(), writes);
    EXPECT_EQ(mGroup.closes, 0);
}

TEST_F(PerfGroupInspect, WhatIsTriedOutAppearsInTheLogUnderANameOfItsOwn) {
    Timely(1, Boost(1800));
    const LogCapture log;
    State();
    EXPECT_EQ(
        log.Count(LOG_LEVEL_DEBUG, "[G (preview)] no item found in waiting que with handle 1"), 1U);
    for (const LogLine& line : log.Lines()) {
        EXPECT_EQ(line.text.rfind("[G (preview)] ", 0), 0U) << line.text;
    }
}

}  // namespace
}  // namespace corebeacon::test
