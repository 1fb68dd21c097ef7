// Which change of ratio and switch writes what, and in which order.
#include <gtest/gtest.h>

#include <cerrno>

#include "resources/mem_lat_fixture.h"

namespace corebeacon {
namespace {

using namespace test::memlat;

class MemLatChanges : public MemLatFixture {};

// ---- The ratio ----

TEST_F(MemLatChanges, ARatioThatOpensIsWrittenAfterTheSwitchIsOff) {
    Build();
    Start(1, kRatio, 80);
    EXPECT_EQ(TakeWrites(), (Texts{"enable=off", "ratio=800"}));
    EXPECT_EQ(mResource->mLastTargetRatio, 80U);
    EXPECT_EQ(TakeOwnLines(), Texts{});
}

TEST_F(MemLatChanges, ARatioThatClosesSwitchesTheMonitorOnAndIsNotWritten) {
    Build();
    Start(1, kRatio, 80);
    TakeWrites();
    Stop(1, kRatio, 80);
    EXPECT_EQ(TakeWrites(), Texts{"enable=on"});
    EXPECT_EQ(mResource->mLastTargetRatio, 0U);
    EXPECT_FALSE(mResource->mRatioPending);
    EXPECT_EQ(TakeOwnLines(), Texts{});
}

TEST_F(MemLatChanges, ARatioThatStaysOpenLeavesTheSwitchAlone) {
    Build(100);
    Start(1, kRatio, 120);
    Stop(1, kRatio, 120);
    EXPECT_EQ(TakeWrites(), (Texts{"ratio=1200", "ratio=1000"}));
    EXPECT_FALSE(mResource->mRatioPending);
}

TEST_F(MemLatChanges, ACeilingCanCloseTheRatio) {
    Build(100);
    Step(PERF_COMMAND_LONG_START, 1, {{kRatio, {{kLimit, 0}}}});
    EXPECT_EQ(TakeWrites(), Texts{"enable=on"});
    Step(PERF_COMMAND_LONG_STOP, 1, {{kRatio, {{kLimit, 0}}}});
    EXPECT_EQ(TakeWrites(), (Texts{"enable=off", "ratio=1000"}));
}

TEST_F(MemLatChanges, ANewBaseIsAppliedLikeARequest) {
    Build(100);
    Step(PERF_COMMAND_BASE_SET, kNoHandle, {{kRatio, {{kBoost, 90}}}});
    EXPECT_EQ(TakeWrites(), Texts{"ratio=900"});
}

TEST_F(MemLatChanges, ARequestThatDoesNotWinIsNotWritten) {
    Build(100);
    Start(1, kRatio, 90);
    EXPECT_EQ(TakeWrites(), Texts{});
    EXPECT_EQ(TakeOwnLines(), kNothingNew);
}

TEST_F(MemLatChanges, TheLineThatNothingChangedNeedsTheDebugBit) {
    Build(100);
    PfLogonNamespace::PfLogonSet(1);
    EXPECT_EQ(mResource->CommandPostProcess(), 0);
    EXPECT_EQ(TakeOwnLines(), Texts{});
    PfLogonNamespace::PfLogonSet(2);
    EXPECT_EQ(mResource->CommandPostProcess(), 0);
    EXPECT_EQ(TakeOwnLines(), kNothingNew);
}

TEST_F(MemLatChanges, ARatioThatCannotBeWrittenCountsAsApplied) {
    Build(100);
    mDevice.Inject(kRatioNode, sim::OperationKind::WRITE, sim::Fault::Errno(EIO));
    Start(1, kRatio, 120);
    EXPECT_EQ(mResource->mLastTargetRatio, 120U);
    mDevice.ClearFaults();
    EXPECT_EQ(mResource->CommandPostProcess(), 0);
    EXPECT_EQ(TakeWrites(), Texts{});
    Stop(1, kRatio, 120);
    EXPECT_EQ(TakeWrites(), Texts{"ratio=1000"});
}

// ---- The switch ----

TEST_F(MemLatChanges, TheSwitchIsWorkedWhileTheRatioIsOpen) {
    Build(100);
    Start(1, kMonitor, 1);
    EXPECT_EQ(TakeWrites(), Texts{"enable=on"});
    EXPECT_EQ(mResource->mLastMonitorEnable, 1U);
    Stop(1, kMonitor, 1);
    EXPECT_EQ(TakeWrites(), Texts{"enable=off"});
    EXPECT_EQ(mResource->mLastMonitorEnable, 0U);
    EXPECT_FALSE(mResource->mMonitorPending);
    EXPECT_EQ(TakeOwnLines(), Texts{});
}

TEST_F(MemLatChanges, TheSwitchIsLeftAloneWhileTheRatioIsClosed) {
    Build();
    Start(1, kMonitor, 1);
    EXPECT_EQ(TakeOwnLines(), kAlreadyClosed);
    EXPECT_EQ(mResource->mLastMonitorEnable, 1U);
    Stop(1, kMonitor, 1);
    EXPECT_EQ(TakeOwnLines(), kNeedsClosing);
    EXPECT_EQ(mResource->mLastMonitorEnable, 0U);
    EXPECT_EQ(TakeWrites(), Texts{});
}

TEST_F(MemLatChanges, ARatioUnderAMonitorThatIsOnIsOnlyRemembered) {
    Build(100);
    Start(1, kMonitor, 1);
    TakeWrites();
    Start(2, kRatio, 120);
    EXPECT_EQ(TakeOwnLines(), kNeedsClosing);
    EXPECT_EQ(mResource->mLastTargetRatio, 120U);
    EXPECT_EQ(TakeWrites(), Texts{});
    // The remembered ratio is open, so the switch follows; the ratio itself waits for a change.
    Stop(1, kMonitor, 1);
    EXPECT_EQ(TakeWrites(), Texts{"enable=off"});
    Stop(2, kRatio, 120);
    EXPECT_EQ(TakeWrites(), Texts{"ratio=1000"});
}

TEST_F(MemLatChanges, ARatioThatClosesUnderAMonitorThatIsOnKeepsItOn) {
    Build(100);
    Start(1, kMonitor, 1);
    TakeWrites();
    Step(PERF_COMMAND_LONG_START, 2, {{kRatio, {{kLimit, 0}}}});
    EXPECT_EQ(TakeOwnLines(), kNeedsClosing);
    Stop(1, kMonitor, 1);
    EXPECT_EQ(TakeOwnLines(), kNeedsClosing);
    EXPECT_EQ(TakeWrites(), Texts{});
    Step(PERF_COMMAND_LONG_STOP, 2, {{kRatio, {{kLimit, 0}}}});
    EXPECT_EQ(TakeWrites(), (Texts{"enable=off", "ratio=1000"}));
}

// ---- Two changes ----

TEST_F(MemLatChanges, TwoChangesInOneCommandAreRefusedAndNothingIsWritten) {
    Build(100);
    Step(PERF_COMMAND_LONG_START, 1, {{kRatio, {{kBoost, 120}}}, {kMonitor, {{kBoost, 1}}}});
    EXPECT_EQ(mLog.Texts(6), kTwoAtOnce);
    EXPECT_EQ(mDevice.OperationCount(), 0U);
    EXPECT_EQ(mResource->mLastTargetRatio, 100U);
    EXPECT_EQ(mResource->mLastMonitorEnable, 0U);
    EXPECT_EQ(mResource->mNewTargetRatio, 120U);
    EXPECT_EQ(mResource->mNewMonitorEnable, 1U);
    EXPECT_FALSE(mResource->mRatioPending);
    EXPECT_FALSE(mResource->mMonitorPending);
    EXPECT_EQ(mResource->CommandPostProcess(), -1) << "the next step sees the same changes";
}

TEST_F(MemLatChanges, OneOfTwoRefusedChangesIsAppliedOnceTheOtherIsGone) {
    Build(100);
    Step(PERF_COMMAND_LONG_START, 1, {{kRatio, {{kBoost, 120}}}, {kMonitor, {{kBoost, 1}}}});
    Stop(1, kMonitor, 1);
    EXPECT_EQ(TakeWrites(), Texts{"ratio=1200"});
    Stop(1, kRatio, 120);
    EXPECT_EQ(TakeWrites(), Texts{"ratio=1000"});
}

TEST_F(MemLatChanges, AChangeOfBothThatIsTakenBackWholeLeavesNoTrace) {
    const GroupValueMap both{{kRatio, {{kBoost, 120}}}, {kMonitor, {{kBoost, 1}}}};
    Build(100);
    Step(PERF_COMMAND_LONG_START, 1, both);
    mLog.Clear();
    Step(PERF_COMMAND_LONG_STOP, 1, both);
    EXPECT_EQ(TakeOwnLines(), kNothingNew);
    EXPECT_EQ(TakeWrites(), Texts{});
}

TEST_F(MemLatChanges, ACommandForBothGroupsOfWhichOneChangesIsCarriedOut) {
    Build(100);
    Step(PERF_COMMAND_LONG_START, 1, {{kRatio, {{kBoost, 100}}}, {kMonitor, {{kBoost, 1}}}});
    EXPECT_EQ(TakeWrites(), Texts{"enable=on"});
    EXPECT_EQ(mLog.Texts(6), Texts{});
}

// ---- Changes that an earlier step left pending ----

TEST_F(MemLatChanges, APendingRatioWithoutAChangeIsTheSameAsTheLast) {
    Build(100).mRatioPending = true;
    EXPECT_EQ(mResource->CommandPostProcess(), 0);
    EXPECT_EQ(TakeOwnLines(), kSameAsLast);
    EXPECT_FALSE(mResource->mRatioPending);
    EXPECT_EQ(TakeWrites(), Texts{});
}

TEST_F(MemLatChanges, APendingSwitchWithoutAChangeIsTheSameAsTheLast) {
    Build(100).mMonitorPending = true;
    EXPECT_EQ(mResource->CommandPostProcess(), 0);
    EXPECT_EQ(TakeOwnLines(), kSameAsLast);
    EXPECT_FALSE(mResource->mMonitorPending);
    EXPECT_EQ(TakeWrites(), Texts{});
}

TEST_F(MemLatChanges, ARatioThatChangesWhileTheSwitchIsPendingIsRefused) {
    Build(100).mMonitorPending = true;
    Start(1, kRatio, 120);
    EXPECT_EQ(mLog.Texts(6), kTwoAtOnce);
    EXPECT_FALSE(mResource->mRatioPending);
    EXPECT_FALSE(mResource->mMonitorPending);
    EXPECT_EQ(mDevice.OperationCount(), 0U);
    EXPECT_EQ(mResource->CommandPostProcess(), 0);
    EXPECT_EQ(TakeWrites(), Texts{"ratio=1200"}) << "the next step finds the ratio alone";
}

TEST_F(MemLatChanges, ASwitchThatChangesWhileTheRatioIsPendingIsRefused) {
    Build(100).mRatioPending = true;
    Start(1, kMonitor, 1);
    EXPECT_EQ(mLog.Texts(6), kTwoAtOnce);
    EXPECT_FALSE(mResource->mRatioPending);
    EXPECT_FALSE(mResource->mMonitorPending);
    EXPECT_EQ(mDevice.OperationCount(), 0U);
    EXPECT_EQ(mResource->CommandPostProcess(), 0);
    EXPECT_EQ(TakeWrites(), Texts{"enable=on"});
}

TEST_F(MemLatChanges, ARatioThatChangesWhileItIsPendingIsCarriedOut) {
    Build(100).mRatioPending = true;
    Start(1, kRatio, 120);
    EXPECT_EQ(TakeWrites(), Texts{"ratio=1200"});
    EXPECT_FALSE(mResource->mRatioPending);
}

TEST_F(MemLatChanges, BothPendingWithoutAChangeAreRefused) {
    Build(100).mRatioPending = true;
    mResource->mMonitorPending = true;
    EXPECT_EQ(mResource->CommandPostProcess(), -1);
    EXPECT_EQ(TakeOwnLines(), Texts{"6 [MEMLAT] only support one group command at a time"});
    EXPECT_EQ(mResource->CommandPostProcess(), 0);
    EXPECT_EQ(TakeOwnLines(), kNothingNew);
}

}  // namespace
}  // namespace corebeacon
