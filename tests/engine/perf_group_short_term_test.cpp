#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/recording_group.h"
#include "support/log_capture.h"

namespace corebeacon::test {
namespace {

using Texts = std::vector<std::string>;
using Pairs = std::vector<Pair>;

constexpr auto kUnknownOperation = static_cast<PerfOperationType>(7);

class PerfGroupShortTerm : public testing::Test {
protected:
    PerfGroupShortTerm() { mGroup.UpdateCurrTimePoint(At(0)); }

    int Start(unsigned long handle, int start, int end, const OperationValueMap& values) {
        return mGroup.ShortTermStart(Timed(handle, start, end, values));
    }
    int Stop(unsigned long handle, int start, int end, const OperationValueMap& values) {
        return mGroup.ShortTermStop(Timed(handle, start, end, values));
    }

    LogCapture mLog;
    RecordingGroup mGroup{MakeGroupConfig(), PERF_WORK_MODE_0};
};

TEST_F(PerfGroupShortTerm, AReservedHandleIsRefused) {
    EXPECT_EQ(Start(kInvalidHandle, 0, 10, Boost(1000)), -1);
    EXPECT_EQ(Start(kNoHandle, 0, 10, Boost(1000)), -1);
    EXPECT_EQ(Stop(kNoHandle, 0, 10, Boost(1000)), -1);
    EXPECT_EQ(
        mLog.Texts(),
        (Texts{"[G] invalid handle: 18446744073709551605", "[G] invalid short term start command",
               "[G] invalid handle: 18446744073709551615", "[G] invalid short term start command",
               "[G] invalid handle: 18446744073709551615", "[G] invalid short term stop command"}));
    EXPECT_EQ(mLog.Texts(6).size(), 6U);
    EXPECT_EQ(mLog.Lines().back().tag, "PF_GROUP");
    EXPECT_TRUE(mGroup.writes.empty());
}

TEST_F(PerfGroupShortTerm, TheGreatestValidHandleIsAccepted) {
    EXPECT_EQ(Start(kMaxValidHandle, 0, 10, Boost(1000)), 0);
    EXPECT_EQ(mGroup.writes, Pairs({{1000, 3000}}));
}

TEST_F(PerfGroupShortTerm, AnEndBeforeTheStartIsRefusedEvenInThePast) {
    EXPECT_EQ(Start(1, -2, -3, Boost(1000)), -1);
    EXPECT_EQ(mLog.Texts(6),
              (Texts{"[G] startTime larger than endTime", "[G] invalid short term start command"}));
}

TEST_F(PerfGroupShortTerm, TheHandleIsCheckedBeforeTheTimesAndTheTimesBeforeTheEntries) {
    EXPECT_EQ(Start(kNoHandle, -2, -3, {}), -1);
    EXPECT_EQ(Start(1, -2, -3, {}), -1);
    EXPECT_EQ(Start(1, -3, -2, {}), 0);
    EXPECT_EQ(mLog.Texts(),
              (Texts{"[G] invalid handle: 18446744073709551615",
                     "[G] invalid short term start command", "[G] startTime larger than endTime",
                     "[G] invalid short term start command", "[G] already time out"}));
}

TEST_F(PerfGroupShortTerm, AStartWhoseEndTimeHasAlreadyPassedReturns0AndChangesNothing) {
    const std::string before = mGroup.DumpText();
    EXPECT_EQ(Start(1, -5, 0, Boost(1000)), 0);
    EXPECT_EQ(mLog.Texts(), Texts{"[G] already time out"});
    EXPECT_EQ(mLog.Lines()[0].level, 3);
    EXPECT_EQ(mGroup.DumpText(), before);
    EXPECT_EQ(mGroup.GetNextWakeUpTimePoint(), TimePoint{});
    EXPECT_TRUE(mGroup.writes.empty());
}

TEST_F(PerfGroupShortTerm, ACommandHasOneOrTwoEntries) {
    EXPECT_EQ(Start(1, 0, 10, {}), -1);
    EXPECT_EQ(Start(1, 0, 10,
                    {{PERF_OPERATION_BOOST, 1}, {PERF_OPERATION_LIMIT, 2}, {kUnknownOperation, 3}}),
              -1);
    EXPECT_EQ(Stop(1, 0, 10, {}), -1);
    EXPECT_EQ(mLog.Texts(),
              (Texts{"[G] invalid command num: 0", "[G] AddShortTermCommand failed",
                     "[G] invalid command num: 3", "[G] AddShortTermCommand failed",
                     "[G] invalid command num: 0", "[G] DeleteShortTermCommand failed"}));
    EXPECT_EQ(mLog.Texts(6).size(), 6U);
}

TEST_F(PerfGroupShortTerm, EntriesBeforeAnUnknownOperationStayQueued) {
    const OperationValueMap values = {{PERF_OPERATION_BOOST, 1000}, {kUnknownOperation, 3}};
    EXPECT_EQ(Start(1, 0, 10, values), -1);
    EXPECT_EQ(mLog.Texts(6),
              (Texts{"[G] invalid operation type: 7", "[G] AddShortTermCommand failed"}));
    EXPECT_EQ(mGroup.HeadText(),
              "G: boostBase(300, *)limitBase(2000, *)effectiveBase: 300~2000 boost(1000, 1)"
              "effective: 300~2000");
    EXPECT_TRUE(mGroup.writes.empty());
    mLog.Clear();
    EXPECT_EQ(Stop(1, 0, 10, values), -1);
    EXPECT_EQ(mLog.Texts(6),
              (Texts{"[G] invalid operation type: 7", "[G] DeleteShortTermCommand failed"}));
    EXPECT_EQ(mGroup.GetNextWakeUpTimePoint(), TimePoint{}) << "the boost is gone";
    EXPECT_TRUE(mGroup.writes.empty());
}

TEST_F(PerfGroupShortTerm, AStartThatIsNotTheBestIsQueuedWithoutAWrite) {
    Start(1, 0, 10, Both(1000, 1500));
    mLog.Clear();
    EXPECT_EQ(Start(2, 0, 10, Both(900, 1600)), 0);
    EXPECT_EQ(mLog.Texts(), Texts{"[G] no curr value changed"});
    EXPECT_EQ(mLog.Lines()[0].level, 3);
    EXPECT_EQ(mGroup.QueueText(),
              "boostBaseList(0) limitBaseList(0) boostList(1) 900:2 limitList(1) 1600:2 "
              "final: 1000~1500");
    EXPECT_EQ(mGroup.writes.size(), 1U);
}

TEST_F(PerfGroupShortTerm, OneOfTwoEntriesSufficesForAWrite) {
    Start(1, 0, 10, Both(1000, 1500));
    EXPECT_EQ(Start(2, 0, 10, Both(900, 1400)), 0);
    EXPECT_EQ(mGroup.writes, Pairs({{1000, 1500}, {1000, 1400}}));
}

TEST_F(PerfGroupShortTerm, ADisplacedHeadGoesBehindItsEquals) {
    Start(1, 0, 10, Boost(1000));
    Start(2, 0, 10, Boost(1000));
    Start(3, 0, 10, Boost(1100));
    EXPECT_EQ(mGroup.QueueText(),
              "boostBaseList(0) limitBaseList(0) boostList(2) 1000:2 1000:1 limitList(0) "
              "final: 1100~3000");
}

TEST_F(PerfGroupShortTerm, AStartInTheFutureChangesNothingUntilTheTimeOutAtThatTime) {
    EXPECT_EQ(Start(1, 5, 10, Both(1000, 1500)), 0);
    EXPECT_EQ(mLog.Texts(3), (Texts{"[G] add command to wait que", "[G] add command to wait que",
                                    "[G] no curr value changed"}));
    EXPECT_TRUE(mGroup.writes.empty());
    EXPECT_EQ(mGroup.GetNextWakeUpTimePoint(), At(5));
    EXPECT_EQ(mGroup.ShortTermTimeOut(At(4)), 0);
    EXPECT_TRUE(mGroup.writes.empty());
    EXPECT_EQ(mGroup.ShortTermTimeOut(At(5)), 0);
    EXPECT_EQ(mGroup.writes, Pairs({{1000, 1500}}));
    EXPECT_EQ(mGroup.GetNextWakeUpTimePoint(), At(10));
}

TEST_F(PerfGroupShortTerm, AStartAtThisInstantDoesNotWait) {
    EXPECT_EQ(Start(1, 0, 10, Boost(1000)), 0);
    EXPECT_EQ(mGroup.writes, Pairs({{1000, 3000}}));
}

TEST_F(PerfGroupShortTerm, AStopRemovesTheHeadAndPromotesTheBestOfTheRest) {
    Start(1, 0, 10, Both(1000, 1500));
    Start(2, 0, 10, Both(900, 1600));
    mLog.Clear();
    EXPECT_EQ(Stop(1, 0, 10, Both(1000, 1500)), 0);
    EXPECT_EQ(mLog.Texts(), (Texts{"[G] no item found in waiting que with handle 1",
                                   "[G] no item found in boost que with handle 1",
                                   "[G] no item found in limit que with handle 1"}));
    EXPECT_EQ(mGroup.writes.back(), Pair(900, 1600));
    EXPECT_EQ(Stop(2, 0, 10, Both(900, 1600)), 0);
    EXPECT_EQ(mGroup.writes.back(), Pair(300, 2000));
    EXPECT_EQ(mGroup.GetNextWakeUpTimePoint(), TimePoint{});
}

TEST_F(PerfGroupShortTerm, AStopOfAQueuedItemWritesNothing) {
    Start(1, 0, 10, Both(1000, 1500));
    Start(2, 0, 10, Both(900, 1600));
    mLog.Clear();
    EXPECT_EQ(Stop(2, 0, 10, Both(900, 1600)), 0);
    EXPECT_EQ(mLog.Texts(),
              (Texts{"[G] no item found in waiting que with handle 2",
                     "[G] delete item in boost que with handle 2",
                     "[G] delete item in limit que with handle 2", "[G] no curr value changed"}));
    EXPECT_EQ(mLog.Texts(3).size(), 4U);
    EXPECT_EQ(mGroup.writes.size(), 1U);
}

TEST_F(PerfGroupShortTerm, AStopForAHandleThatIsNotQueuedSaysSoAndWritesNothing) {
    EXPECT_EQ(Stop(9, 0, 10, Both(1000, 1500)), 0);
    EXPECT_EQ(mLog.Texts(),
              (Texts{"[G] no item found in waiting que with handle 9",
                     "[G] no item found in boost que with handle 9",
                     "[G] no item found in limit que with handle 9", "[G] no curr value changed"}));
    EXPECT_EQ(mLog.Texts(3).size(), 4U);
    EXPECT_TRUE(mGroup.writes.empty());
}

TEST_F(PerfGroupShortTerm, AStopWithAnotherValueFindsOnlyTheHead) {
    Start(1, 0, 10, Boost(1000));
    Start(2, 0, 10, Boost(900));
    EXPECT_EQ(Stop(2, 0, 10, Boost(901)), 0);
    EXPECT_EQ(mGroup.QueueText(),
              "boostBaseList(0) limitBaseList(0) boostList(1) 900:2 limitList(0) final: 1000~3000");
    EXPECT_EQ(Stop(1, 0, 10, Boost(5)), 0);
    EXPECT_EQ(mGroup.writes.back(), Pair(900, 3000));
}

TEST_F(PerfGroupShortTerm, AStopErasesBothTheQueuedItemAndTheHeadOfItsHandle) {
    Start(1, 0, 10, Boost(1000));
    Start(1, 0, 20, Boost(1000));
    Start(2, 0, 20, Boost(900));
    mLog.Clear();
    EXPECT_EQ(Stop(1, 0, 10, Boost(1000)), 0);
    EXPECT_EQ(mLog.Count(3, "[G] delete item in boost que with handle 1"), 1U);
    EXPECT_EQ(mGroup.writes.back(), Pair(900, 3000));
}

TEST_F(PerfGroupShortTerm, EachErasedItemIsTold) {
    Start(1, 0, 10, Both(1000, 1100));
    Start(2, 0, 10, Both(900, 1200));
    Start(2, 0, 20, Both(900, 1200));
    Start(3, 5, 20, Boost(900));
    Start(2, 5, 20, Both(900, 1200));
    mLog.Clear();
    EXPECT_EQ(Stop(2, 5, 10, Both(900, 1200)), 0);
    EXPECT_EQ(mLog.Texts(3),
              (Texts{"[G] delete item in waiting que with handle 2",
                     "[G] delete item in waiting que with handle 2",
                     "[G] delete item in boost que with handle 2",
                     "[G] delete item in boost que with handle 2",
                     "[G] delete item in limit que with handle 2",
                     "[G] delete item in limit que with handle 2", "[G] no curr value changed"}));
}

TEST_F(PerfGroupShortTerm, AStopThatHasExpiredIsDropped) {
    Start(1, 0, 10, Boost(1000));
    mGroup.UpdateCurrTimePoint(At(10));
    mLog.Clear();
    EXPECT_EQ(Stop(1, 0, 10, Boost(1000)), 0);
    EXPECT_EQ(mLog.Texts(), Texts{"[G] already time out"});
    EXPECT_EQ(mGroup.GetNextWakeUpTimePoint(), At(10)) << "the head is left to its expiry";
}

TEST_F(PerfGroupShortTerm, AStopTakesAWaitingHeadByItsHandleAlone) {
    Start(1, 5, 20, Boost(1000));
    Start(2, 6, 20, Boost(900));
    mLog.Clear();
    EXPECT_EQ(Stop(1, 7, 20, Boost(1000)), 0);
    EXPECT_EQ(mLog.Texts(3),
              (Texts{"[G] no item found in waiting que with handle 1",
                     "[G] delete item in curr_wait_item with handle 1",
                     "[G] no item found in boost que with handle 1", "[G] no curr value changed"}));
    EXPECT_EQ(mGroup.GetNextWakeUpTimePoint(), At(6));
    Stop(2, 6, 20, Boost(900));
    EXPECT_EQ(mGroup.GetNextWakeUpTimePoint(), TimePoint{});
}

TEST_F(PerfGroupShortTerm, AStopTakesAQueuedWaitingItemOnlyByItsStartTime) {
    Start(1, 5, 20, Boost(1000));
    Start(2, 6, 20, Boost(900));
    mLog.Clear();
    Stop(2, 7, 20, Boost(900));
    EXPECT_EQ(mLog.Count(3, "[G] no item found in waiting que with handle 2"), 1U);
    Stop(2, 6, 20, Boost(900));
    EXPECT_EQ(mLog.Count(3, "[G] delete item in waiting que with handle 2"), 1U);
    mGroup.ShortTermTimeOut(At(6));
    EXPECT_EQ(mGroup.QueueText(),
              "boostBaseList(0) limitBaseList(0) boostList(0) limitList(0) final: 1000~3000");
}

TEST_F(PerfGroupShortTerm, WaitingItemsOfOneStartTimeKeepTheirOrder) {
    Start(1, 5, 20, Boost(1000));
    Start(2, 5, 20, Boost(1000));
    Start(3, 4, 20, Boost(500));
    mGroup.ShortTermTimeOut(At(5));
    // The displaced head of the waiting items went behind its equal.
    EXPECT_EQ(mGroup.HeadText(),
              "G: boostBase(300, *)limitBase(2000, *)effectiveBase: 300~2000 boost(1000, 2)"
              "effective: 1000~3000");
    EXPECT_EQ(mGroup.QueueText(),
              "boostBaseList(0) limitBaseList(0) boostList(2) 1000:1 500:3 limitList(0) "
              "final: 1000~3000");
}

TEST_F(PerfGroupShortTerm, WhenTheBestBoostEndsTheNextOneTakesOverAndThenTheBase) {
    Start(1, 0, 1, Boost(1000));
    Start(2, 0, 3, Boost(800));
    EXPECT_EQ(mGroup.GetNextWakeUpTimePoint(), At(1));
    EXPECT_EQ(mGroup.ShortTermTimeOut(At(1)), 0);
    EXPECT_EQ(mGroup.writes.back(), Pair(800, 3000));
    EXPECT_EQ(mGroup.GetNextWakeUpTimePoint(), At(3));
    EXPECT_EQ(mGroup.ShortTermTimeOut(At(3)), 0);
    EXPECT_EQ(mGroup.writes.back(), Pair(300, 2000));
    EXPECT_EQ(mGroup.GetNextWakeUpTimePoint(), TimePoint{});
}

TEST_F(PerfGroupShortTerm, LimitsEndLikeBoosts) {
    Start(1, 0, 1, Limit(800));
    Start(2, 0, 3, Limit(1000));
    mGroup.ShortTermTimeOut(At(2));
    EXPECT_EQ(mGroup.writes.back(), Pair(300, 1000));
    mGroup.ShortTermTimeOut(At(3));
    EXPECT_EQ(mGroup.writes.back(), Pair(300, 2000));
}

TEST_F(PerfGroupShortTerm, SeveralExpiriesInOneStepCauseOneWrite) {
    Start(1, 0, 1, Both(1000, 1500));
    Start(2, 0, 2, Both(900, 1600));
    Start(3, 0, 9, Boost(800));
    mGroup.writes.clear();
    EXPECT_EQ(mGroup.ShortTermTimeOut(At(2)), 0);
    EXPECT_EQ(mGroup.writes, Pairs({{800, 3000}}));
}

TEST_F(PerfGroupShortTerm, AnExpiredItemBehindALiveHeadStaysUntilItWouldBeHead) {
    Start(1, 0, 10, Boost(1000));
    Start(2, 0, 5, Boost(900));
    mGroup.ShortTermTimeOut(At(6));
    EXPECT_EQ(mGroup.QueueText(),
              "boostBaseList(0) limitBaseList(0) boostList(1) 900:2 limitList(0) final: 1000~3000");
    // A stop promotes it, expired as it is; the wake-up is then due at once.
    Stop(1, 0, 10, Boost(1000));
    EXPECT_EQ(mGroup.writes.back(), Pair(900, 3000));
    EXPECT_EQ(mGroup.GetNextWakeUpTimePoint(), At(5));
    mGroup.ShortTermTimeOut(At(6));
    EXPECT_EQ(mGroup.writes.back(), Pair(300, 2000));
}

TEST_F(PerfGroupShortTerm, ATimeOutWithoutAnythingDueWritesNothing) {
    Start(1, 0, 10, Boost(1000));
    mLog.Clear();
    EXPECT_EQ(mGroup.ShortTermTimeOut(At(5)), 0);
    EXPECT_EQ(mLog.Texts(), Texts{"[G] no curr value changed"});
    EXPECT_EQ(mGroup.writes.size(), 1U);
}

TEST_F(PerfGroupShortTerm, AHeadReplacedByAnEqualValueIsNotWritten) {
    Start(1, 0, 5, Boost(1000));
    Start(2, 0, 10, Boost(1000));
    mLog.Clear();
    EXPECT_EQ(mGroup.ShortTermTimeOut(At(5)), 0);
    EXPECT_EQ(mLog.Texts(), Texts{"[G] no curr value changed"});
    EXPECT_EQ(mGroup.writes.size(), 1U);
    EXPECT_EQ(mGroup.GetNextWakeUpTimePoint(), At(10));
}

TEST_F(PerfGroupShortTerm, WaitingItemsThatEndedBeforeTheyBeganAreDropped) {
    Start(1, 5, 6, Boost(1000));
    Start(2, 6, 7, Boost(900));
    Start(3, 7, 20, Boost(800));
    Start(4, 9, 20, Boost(700));
    Start(5, 9, 20, Boost(1200));
    EXPECT_EQ(mGroup.ShortTermTimeOut(At(8)), 0);
    EXPECT_EQ(mGroup.writes, Pairs({{800, 3000}}));
    EXPECT_EQ(mGroup.GetNextWakeUpTimePoint(), At(9));
    EXPECT_EQ(mGroup.ShortTermTimeOut(At(9)), 0);
    EXPECT_EQ(mGroup.writes.back(), Pair(1200, 3000));
    EXPECT_EQ(mGroup.QueueText(),
              "boostBaseList(0) limitBaseList(0) boostList(2) 800:3 700:4 limitList(0) "
              "final: 1200~3000");
}

TEST_F(PerfGroupShortTerm, WaitingItemsAreWalkedOnlyWhenTheWaitingHeadIsDue) {
    Start(1, 5, 20, Boost(1000));
    Start(2, 5, 20, Boost(900));
    mGroup.ShortTermTimeOut(At(4));
    EXPECT_EQ(mGroup.GetNextWakeUpTimePoint(), At(5));
    mGroup.ShortTermTimeOut(At(5));
    EXPECT_EQ(mGroup.GetNextWakeUpTimePoint(), At(20));
}

TEST_F(PerfGroupShortTerm, ExpiryComesBeforeTheWaitingItems) {
    Start(1, 0, 5, Boost(1000));
    Start(2, 5, 10, Boost(900));
    mGroup.writes.clear();
    EXPECT_EQ(mGroup.ShortTermTimeOut(At(5)), 0);
    EXPECT_EQ(mGroup.writes, Pairs({{900, 3000}}));
    EXPECT_EQ(mGroup.QueueText(),
              "boostBaseList(0) limitBaseList(0) boostList(0) limitList(0) final: 900~3000");
}

TEST_F(PerfGroupShortTerm, AWaitingItemThatCannotBeDispatchedFailsTheTimeOutOnceAndIsGone) {
    PerfGroupQueItem item{1, kUnknownOperation, 5, At(5), At(20)};
    mGroup.AddToWaitingQue(item);
    Start(2, 6, 20, Boost(900));
    mLog.Clear();
    EXPECT_EQ(mGroup.ShortTermTimeOut(At(6)), -1);
    EXPECT_EQ(mLog.Texts(6),
              (Texts{"[G] invalid operation type: 7", "[G] DispathCommandToShortTermQue failed",
                     "[G] moveFromWaitingQueToActiveQue failed",
                     "[G] DeleteExpiredShortTermCommand failed"}));
    EXPECT_TRUE(mGroup.writes.empty());
    EXPECT_EQ(mGroup.GetNextWakeUpTimePoint(), At(6)) << "the others are still waiting";
    EXPECT_EQ(mGroup.ShortTermTimeOut(At(6)), 0);
    EXPECT_EQ(mGroup.writes, Pairs({{900, 3000}}));
}

TEST_F(PerfGroupShortTerm, TheChangeTestComparesHandlesAndThenValues) {
    const PerfGroupQueItem none;
    PerfGroupQueItem a;
    a.handle = 1;
    a.value = 5;
    PerfGroupQueItem sameHandle = a;
    sameHandle.value = 6;
    PerfGroupQueItem sameValue = a;
    sameValue.handle = 2;
    PerfGroupQueItem other = sameHandle;
    other.handle = 2;
    const auto changed = RecordingGroup::CheckCurrValueChangeAfterTimeOut;
    EXPECT_FALSE(changed(none, none));
    EXPECT_FALSE(changed(a, a));
    EXPECT_TRUE(changed(a, sameHandle));
    EXPECT_FALSE(changed(a, sameValue));
    EXPECT_TRUE(changed(a, other));
    EXPECT_TRUE(changed(a, none));
    EXPECT_TRUE(changed(none, a));
}

TEST_F(PerfGroupShortTerm, ExpiredItemsBehindALiveHeadAreBounded) {
    Start(1, 0, 100000, Both(2900, 200));
    for (int n = 0; n < 6000; ++n) {
        mGroup.UpdateCurrTimePoint(At(n));
        Start(static_cast<unsigned long>(n) + 2, n, n + 1, Both(1000, 2000));
    }
    mGroup.UpdateCurrTimePoint(At(7000));
    Start(9000, 7000, 8000, Both(1000, 2000));
    const std::string text = mGroup.QueueText();
    EXPECT_NE(text.find("boostList(4097) "), std::string::npos);
    EXPECT_NE(text.find("limitList(4097) "), std::string::npos);
}

}  // namespace
}  // namespace corebeacon::test
