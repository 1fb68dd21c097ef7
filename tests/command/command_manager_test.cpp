#include "command/command_manager.h"

#include "command/command_fixture.h"
#include "command/command_manager_peer.h"

namespace corebeacon {
namespace {

TEST_F(CommandTable, IssuesHandlesInAscendingOrderFromOne) {
    EXPECT_EQ(Request(kPid, Timed(20)), 1UL);
    EXPECT_EQ(Request(kPid, Untimed()), 2UL);
    EXPECT_EQ(Request(kPid + 1, Mode()), 3UL);
    EXPECT_TRUE(mLog.Lines().empty());
}

TEST_F(CommandTable, NeverIssuesAHandleTwice) {
    CommandWrapper out;
    EXPECT_EQ(Request(kPid, Untimed()), 1UL);
    ASSERT_EQ(mManager.BuildReleaseCommand(kPid, 1, out), 0);
    EXPECT_EQ(Request(kPid, Untimed()), 2UL);
}

TEST_F(CommandTable, FillsTheHandleIntoWrapperAndItems) {
    CommandWrapper cmd = Timed(20);
    unsigned long handle = 0;
    ASSERT_EQ(mManager.RequestHandle(kPid, Now(), cmd, handle), 0);
    EXPECT_EQ(cmd.GetHandle(), handle);
    EXPECT_EQ(cmd.GetItems()[0]->handle, handle);
}

TEST_F(CommandTable, OnlyTimedRequestsHaveAnEndTimeRecord) {
    Request(kPid, Timed(20));
    Request(kPid, Untimed());
    Request(kPid + 1, Mode());
    const CommandManager::Counts counts = mManager.GetCounts();
    EXPECT_EQ(counts.liveHandles, 3U);
    EXPECT_EQ(counts.commands, 3U);
    EXPECT_EQ(counts.owners, 2U);
    EXPECT_EQ(counts.endTimeRecords, 1U);
}

TEST_F(CommandTable, RefusesPidsUpToTheReservedOne) {
    CommandWrapper cmd = Untimed();
    unsigned long handle = 77;
    EXPECT_EQ(mManager.RequestHandle(0, Now(), cmd, handle), -1);
    EXPECT_EQ(mManager.RequestHandle(-5, Now(), cmd, handle), -1);
    EXPECT_EQ(handle, 77UL);
    EXPECT_EQ(mLog.Texts(6), (Texts{"invalid pid: 0", "invalid pid: -5"}));
    EXPECT_EQ(mLog.Lines()[0].tag, "PF_CMD_MGR");
    EXPECT_EQ(mLog.Lines()[0].function, "RequestHandle");
    ExpectEmpty();
}

TEST_F(CommandTable, ABaseSetNeedsNoHandle) {
    CommandWrapper cmd(PERF_COMMAND_BASE_SET, Now(), TimePoint(), 0);
    unsigned long handle = 0;
    EXPECT_EQ(mManager.RequestHandle(kPid, Now(), cmd, handle), 0);
    EXPECT_EQ(handle, kNoHandle);
    EXPECT_EQ(mLog.Texts(3), Texts{"PERF_COMMAND_BASE_SET not need allocate handle!"});
    ExpectEmpty();
}

TEST_F(CommandTable, ARefusedTypeHasSpentItsNumber) {
    CommandWrapper cmd(PERF_COMMAND_SUSPEND, Now(), TimePoint(), 0);
    unsigned long handle = 0;
    EXPECT_EQ(mManager.RequestHandle(kPid, Now(), cmd, handle), -1);
    EXPECT_EQ(mLog.Texts(6), Texts{"invalid command type: 7"});
    EXPECT_EQ(cmd.GetHandle(), kNoHandle);
    EXPECT_FALSE(mManager.IsRegistered(kPid, handle));
    EXPECT_EQ(mManager.GetCounts().liveHandles, 1U);
    EXPECT_EQ(mManager.GetCounts().owners, 0U);
    EXPECT_EQ(Request(kPid, Untimed()), 2UL);
}

TEST_F(CommandTable, LimitsTheHandlesOfAProcess) {
    Request(kPid, Untimed());
    Request(kPid, Untimed());
    CommandWrapper cmd = Untimed();
    unsigned long handle = 0;
    EXPECT_EQ(mManager.RequestHandle(kPid, Now(), cmd, handle), -1);
    EXPECT_EQ(handle, kInvalidHandle);
    EXPECT_EQ(mLog.Texts(6), (Texts{"handle num in one process reach maximum: 2",
                                    "alloc new handle failed for pid 1001"}));
    EXPECT_EQ(mLog.Lines()[0].function, "AllocHandleByPid");
    EXPECT_EQ(mLog.Lines()[1].function, "RequestHandle");
}

TEST_F(CommandTable, LimitsTheProcessesButStillServesTheKnownOnes) {
    Request(1, Untimed());
    Request(2, Untimed());
    Request(3, Untimed());
    CommandWrapper cmd = Untimed();
    unsigned long handle = 0;
    EXPECT_EQ(mManager.RequestHandle(4, Now(), cmd, handle), -1);
    EXPECT_EQ(mLog.Texts(6),
              (Texts{"process num reach maximum: 3", "alloc new handle failed for pid 4"}));
    EXPECT_EQ(Request(2, Untimed()), 4UL);
    EXPECT_EQ(mManager.RequestHandle(2, Now(), cmd, handle), -1);
    EXPECT_EQ(mLog.Count(6, "handle num in one process reach maximum: 2"), 1U);
}

TEST_F(CommandTable, HasRoomForManyUnlessToldOtherwise) {
    const auto refusal = [this](CommandManager& manager, int pid) {
        mLog.Clear();
        CommandWrapper cmd = Untimed();
        unsigned long handle = 0;
        const bool refused = manager.RequestHandle(pid, Now(), cmd, handle) != 0;
        return refused ? mLog.Texts(6).front() : std::string();
    };
    CommandManager busy;
    for (int pid = 1; pid <= 8; ++pid) {
        for (int i = 0; i < 1024; ++i) {
            ASSERT_EQ(refusal(busy, pid), "") << pid << " " << i;
        }
        EXPECT_EQ(refusal(busy, pid), pid < 8 ? "handle num in one process reach maximum: 1024"
                                              : "total handle num reach maximum: 8192");
    }
    CommandManager crowded;
    for (int pid = 1; pid <= 512; ++pid) {
        ASSERT_EQ(refusal(crowded, pid), "") << pid;
    }
    EXPECT_EQ(refusal(crowded, 513), "process num reach maximum: 512");
    EXPECT_EQ(refusal(crowded, 0), "invalid pid: 0");
}

TEST_F(CommandTable, LimitsAllHandlesTogether) {
    for (int pid : {1, 1, 2, 2, 3}) {
        Request(pid, Untimed());
    }
    CommandWrapper cmd = Untimed();
    unsigned long handle = 0;
    EXPECT_EQ(mManager.RequestHandle(3, Now(), cmd, handle), -1);
    EXPECT_EQ(mLog.Texts(6),
              (Texts{"total handle num reach maximum: 5", "alloc new handle failed for pid 3"}));
    CommandWrapper out;
    ASSERT_EQ(mManager.BuildReleaseCommand(1, 1, out), 0);
    EXPECT_EQ(Request(3, Untimed()), 6UL);
}

TEST_F(CommandTable, HasNoHandleLeftWhenTheCounterReachesTheSentinel) {
    CommandManager manager(3, 2, 5, 0, kMaxValidHandle);
    CommandWrapper cmd = Untimed();
    unsigned long handle = 0;
    ASSERT_EQ(manager.RequestHandle(kPid, Now(), cmd, handle), 0);
    EXPECT_EQ(handle, kMaxValidHandle);
    EXPECT_EQ(manager.RequestHandle(kPid, Now(), cmd, handle), -1);
    EXPECT_EQ(handle, kInvalidHandle);
    EXPECT_EQ(mLog.Texts(6), (Texts{"not enough handle", "alloc new handle failed for pid 1001"}));
    EXPECT_EQ(manager.GetCounts().liveHandles, 1U);
}

TEST_F(CommandTable, RefusesADuplicateHandleAndKeepsTheStoredCommand) {
    Request(kPid, Untimed());
    CommandManagerPeer::SetNextHandle(mManager, 1);
    CommandWrapper cmd = Timed(20);
    unsigned long handle = 0;
    EXPECT_EQ(mManager.RequestHandle(kPid, Now(), cmd, handle), -1);
    EXPECT_EQ(mLog.Texts(6), Texts{"handle duplicate: 1"});
    EXPECT_EQ(mManager.GetCounts().liveHandles, 1U);
    EXPECT_EQ(mManager.GetCounts().endTimeRecords, 0U);
    CommandWrapper out;
    ASSERT_EQ(mManager.BuildReleaseCommand(kPid, 1, out), 0);
    EXPECT_EQ(out.GetType(), PERF_COMMAND_LONG_STOP);
}

TEST_F(CommandTable, AnExpiredRequestMakesRoomBeforeTheNextAllocates) {
    Request(kPid, Timed(20));
    Request(kPid, Timed(40));
    mClock.Advance(milliseconds(20));
    EXPECT_EQ(Request(kPid, Untimed()), 3UL);
    EXPECT_FALSE(mManager.IsRegistered(kPid, 1));
    EXPECT_TRUE(mManager.IsRegistered(kPid, 2));
    CommandWrapper out;
    EXPECT_EQ(mManager.BuildReleaseCommand(kPid, 1, out), -1);
    EXPECT_EQ(mLog.Count(3, "invalid handle: 1"), 1U);
}

TEST_F(CommandTable, OneNanosecondBeforeItsEndARequestIsStillThere) {
    const unsigned long handle = Request(kPid, Timed(20));
    mClock.Advance(milliseconds(20) - std::chrono::nanoseconds(1));
    CommandWrapper out;
    EXPECT_EQ(mManager.BuildReleaseCommand(kPid, handle, out), 0);
    ExpectEmpty();
}

TEST_F(CommandTable, TheLastExpiryOfAProcessForgetsTheProcess) {
    Request(1, Timed(20));
    Request(2, Timed(20));
    Request(3, Timed(30));
    mClock.Advance(milliseconds(25));
    Request(4, Untimed());
    EXPECT_EQ(mManager.GetCounts().owners, 2U);
}

TEST_F(CommandTable, UntimedRequestsNeverExpire) {
    const unsigned long request = Request(kPid, Untimed());
    const unsigned long mode = Request(kPid, Mode());
    mClock.Advance(std::chrono::hours(1000));
    CommandWrapper out;
    EXPECT_EQ(mManager.BuildReleaseCommand(kPid, request, out), 0);
    EXPECT_EQ(mManager.BuildReleaseCommand(kPid, mode, out), 0);
    EXPECT_TRUE(mLog.Texts(6).empty());
}

TEST_F(CommandTable, AnEventLastsAsLongAsItsLongestItem) {
    CommandWrapper cmd = Event(100);
    cmd.InsertEventCommand(PERF_QOS_GPU, Now(), Now() + milliseconds(300), {});
    cmd.InsertEventCommand(PERF_QOS_L3C, Now(), Now() + milliseconds(200), {});
    cmd.InsertItem(nullptr);
    unsigned long handle = 0;
    ASSERT_EQ(mManager.RequestEventHandle(4, Now(), cmd, handle), 0);
    EXPECT_EQ(cmd.GetEndTime(), Now() + milliseconds(300));
    EXPECT_EQ(mManager.GetCounts().events, 1U);

    mClock.Advance(milliseconds(299));
    Request(kPid, Untimed());
    EXPECT_TRUE(mManager.IsRegistered(0, handle));
    mClock.Advance(milliseconds(1));
    Request(kPid, Untimed());
    EXPECT_FALSE(mManager.IsRegistered(0, handle));
    EXPECT_EQ(mManager.GetCounts().events, 0U);
}

TEST_F(CommandTable, AnEventKeepsItsOwnEndWhenThatIsLater) {
    CommandWrapper cmd = Timed(500);
    cmd.InsertEventCommand(PERF_QOS_DDR, Now(), Now() + milliseconds(100), {});
    unsigned long handle = 0;
    ASSERT_EQ(mManager.RequestEventHandle(4, Now(), cmd, handle), 0);
    EXPECT_EQ(cmd.GetEndTime(), Now() + milliseconds(500));
}

TEST_F(CommandTable, ExpiryTellsEventsApartByIdWhateverTheId) {
    CommandManager manager;
    for (PerfEventId id : {PerfEventId{0}, PerfEventId{19}, PerfEventId{kRequestRecordKind},
                           PerfEventId{kProbeRecordKind}, ~PerfEventId{0}}) {
        for (unsigned int span : {100U, 200U}) {
            CommandWrapper cmd = Event(span);
            unsigned long handle = 0;
            ASSERT_EQ(manager.RequestEventHandle(id, Now(), cmd, handle), 0);
        }
    }
    EXPECT_EQ(manager.GetCounts().events, 10U);
    mClock.Advance(milliseconds(100));
    CommandWrapper cmd = Untimed();
    unsigned long handle = 0;
    ASSERT_EQ(manager.RequestHandle(kPid, Now(), cmd, handle), 0);
    EXPECT_EQ(manager.GetCounts().events, 5U);
    EXPECT_EQ(manager.GetCounts().commands, 6U);
    mClock.Advance(milliseconds(100));
    ASSERT_EQ(manager.RequestHandle(kPid, Now(), cmd, handle), 0);
    EXPECT_EQ(manager.GetCounts().events, 0U);
    EXPECT_EQ(manager.GetCounts().commands, 2U);
}

TEST_F(CommandTable, AnEventThatGetsNoHandleEntersNothing) {
    RequestEvent(1, Event(100));
    RequestEvent(1, Event(100));
    CommandWrapper cmd = Event(100);
    unsigned long handle = 0;
    EXPECT_EQ(mManager.RequestEventHandle(2, Now(), cmd, handle), -1);
    EXPECT_EQ(handle, kInvalidHandle);
    EXPECT_EQ(mLog.Texts(6), (Texts{"handle num in one process reach maximum: 2",
                                    "alloc new handle failed for pid 0"}));
    EXPECT_EQ(mManager.GetCounts().events, 2U);
}

TEST_F(CommandTable, AnEventOfABadTypeEntersNothing) {
    CommandWrapper cmd(PERF_COMMAND_BASE_SET, Now(), TimePoint(), 0);
    unsigned long handle = 0;
    EXPECT_EQ(mManager.RequestEventHandle(2, Now(), cmd, handle), -1);
    EXPECT_EQ(mLog.Texts(6), Texts{"invalid command type: 9"});
    EXPECT_EQ(mManager.GetCounts().events, 0U);
    EXPECT_EQ(mManager.GetCounts().endTimeRecords, 0U);
}

TEST_F(CommandTable, ANegativeReservedPidCannotOwnEvents) {
    CommandManager manager(3, 2, 5, -1);
    CommandWrapper cmd = Event(100);
    unsigned long handle = 0;
    EXPECT_EQ(manager.RequestEventHandle(2, Now(), cmd, handle), -1);
    EXPECT_EQ(mLog.Texts(6), (Texts{"invalid pid: -1", "alloc new handle failed for pid -1"}));
}

TEST_F(CommandTable, ASecondProbeOfAThreadSucceedsWithoutANewHandle) {
    EXPECT_EQ(RequestProbe(77, Event(100)), 1UL);
    EXPECT_EQ(RequestProbe(77, Event(100)), kNoHandle);
    EXPECT_EQ(mManager.GetCounts().liveHandles, 1U);
    EXPECT_EQ(RequestProbe(78, Event(100)), 2UL);
}

TEST_F(CommandTable, AThreadIsProbedUntilItsProbeLeavesTheTable) {
    RequestProbe(77, Event(100));
    EXPECT_TRUE(mManager.IsProbed(77));
    EXPECT_FALSE(mManager.IsProbed(78));
    CommandWrapper out;
    ASSERT_EQ(mManager.BuildProbeReleaseCommand(77, out), 0);
    EXPECT_FALSE(mManager.IsProbed(77));
}

TEST_F(CommandTable, AProbeThatHasRunOutIsNoDuplicate) {
    EXPECT_EQ(RequestProbe(77, Event(100)), 1UL);
    mClock.Advance(milliseconds(100));
    EXPECT_EQ(RequestProbe(77, Event(100)), 2UL);
    EXPECT_EQ(mManager.GetCounts().probes, 1U);
    EXPECT_EQ(mManager.GetCounts().commands, 1U);
}

TEST_F(CommandTable, ARequestOfAProbedMainThreadExpiresWithoutItsProbe) {
    RequestProbe(kPid, Event(100));
    Request(kPid, Timed(20));
    mClock.Advance(milliseconds(20));
    EXPECT_EQ(RequestProbe(kPid, Event(100)), kNoHandle);
    EXPECT_EQ(mManager.GetCounts().commands, 1U);
}

TEST_F(CommandTable, AProbeThatGetsNoHandleAnswersTwo) {
    Request(77, Untimed());
    Request(77, Untimed());
    CommandWrapper cmd = Event(100);
    unsigned long handle = kNoHandle;
    EXPECT_EQ(mManager.RequestProbeHandle(77, Now(), cmd, handle), 2);
    EXPECT_EQ(handle, kInvalidHandle);
    EXPECT_EQ(mLog.Texts(6), (Texts{"handle num in one process reach maximum: 2",
                                    "alloc new handle failed for tid 77"}));
    EXPECT_EQ(mManager.GetCounts().probes, 0U);
}

TEST_F(CommandTable, NoThreadIsProbedUnderTheReservedPidOrBelow) {
    CommandWrapper cmd = Event(100);
    unsigned long handle = kNoHandle;
    EXPECT_EQ(mManager.RequestProbeHandle(0, Now(), cmd, handle), 2);
    EXPECT_EQ(mManager.RequestProbeHandle(-3, Now(), cmd, handle), 2);
    EXPECT_EQ(mLog.Texts(6), (Texts{"alloc new handle failed for tid 0", "invalid pid: -3",
                                    "alloc new handle failed for tid -3"}));
    ExpectEmpty();
}

TEST_F(CommandTable, AProbeOfABadTypeEntersNothing) {
    CommandWrapper cmd(PERF_COMMAND_GET_LOG, Now(), TimePoint(), 0);
    unsigned long handle = kNoHandle;
    EXPECT_EQ(mManager.RequestProbeHandle(77, Now(), cmd, handle), -1);
    EXPECT_EQ(mManager.GetCounts().probes, 0U);
}

TEST_F(CommandTable, KnowsWhichHandleIsRegisteredForWhom) {
    const unsigned long handle = Request(kPid, Untimed());
    EXPECT_TRUE(mManager.IsRegistered(kPid, handle));
    EXPECT_FALSE(mManager.IsRegistered(kPid, handle + 1));
    EXPECT_FALSE(mManager.IsRegistered(kPid + 1, handle));
    CommandWrapper out;
    mManager.BuildReleaseCommand(kPid, handle, out);
    EXPECT_FALSE(mManager.IsRegistered(kPid, handle));
}

TEST_F(CommandTable, KnowsWhetherAStoredCommandIsStillThereWhateverElseHasLeft) {
    CommandManager manager;
    const auto store = [this, &manager](CommandWrapper cmd) {
        unsigned long handle = 0;
        EXPECT_EQ(manager.RequestHandle(kPid, Now(), cmd, handle), 0);
        return cmd;
    };
    const auto isThere = [&manager](const CommandWrapper& cmd) {
        return manager.IsStillRegistered(kPid, cmd);
    };
    CommandWrapper out;
    const CommandWrapper released = store(Untimed());
    const CommandWrapper withdrawn = store(Untimed());
    const CommandWrapper expired = store(Timed(20));
    const CommandWrapper swept = store(Untimed());
    EXPECT_TRUE(isThere(released) && isThere(withdrawn) && isThere(expired) && isThere(swept));
    manager.BuildReleaseCommand(kPid, released.GetHandle(), out);
    EXPECT_FALSE(isThere(released));
    EXPECT_TRUE(isThere(withdrawn) && isThere(expired) && isThere(swept));
    manager.Withdraw(kPid, withdrawn.GetHandle());
    EXPECT_FALSE(isThere(withdrawn));
    EXPECT_TRUE(isThere(expired) && isThere(swept));
    mClock.Advance(std::chrono::milliseconds(20));
    const CommandWrapper late = store(Untimed());
    EXPECT_FALSE(isThere(expired));
    EXPECT_TRUE(isThere(swept) && isThere(late));
    HandleCommandMap all;
    manager.BuildReleaseAllCommand(kPid, all);
    EXPECT_FALSE(isThere(swept) || isThere(late));
    const CommandWrapper last = store(Untimed());
    std::unordered_map<int, HandleCommandMap> everything;
    manager.BuildReleaseAllCommand(everything);
    EXPECT_FALSE(isThere(last));
}

TEST_F(CommandTable, AnExpiredRecordWithoutItsCommandIsJustDropped) {
    const unsigned long handle = Request(kPid, Timed(20));
    ASSERT_TRUE(CommandManagerPeer::EraseCommand(mManager, kPid, handle));
    const unsigned long other = Request(kPid + 1, Timed(20));
    Request(kPid + 1, Untimed());
    ASSERT_TRUE(CommandManagerPeer::EraseCommand(mManager, kPid + 1, other));
    mClock.Advance(milliseconds(20));
    Request(kPid, Untimed());
    EXPECT_EQ(mManager.GetCounts().endTimeRecords, 0U);
    EXPECT_EQ(mManager.GetCounts().liveHandles, 2U);
    EXPECT_EQ(mManager.GetCounts().commands, 2U);
}

TEST_F(CommandTable, IsEmptyAfterManyEventsHaveComeAndGone) {
    CommandManager manager;
    for (PerfEventId i = 0; i < 20000; ++i) {
        CommandWrapper cmd = Event(20 + i % 7);
        unsigned long handle = 0;
        ASSERT_EQ(manager.RequestEventHandle(i % 20, Now(), cmd, handle), 0);
        mClock.Advance(milliseconds(1));
    }
    EXPECT_LE(manager.GetCounts().commands, 27U);
    mClock.Advance(milliseconds(100));
    CommandWrapper out;
    EXPECT_EQ(manager.BuildProbeReleaseCommand(1, out), -1);
    const CommandManager::Counts counts = manager.GetCounts();
    EXPECT_EQ(counts.liveHandles, 0U);
    EXPECT_EQ(counts.commands, 0U);
    EXPECT_EQ(counts.owners, 0U);
    EXPECT_EQ(counts.endTimeRecords, 0U);
    EXPECT_EQ(counts.events, 0U);
}

}  // namespace
}  // namespace corebeacon
