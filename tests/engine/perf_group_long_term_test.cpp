#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/recording_group.h"
#include "support/log_capture.h"

namespace corebeacon::test {
namespace {

using Texts = std::vector<std::string>;
using Pairs = std::vector<Pair>;

constexpr auto kUnknownOperation = static_cast<PerfOperationType>(2);

class PerfGroupLongTerm : public testing::Test {
protected:
    PerfGroupLongTerm() { mGroup.UpdateCurrTimePoint(At(0)); }

    int Start(unsigned long handle, const OperationValueMap& values) {
        return mGroup.LongTermStart(Standing(handle, values));
    }
    int Stop(unsigned long handle, const OperationValueMap& values) {
        return mGroup.LongTermStop(Standing(handle, values));
    }
    int SetBase(const OperationValueMap& values) {
        return mGroup.BaseSet(Standing(kNoHandle, values));
    }

    LogCapture mLog;
    RecordingGroup mGroup{MakeGroupConfig(), PERF_WORK_MODE_0};
};

TEST_F(PerfGroupLongTerm, AReservedHandleIsRefused) {
    EXPECT_EQ(Start(kInvalidHandle, Boost(500)), -1);
    EXPECT_EQ(Stop(kNoHandle, Boost(500)), -1);
    EXPECT_EQ(mLog.Texts(), (Texts{"[G] invalid handle: 18446744073709551605",
                                   "[G] invalid handle: 18446744073709551615"}));
    EXPECT_EQ(mLog.Texts(6).size(), 2U);
}

TEST_F(PerfGroupLongTerm, ACommandHasOneOrTwoEntriesOfKnownOperations) {
    EXPECT_EQ(Start(1, {}), -1);
    EXPECT_EQ(Stop(1, {}), -1);
    EXPECT_EQ(Start(1, {{kUnknownOperation, 5}}), -1);
    EXPECT_EQ(Stop(1, {{kUnknownOperation, 5}}), -1);
    EXPECT_EQ(mLog.Texts(),
              (Texts{"[G] invalid command num: 0", "[G] AddLongTermCommand failed",
                     "[G] invalid command num: 0", "[G] DeleteLongTermCommand failed",
                     "[G] invalid operation type: 2", "[G] AddLongTermCommand failed",
                     "[G] invalid operation type: 2", "[G] DeleteLongTermCommand failed"}));
    EXPECT_EQ(mLog.Texts(6).size(), 8U);
}

TEST_F(PerfGroupLongTerm, TimesAreCarriedButNeverCompared) {
    mGroup.UpdateCurrTimePoint(At(100));
    EXPECT_EQ(mGroup.LongTermStart(Timed(1, 50, 10, Boost(500))), 0);
    EXPECT_EQ(mGroup.ShortTermTimeOut(At(200)), 0);
    EXPECT_EQ(mGroup.writes, Pairs({{500, 2000}}));
    EXPECT_EQ(mGroup.LongTermStop(Timed(1, 9, 8, Boost(500))), 0);
    EXPECT_EQ(mGroup.writes.back(), Pair(300, 2000));
}

TEST_F(PerfGroupLongTerm, StartAndStopOfTheBestItemAreWritten) {
    EXPECT_EQ(Start(1, Both(500, 1000)), 0);
    EXPECT_TRUE(mLog.Lines().empty());
    EXPECT_EQ(Stop(1, Both(500, 1000)), 0);
    EXPECT_EQ(mLog.Texts(3), (Texts{"[G] no item found in boost base que with handle 1",
                                    "[G] no item found in limit base que with handle 1"}));
    EXPECT_EQ(mGroup.writes, Pairs({{500, 1000}, {300, 2000}}));
}

TEST_F(PerfGroupLongTerm, AnItemThatIsNotTheBestComesAndGoesWithoutAWrite) {
    EXPECT_EQ(Start(1, Both(300, 2000)), 0);
    EXPECT_EQ(mLog.Texts(), Texts{"[G] no curr base value changed"});
    EXPECT_EQ(mLog.Lines()[0].level, 3);
    mLog.Clear();
    EXPECT_EQ(mGroup.QueueText(),
              "boostBaseList(1) 300:1 limitBaseList(1) 2000:1 boostList(0) limitList(0) "
              "final: 300~2000");
    EXPECT_EQ(Stop(1, Both(300, 2000)), 0);
    EXPECT_EQ(mLog.Texts(), (Texts{"[G] delete item in boost base que with handle 1",
                                   "[G] delete item in limit base que with handle 1",
                                   "[G] no curr base value changed"}));
    EXPECT_EQ(mLog.Texts(3).size(), 3U);
    EXPECT_TRUE(mGroup.writes.empty());
}

TEST_F(PerfGroupLongTerm, AStopForAHandleThatIsNotQueuedSaysSoAndWritesNothing) {
    EXPECT_EQ(Stop(9, Both(300, 2000)), 0);
    EXPECT_EQ(mLog.Texts(), (Texts{"[G] no item found in boost base que with handle 9",
                                   "[G] no item found in limit base que with handle 9",
                                   "[G] no curr base value changed"}));
}

TEST_F(PerfGroupLongTerm, ABaseSetTakesExactlyOneEntry) {
    EXPECT_EQ(SetBase(Both(400, 500)), -1);
    EXPECT_EQ(SetBase({}), -1);
    EXPECT_EQ(mLog.Texts(6),
              (Texts{"[G] invalid base command num: 2", "[G] UpdateDefaultBoostBaseItem failed",
                     "[G] invalid base command num: 0", "[G] UpdateDefaultBoostBaseItem failed"}));
    EXPECT_TRUE(mGroup.writes.empty());
}

TEST_F(PerfGroupLongTerm, ABaseSetTakesNoLimit) {
    EXPECT_EQ(SetBase(Limit(400)), -1);
    EXPECT_EQ(mLog.Texts(6),
              (Texts{"[G] invalid operation type: 1", "[G] UpdateDefaultBoostBaseItem failed"}));
}

TEST_F(PerfGroupLongTerm, ABaseSetDoesNotTestTheHandle) {
    EXPECT_EQ(mGroup.BaseSet(Standing(7, Boost(400))), 0);
    EXPECT_EQ(mGroup.writes, Pairs({{400, 2000}}));
    EXPECT_NE(mGroup.HeadText().find("boostBase(400, *)"), std::string::npos);
}

TEST_F(PerfGroupLongTerm, ABaseSetToTheSameValueWritesNothing) {
    EXPECT_EQ(SetBase(Boost(300)), 0);
    EXPECT_EQ(mLog.Texts(), Texts{"[G] no curr base value changed"});
    EXPECT_TRUE(mGroup.writes.empty());
}

TEST_F(PerfGroupLongTerm, ALoweredDefaultYieldsToTheBestRequestAndGoesBehindItsEquals) {
    SetBase(Boost(1000));
    Start(1, Boost(900));
    Start(2, Boost(800));
    EXPECT_EQ(SetBase(Boost(800)), 0);
    EXPECT_EQ(mGroup.writes.back(), Pair(900, 2000));
    EXPECT_EQ(mGroup.QueueText(),
              "boostBaseList(2) 800:2 800:* limitBaseList(0) boostList(0) limitList(0) "
              "final: 900~2000");
}

TEST_F(PerfGroupLongTerm, ADefaultLoweredToTheValueOfTheBestRequestStaysHead) {
    SetBase(Boost(1000));
    Start(1, Boost(900));
    SetBase(Boost(900));
    EXPECT_NE(mGroup.HeadText().find("boostBase(900, *)"), std::string::npos);
}

TEST_F(PerfGroupLongTerm, ANewDefaultBehindAHeadTakesItsEqualsOfTheOldValueAlong) {
    Start(1, Boost(900));
    Start(2, Boost(300));
    Start(3, Boost(250));
    mGroup.writes.clear();
    mLog.Clear();
    EXPECT_EQ(SetBase(Boost(500)), 0);
    EXPECT_EQ(mLog.Texts(), Texts{"[G] no curr base value changed"});
    EXPECT_TRUE(mGroup.writes.empty());
    EXPECT_EQ(mGroup.QueueText(),
              "boostBaseList(2) 500:* 250:3 limitBaseList(0) boostList(0) limitList(0) "
              "final: 900~2000");
}

TEST_F(PerfGroupLongTerm, ANewDefaultAboveTheHeadTakesItsPlace) {
    Start(1, Boost(900));
    EXPECT_EQ(SetBase(Boost(1100)), 0);
    EXPECT_EQ(mGroup.writes.back(), Pair(1100, 2000));
    EXPECT_EQ(mGroup.QueueText(),
              "boostBaseList(1) 900:1 limitBaseList(0) boostList(0) limitList(0) "
              "final: 1100~2000");
    // The old default is gone for good.
    Stop(1, Boost(900));
    EXPECT_EQ(mGroup.QueueText(),
              "boostBaseList(0) limitBaseList(0) boostList(0) limitList(0) final: 1100~2000");
}

TEST_F(PerfGroupLongTerm, ANewDefaultEqualToTheHeadStaysBehindIt) {
    Start(1, Boost(900));
    EXPECT_EQ(SetBase(Boost(900)), 0);
    EXPECT_NE(mGroup.HeadText().find("boostBase(900, 1)"), std::string::npos);
}

TEST_F(PerfGroupLongTerm, ABaseSetHiddenByTheLimitIsNotWritten) {
    Start(1, Limit(1000));
    SetBase(Boost(1500));
    EXPECT_EQ(mGroup.writes.back(), Pair(1000, 1000));
    mGroup.writes.clear();
    EXPECT_EQ(SetBase(Boost(1600)), 0);
    EXPECT_TRUE(mGroup.writes.empty());
    EXPECT_EQ(mLog.Texts(3).back(), "[G] no curr effective base value changed");
}

TEST_F(PerfGroupLongTerm, ALongChangeUnderAShortBoostIsSettledAndWritten) {
    mGroup.ShortTermStart(Timed(1, 0, 10, Boost(1800)));
    EXPECT_EQ(Start(2, Limit(1000)), 0);
    EXPECT_EQ(mGroup.writes, Pairs({{1800, 3000}, {1800, 3000}}));
    mGroup.ShortTermTimeOut(At(10));
    EXPECT_EQ(mGroup.writes.back(), Pair(300, 1000));
}

}  // namespace
}  // namespace corebeacon::test
