#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/recording_group.h"
#include "support/log_capture.h"

namespace corebeacon::test {
namespace {

using Texts = std::vector<std::string>;
using Pairs = std::vector<Pair>;

constexpr auto kUnknownMode = static_cast<PerfWorkMode>(3);

class PerfGroupArbitration : public testing::Test {
protected:
    explicit PerfGroupArbitration(PerfWorkMode mode = PERF_WORK_MODE_0)
        : mGroup(MakeGroupConfig(), mode) {
        mGroup.UpdateCurrTimePoint(At(0));
    }
    int StartShort(unsigned long handle, const OperationValueMap& values) {
        return mGroup.ShortTermStart(Timed(handle, 0, 10, values));
    }
    int StopShort(unsigned long handle, const OperationValueMap& values) {
        return mGroup.ShortTermStop(Timed(handle, 0, 10, values));
    }
    int StartLong(unsigned long handle, const OperationValueMap& values) {
        return mGroup.LongTermStart(Standing(handle, values));
    }
    int StopLong(unsigned long handle, const OperationValueMap& values) {
        return mGroup.LongTermStop(Standing(handle, values));
    }

    RecordingGroup mGroup;
};

class PerfGroupInMode1 : public PerfGroupArbitration {
protected:
    PerfGroupInMode1() : PerfGroupArbitration(PERF_WORK_MODE_1) {}
};

class PerfGroupInMode2 : public PerfGroupArbitration {
protected:
    PerfGroupInMode2() : PerfGroupArbitration(PERF_WORK_MODE_2) {}
};

class PerfGroupInUnknownMode : public PerfGroupArbitration {
protected:
    PerfGroupInUnknownMode() : PerfGroupArbitration(kUnknownMode) {}
};

TEST_F(PerfGroupArbitration, BeginsWithItsBaseAndWritesNothing) {
    EXPECT_EQ(mGroup.GetFinalBoostValue(), 300);
    EXPECT_EQ(mGroup.GetName(), "G");
    EXPECT_EQ(mGroup.GetGroupId(), 0U);
    EXPECT_EQ(mGroup.GetNextWakeUpTimePoint(), TimePoint{});
    EXPECT_TRUE(mGroup.writes.empty());
}

TEST_F(PerfGroupArbitration, ALongBoostAboveTheLimitBaseYieldsToItInMode0) {
    EXPECT_EQ(StartLong(5, Boost(2500)), 0);
    EXPECT_EQ(mGroup.HeadText(),
              "G: boostBase(2500, 5)limitBase(2000, *)effectiveBase: 2000~2000 "
              "effective: 2000~2000");
    EXPECT_EQ(mGroup.writes, Pairs({{2000, 2000}}));
}

TEST_F(PerfGroupInMode1, ALongBoostAboveTheLimitBaseWins) {
    EXPECT_EQ(StartLong(5, Boost(2500)), 0);
    EXPECT_EQ(mGroup.HeadText(),
              "G: boostBase(2500, 5)limitBase(2000, *)effectiveBase: 2500~2500 "
              "effective: 2500~2500");
    EXPECT_EQ(mGroup.writes, Pairs({{2500, 2500}}));
}

TEST_F(PerfGroupInMode2, ALongBoostAboveTheLimitBaseYieldsToIt) {
    EXPECT_EQ(StartLong(5, Boost(2500)), 0);
    EXPECT_EQ(mGroup.writes, Pairs({{2000, 2000}}));
}

TEST_F(PerfGroupArbitration, AnEqualBoostLeavesTheOlderOneInForce) {
    EXPECT_EQ(StartShort(1, Boost(1800)), 0);
    EXPECT_EQ(StartShort(2, Boost(1800)), 0);
    EXPECT_EQ(mGroup.HeadText(),
              "G: boostBase(300, *)limitBase(2000, *)effectiveBase: 300~2000 boost(1800, 1)"
              "effective: 1800~3000");
    EXPECT_EQ(mGroup.writes.size(), 1U);
}

TEST_F(PerfGroupArbitration, AShortBoostEscapesTheLongTermLimit) {
    StartLong(1, Limit(1200));
    EXPECT_EQ(StartShort(2, Boost(1800)), 0);
    EXPECT_EQ(mGroup.writes, Pairs({{300, 1200}, {1800, 3000}}));
    EXPECT_EQ(StopShort(2, Boost(1800)), 0);
    EXPECT_EQ(mGroup.writes.back(), Pair(300, 1200));
}

TEST_F(PerfGroupArbitration, AShortBoostBelowTheBaseStillLiftsTheLimit) {
    StartShort(1, Boost(200));
    EXPECT_EQ(mGroup.writes, Pairs({{300, 3000}}));
}

TEST_F(PerfGroupInMode1, AShortBoostEscapesTheLongTermLimit) {
    StartLong(1, Limit(1200));
    StartShort(2, Boost(1800));
    EXPECT_EQ(mGroup.writes.back(), Pair(1800, 3000));
}

TEST_F(PerfGroupInMode2, AShortBoostDoesNotEscapeTheLongTermLimit) {
    StartLong(1, Limit(1000));
    EXPECT_EQ(StartShort(2, Boost(1500)), 0);
    EXPECT_EQ(mGroup.HeadText(),
              "G: boostBase(300, *)limitBase(1000, 1)effectiveBase: 300~1000 boost(1500, 2)"
              "effective: 1500~1000");
    EXPECT_EQ(mGroup.writes.back(), Pair(1000, 1000));
}

TEST_F(PerfGroupArbitration, AShortLimitCountsInFullWhileNobodyHoldsALongOne) {
    StartLong(1, Boost(1500));
    EXPECT_EQ(StartShort(2, Limit(800)), 0);
    EXPECT_EQ(mGroup.HeadText(),
              "G: boostBase(1500, 1)limitBase(2000, *)effectiveBase: 1500~2000 limit(800, 2)"
              "effective: 800~800");
    EXPECT_EQ(mGroup.writes.back(), Pair(800, 800));
}

TEST_F(PerfGroupArbitration, AShortLimitAboveTheBoostLeavesTheBoostAlone) {
    StartShort(1, Both(700, 800));
    EXPECT_EQ(mGroup.writes, Pairs({{700, 800}}));
}

TEST_F(PerfGroupArbitration, AShortLimitMayRelaxButNotTightenALongOne) {
    StartLong(1, Limit(1000));
    StartShort(2, Limit(800));
    EXPECT_EQ(mGroup.writes.back(), Pair(300, 1000));
    StopShort(2, Limit(800));
    StartShort(3, Limit(1500));
    EXPECT_EQ(mGroup.writes.back(), Pair(300, 1500));
}

TEST_F(PerfGroupArbitration, ALongLimitBehindTheDefaultOneCountsAsHeld) {
    StartLong(1, Limit(2500));
    StartShort(2, Limit(800));
    EXPECT_EQ(mGroup.writes.back(), Pair(300, 2000));
}

TEST_F(PerfGroupInMode1, AShortLimitNeverTightensTheBase) {
    StartShort(1, Limit(800));
    EXPECT_EQ(mGroup.writes.back(), Pair(300, 2000));
    StartShort(2, Boost(2600));
    EXPECT_EQ(mGroup.writes.back(), Pair(2600, 2600)) << "the boost wins over the limit";
}

TEST_F(PerfGroupInMode2, AShortLimitIsIgnored) {
    EXPECT_EQ(StartShort(1, Limit(800)), 0);
    EXPECT_EQ(mGroup.writes, Pairs({{300, 2000}}));
}

TEST_F(PerfGroupArbitration, AShortBoostAboveARelaxedLimitWins) {
    StartLong(1, Limit(1000));
    StartShort(2, Both(1200, 1500));
    StartShort(3, Boost(1800));
    EXPECT_EQ(mGroup.writes.back(), Pair(1800, 1800));
}

TEST_F(PerfGroupArbitration, ALongChangeThatTheOtherSideHidesIsNotWritten) {
    LogCapture log;
    StartLong(1, Boost(2500));
    mGroup.writes.clear();
    log.Clear();
    EXPECT_EQ(StartLong(2, Boost(2600)), 0);
    EXPECT_TRUE(mGroup.writes.empty());
    EXPECT_EQ(log.Texts(), Texts{"[G] no curr effective base value changed"});
    EXPECT_EQ(log.Lines()[0].level, 3);
}

TEST_F(PerfGroupArbitration, AWorkModeChangeSettlesEverythingAnewAndWritesInAnyCase) {
    StartLong(5, Boost(2500));
    mGroup.writes.clear();
    EXPECT_EQ(mGroup.SetWorkMode(PERF_WORK_MODE_1), 0);
    EXPECT_EQ(mGroup.SetWorkMode(PERF_WORK_MODE_1), 0);
    EXPECT_EQ(mGroup.SetWorkMode(PERF_WORK_MODE_2), 0);
    EXPECT_EQ(mGroup.writes, Pairs({{2500, 2500}, {2500, 2500}, {2000, 2000}}));
}

TEST_F(PerfGroupArbitration, AnUnknownWorkModeKeepsTheFinalPairWhenTheBasesConflict) {
    StartLong(5, Boost(2500));
    LogCapture log;
    mGroup.writes.clear();
    EXPECT_EQ(mGroup.SetWorkMode(kUnknownMode), -1);
    EXPECT_EQ(log.Texts(6),
              (Texts{"[G] invalid work mode: 3", "[G] UpdateEffectiveLongTermCommand failed"}));
    EXPECT_TRUE(mGroup.writes.empty());
    EXPECT_EQ(mGroup.GetFinalBoostValue(), 2000);
    log.Clear();
    EXPECT_EQ(StartLong(6, Boost(2600)), -1);
    EXPECT_EQ(log.Texts(6),
              (Texts{"[G] invalid work mode: 3", "[G] UpdateEffectiveLongTermCommand failed"}));
}

TEST_F(PerfGroupArbitration, AnUnknownWorkModeKeepsTheFinalPairWhenTheBasesAgree) {
    LogCapture log;
    EXPECT_EQ(mGroup.SetWorkMode(kUnknownMode), -1);
    EXPECT_EQ(log.Texts(6), (Texts{"[G] invalid work mode: 3", "[G] GenerateFinalValue failed"}));
    EXPECT_TRUE(mGroup.writes.empty());
}

TEST_F(PerfGroupInUnknownMode, AShortStartFailsAndKeepsTheFinalPair) {
    LogCapture log;
    EXPECT_EQ(StartShort(1, Boost(1000)), -1);
    EXPECT_EQ(log.Texts(6), (Texts{"[G] invalid work mode: 3", "[G] GenerateFinalValue failed"}));
    EXPECT_EQ(mGroup.QueueText(),
              "boostBaseList(0) limitBaseList(0) boostList(0) limitList(0) final: 300~2000");
    int boost = 1;
    int limit = 2;
    EXPECT_EQ(mGroup.GenerateFinalValue(boost, limit), -1);
    EXPECT_EQ(Pair(boost, limit), Pair(1, 2));
}

TEST_F(PerfGroupArbitration, AFailedWriteIsNoFailureOfTheCommand) {
    mGroup.configResult = -1;
    EXPECT_EQ(StartShort(1, Boost(1000)), 0);
    EXPECT_EQ(StartLong(2, Boost(500)), 0);
    EXPECT_EQ(mGroup.SetWorkMode(PERF_WORK_MODE_1), 0);
    EXPECT_EQ(mGroup.SetSuspend(false), 0);
    EXPECT_EQ(mGroup.writes.size(), 4U);
}

TEST_F(PerfGroupArbitration, AChangeOfHeadIsWrittenEvenWhenTheFinalPairStays) {
    StartShort(1, Boost(1000));
    StartShort(2, Boost(200));
    StopShort(1, Boost(1000));
    EXPECT_EQ(mGroup.writes, Pairs({{1000, 3000}, {300, 3000}}));
    EXPECT_EQ(StopShort(2, Boost(200)), 0);
    EXPECT_EQ(mGroup.UpdateShortTermCommandAndWriteValue(), 0);
    EXPECT_EQ(mGroup.writes.size(), 4U);
    EXPECT_EQ(mGroup.writes[2], mGroup.writes[3]);
}

TEST_F(PerfGroupArbitration, SuspendingClosesTheNodesAndStopsWriting) {
    LogCapture log;
    EXPECT_EQ(mGroup.SetSuspend(true), 0);
    EXPECT_EQ(mGroup.closes, 1);
    EXPECT_EQ(log.Texts(), Texts{"[G] suspend old = 0, new = 1"});
    EXPECT_EQ(log.Lines()[0].level, 4);
    EXPECT_EQ(StartShort(1, Boost(1000)), 0);
    EXPECT_EQ(StartLong(2, Boost(500)), 0);
    EXPECT_EQ(mGroup.SetWorkMode(PERF_WORK_MODE_1), 0);
    EXPECT_TRUE(mGroup.writes.empty());
    EXPECT_EQ(mGroup.GetFinalBoostValue(), 1000);
    log.Clear();
    EXPECT_EQ(mGroup.SetSuspend(false), 0);
    EXPECT_EQ(log.Texts(), Texts{"[G] suspend old = 1, new = 0"});
    EXPECT_EQ(mGroup.writes, Pairs({{1000, 3000}}));
    EXPECT_EQ(mGroup.closes, 1);
}

TEST_F(PerfGroupArbitration, ResumingWritesTheFinalPairOnceEvenWithoutACommandInBetween) {
    mGroup.SetSuspend(true);
    mGroup.SetSuspend(false);
    EXPECT_EQ(mGroup.writes, Pairs({{300, 2000}}));
}

TEST_F(PerfGroupArbitration, WakesUpForTheEarliestOfTheThreeHeads) {
    mGroup.ShortTermStart(Timed(1, 0, 30, Boost(1000)));
    EXPECT_EQ(mGroup.GetNextWakeUpTimePoint(), At(30));
    mGroup.ShortTermStart(Timed(2, 0, 20, Limit(1500)));
    EXPECT_EQ(mGroup.GetNextWakeUpTimePoint(), At(20));
    mGroup.ShortTermStart(Timed(3, 10, 40, Boost(1200)));
    EXPECT_EQ(mGroup.GetNextWakeUpTimePoint(), At(10));
}

TEST_F(PerfGroupArbitration, AQueuedItemDoesNotWakeTheWorkerUp) {
    mGroup.ShortTermStart(Timed(1, 0, 30, Boost(1000)));
    mGroup.ShortTermStart(Timed(2, 0, 5, Boost(900)));
    EXPECT_EQ(mGroup.GetNextWakeUpTimePoint(), At(30));
}

TEST_F(PerfGroupArbitration, TheGreatestTimePointIsAnEndLikeAnyOther) {
    mGroup.ShortTermStart({1, At(0), TimePoint::max(), Boost(1000)});
    EXPECT_EQ(mGroup.GetNextWakeUpTimePoint(), TimePoint::max());
    mGroup.ShortTermTimeOut(TimePoint::max());
    EXPECT_EQ(mGroup.GetNextWakeUpTimePoint(), TimePoint{});
}

TEST_F(PerfGroupArbitration, LongItemsNeverWakeTheWorkerUp) {
    mGroup.LongTermStart(Timed(1, 0, 30, Both(500, 1000)));
    EXPECT_EQ(mGroup.GetNextWakeUpTimePoint(), TimePoint{});
}

TEST_F(PerfGroupArbitration, TheBaseKindHasNoRelatedGroupNoHistoryAndNoNodes) {
    class BareGroup : public PerfGroup {
    public:
        using PerfGroup::PerfGroup;
        int DoConfig(int, int) override { return 0; }
        void DumpBaseValueAfterMapping(std::vector<SpecifiedGroupDumpInfo>&) const override {}
    };
    BareGroup group(MakeGroupConfig(), PERF_WORK_MODE_0);
    EXPECT_EQ(group.RelatedGroupDoConfig(1), 0);
    std::ostringstream out;
    EXPECT_EQ(group.DumpLimitHistoryLog(out), 0);
    EXPECT_EQ(out.str(), "");
    group.CloseAllFds();
    GroupDumpInfo info;
    group.DumpBase(info);
    EXPECT_TRUE(info.specified.empty());
}

}  // namespace
}  // namespace corebeacon::test
