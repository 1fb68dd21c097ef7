#include <thread>

#include "command/command_fixture.h"
#include "command/command_manager_peer.h"
#include "platform/logging.h"

namespace corebeacon {
namespace {

TEST_F(CommandTable, TurnsStartTypesIntoStopTypes) {
    const PerfCommandType pairs[][2] = {{PERF_COMMAND_SHORT_START, PERF_COMMAND_SHORT_STOP},
                                        {PERF_COMMAND_LONG_START, PERF_COMMAND_LONG_STOP},
                                        {PERF_COMMAND_MODE_START, PERF_COMMAND_MODE_START}};
    for (const auto& [start, stop] : pairs) {
        CommandWrapper cmd(start, Now(), Now(), 0);
        EXPECT_EQ(mManager.UpdateReleaseCommandType(cmd), 0);
        EXPECT_EQ(cmd.GetType(), stop);
    }
    EXPECT_TRUE(mLog.Lines().empty());
}

TEST_F(CommandTable, RefusesToTurnEveryOtherType) {
    for (unsigned int type : {1U, 3U, 5U, 6U, 7U, 8U, 9U, 10U}) {
        CommandWrapper cmd(static_cast<PerfCommandType>(type), Now(), Now(), 0);
        EXPECT_EQ(mManager.UpdateReleaseCommandType(cmd), -1);
        EXPECT_EQ(cmd.GetType(), type);
        EXPECT_EQ(mLog.Count(6, "invalid command type: " + std::to_string(type)), 1U);
    }
}

TEST_F(CommandTable, AReleaseIsTheStartItselfWithTheStopType) {
    CommandWrapper cmd = Timed(500);
    unsigned long handle = 0;
    ASSERT_EQ(mManager.RequestHandle(kPid, Now(), cmd, handle), 0);
    mClock.Advance(milliseconds(100));
    CommandWrapper out;
    ASSERT_EQ(mManager.BuildReleaseCommand(kPid, handle, out), 0);
    EXPECT_EQ(out.GetType(), PERF_COMMAND_SHORT_STOP);
    EXPECT_EQ(out.GetHandle(), handle);
    EXPECT_EQ(out.GetStartTime(), cmd.GetStartTime());
    EXPECT_EQ(out.GetEndTime(), cmd.GetEndTime());
    EXPECT_EQ(out.GetDuration(), 500U);
    EXPECT_EQ(out.GetItems(), cmd.GetItems());
    ExpectEmpty();
}

TEST_F(CommandTable, AHandleReleasesOnlyOnce) {
    const unsigned long handle = Request(kPid, Untimed());
    const unsigned long other = Request(kPid, Untimed());
    CommandWrapper out;
    EXPECT_EQ(mManager.BuildReleaseCommand(kPid, handle, out), 0);
    EXPECT_EQ(mManager.BuildReleaseCommand(kPid, handle, out), -1);
    EXPECT_EQ(mLog.Texts(), (Texts{"invalid handle: 1", "ComposeReleaseCommand failed"}));
    EXPECT_EQ(mLog.Lines()[0].level, 3);
    EXPECT_EQ(mLog.Lines()[1].level, 3);
    mLog.Clear();
    EXPECT_EQ(mManager.BuildReleaseCommand(kPid, other, out), 0);
    EXPECT_EQ(mManager.BuildReleaseCommand(kPid, other, out), -1);
    EXPECT_EQ(mLog.Texts(3), (Texts{"invalid pid: 1001", "ComposeReleaseCommand failed"}));
}

TEST_F(CommandTable, AForeignHandleIsNotReleased) {
    const unsigned long handle = Request(kPid, Untimed());
    Request(kPid + 1, Untimed());
    CommandWrapper out;
    EXPECT_EQ(mManager.BuildReleaseCommand(kPid + 1, handle, out), -1);
    EXPECT_TRUE(mManager.IsRegistered(kPid, handle));
}

TEST_F(CommandTable, AReleaseRefusesPidsUpToTheReservedOne) {
    RequestEvent(1, Event(100));
    CommandWrapper out;
    HandleCommandMap all;
    EXPECT_EQ(mManager.BuildReleaseCommand(0, 1, out), -1);
    EXPECT_EQ(mManager.BuildReleaseAllCommand(-1, all), -1);
    EXPECT_EQ(mLog.Texts(6), (Texts{"invalid pid: 0", "invalid pid: -1"}));
    EXPECT_EQ(mManager.GetCounts().events, 1U);
}

TEST_F(CommandTable, AWorkModeIsReleasedThoughItsEndTimeIsNotZero) {
    const unsigned long handle = Request(kPid, Mode());
    CommandWrapper out;
    EXPECT_EQ(mManager.BuildReleaseCommand(kPid, handle, out), 0);
    EXPECT_EQ(out.GetType(), PERF_COMMAND_MODE_START);
    EXPECT_TRUE(mLog.Texts(6).empty());
}

TEST_F(CommandTable, AMissingEndTimeRecordFailsTheReleaseOfATimedCommand) {
    const unsigned long handle = Request(kPid, Timed(20));
    ASSERT_TRUE(CommandManagerPeer::EraseEndTimeRecord(mManager, Now() + milliseconds(20), handle));
    CommandWrapper out;
    EXPECT_EQ(mManager.BuildReleaseCommand(kPid, handle, out), -1);
    EXPECT_EQ(mLog.Texts(6), Texts{"deleteFromeEndtimeMap failed"});
    EXPECT_EQ(mLog.Lines()[0].tag, "PF_CMD_MGR");
    ExpectEmpty();
}

TEST_F(CommandTable, AStoredCommandOfABadTypeIsGoneThoughItsReleaseFails) {
    const unsigned long handle = Request(kPid, Untimed());
    CommandManagerPeer::SetStoredType(mManager, kPid, handle, PERF_COMMAND_LONG_STOP);
    CommandWrapper out;
    EXPECT_EQ(mManager.BuildReleaseCommand(kPid, handle, out), -1);
    EXPECT_EQ(mLog.Texts(6), (Texts{"invalid command type: 3", "UpdateReleaseCommandType failed"}));
    ExpectEmpty();
}

TEST_F(CommandTable, ReleaseAllOfAProcessTakesItsCommandsAndNoOthers) {
    const unsigned long request = Request(kPid, Untimed());
    const unsigned long mode = Request(kPid, Mode());
    const unsigned long foreign = Request(kPid + 1, Timed(20));
    HandleCommandMap out;
    ASSERT_EQ(mManager.BuildReleaseAllCommand(kPid, out), 0);
    ASSERT_EQ(out.size(), 2U);
    EXPECT_EQ(out.at(request).GetType(), PERF_COMMAND_LONG_STOP);
    EXPECT_EQ(out.at(mode).GetType(), PERF_COMMAND_MODE_START);
    EXPECT_TRUE(mManager.IsRegistered(kPid + 1, foreign));
    EXPECT_EQ(mManager.GetCounts().liveHandles, 1U);
    EXPECT_EQ(mManager.GetCounts().endTimeRecords, 1U);
}

TEST_F(CommandTable, ReleaseAllRemovesTheEndTimeRecords) {
    Request(kPid, Timed(20));
    Request(kPid, Timed(20));
    HandleCommandMap out;
    ASSERT_EQ(mManager.BuildReleaseAllCommand(kPid, out), 0);
    EXPECT_EQ(out.at(1).GetType(), PERF_COMMAND_SHORT_STOP);
    EXPECT_EQ(out.at(2).GetType(), PERF_COMMAND_SHORT_STOP);
    ExpectEmpty();
}

TEST_F(CommandTable, ReleaseAllOfAnUnknownProcessHasNothingToDo) {
    Request(kPid, Timed(20));
    mClock.Advance(milliseconds(20));
    HandleCommandMap out;
    EXPECT_EQ(mManager.BuildReleaseAllCommand(kPid, out), -1);
    EXPECT_EQ(mLog.Texts(), Texts{"ignore invalid pid: 1001"});
    EXPECT_EQ(mLog.Lines()[0].level, 3);
}

TEST_F(CommandTable, ReleaseAllOfAMainThreadsProcessLetsTheThreadBeProbedAgain) {
    RequestProbe(kPid, Event(100));
    RequestProbe(kPid + 1, Event(100));
    HandleCommandMap out;
    ASSERT_EQ(mManager.BuildReleaseAllCommand(kPid, out), 0);
    EXPECT_EQ(out.size(), 1U);
    EXPECT_EQ(mManager.GetCounts().probes, 1U);
    EXPECT_EQ(RequestProbe(kPid, Event(100)), 3UL);
}

TEST_F(CommandTable, ReleasingAProbeAsARequestLetsTheThreadBeProbedAgain) {
    const unsigned long probe = RequestProbe(kPid, Event(100));
    const unsigned long request = Request(kPid, Untimed());
    CommandWrapper out;
    ASSERT_EQ(mManager.BuildReleaseCommand(kPid, request, out), 0);
    EXPECT_EQ(mManager.GetCounts().probes, 1U) << "another handle of the process";
    ASSERT_EQ(mManager.BuildReleaseCommand(kPid, probe, out), 0);
    ExpectEmpty();
    EXPECT_EQ(RequestProbe(kPid, Event(100)), 3UL);
}

TEST_F(CommandTable, ReleaseAllPutsEverythingInOrderBeforeItFails) {
    CommandManager manager;
    unsigned long handle = 0;
    for (int i = 0; i < 8; ++i) {
        CommandWrapper cmd = i % 2 == 0 ? Timed(20) : Untimed();
        ASSERT_EQ(manager.RequestHandle(kPid, Now(), cmd, handle), 0);
    }
    CommandManagerPeer::SetStoredType(manager, kPid, 4, PERF_COMMAND_SUSPEND);
    CommandManagerPeer::EraseEndTimeRecord(manager, Now() + milliseconds(20), 7);
    HandleCommandMap out;
    EXPECT_EQ(manager.BuildReleaseAllCommand(kPid, out), -1);
    EXPECT_EQ(out.size(), 8U);
    EXPECT_EQ(mLog.Count(6, "UpdateReleaseCommandType failed"), 1U);
    EXPECT_EQ(mLog.Count(6, "deleteFromeEndtimeMap failed"), 1U);
    const CommandManager::Counts counts = manager.GetCounts();
    EXPECT_EQ(counts.liveHandles, 0U);
    EXPECT_EQ(counts.endTimeRecords, 0U);
    EXPECT_EQ(counts.owners, 0U);
}

TEST_F(CommandTable, ReleaseOfEverythingIncludesEventsAndProbes) {
    CommandManager manager;
    unsigned long handle = 0;
    CommandWrapper timed = Timed(20);
    CommandWrapper mode = Mode();
    CommandWrapper event = Event(100);
    CommandWrapper probe = Event(100);
    ASSERT_EQ(manager.RequestHandle(kPid, Now(), timed, handle), 0);
    ASSERT_EQ(manager.RequestHandle(kPid, Now(), mode, handle), 0);
    ASSERT_EQ(manager.RequestEventHandle(3, Now(), event, handle), 0);
    ASSERT_EQ(manager.RequestProbeHandle(77, Now(), probe, handle), 0);

    std::unordered_map<int, HandleCommandMap> out;
    ASSERT_EQ(manager.BuildReleaseAllCommand(out), 0);
    EXPECT_EQ(out.size(), 3U);
    EXPECT_EQ(out.at(kPid).at(1).GetType(), PERF_COMMAND_SHORT_STOP);
    EXPECT_EQ(out.at(kPid).at(2).GetType(), PERF_COMMAND_MODE_START);
    EXPECT_EQ(out.at(0).at(3).GetType(), PERF_COMMAND_SHORT_STOP);
    EXPECT_EQ(out.at(77).at(4).GetType(), PERF_COMMAND_SHORT_STOP);
    const CommandManager::Counts counts = manager.GetCounts();
    EXPECT_EQ(
        counts.liveHandles + counts.owners + counts.endTimeRecords + counts.events + counts.probes,
        0U);
    EXPECT_EQ(manager.RequestProbeHandle(77, Now(), probe, handle), 0);
    EXPECT_EQ(handle, 5UL);
}

TEST_F(CommandTable, ReleaseOfEverythingFromAnEmptyTableSucceeds) {
    std::unordered_map<int, HandleCommandMap> out;
    out[5][6] = Untimed();
    EXPECT_EQ(mManager.BuildReleaseAllCommand(out), 0);
    EXPECT_TRUE(out.empty());
}

TEST_F(CommandTable, ReleaseOfEverythingGoesOnAfterABadType) {
    for (int pid : {1, 2, 3}) {
        Request(pid, Untimed());
    }
    CommandManagerPeer::SetStoredType(mManager, 2, 2, PERF_COMMAND_RESUME);
    std::unordered_map<int, HandleCommandMap> out;
    EXPECT_EQ(mManager.BuildReleaseAllCommand(out), -1);
    EXPECT_EQ(mLog.Texts(6), (Texts{"invalid command type: 8", "UpdateReleaseCommandType failed"}));
    EXPECT_EQ(out.at(1).at(1).GetType(), PERF_COMMAND_LONG_STOP);
    EXPECT_EQ(out.at(3).at(3).GetType(), PERF_COMMAND_LONG_STOP);
    ExpectEmpty();
}

TEST_F(CommandTable, OneStopReleasesAllStartsOfAnEvent) {
    const unsigned long first = RequestEvent(3, Event(100));
    const unsigned long second = RequestEvent(3, Event(200));
    std::vector<CommandWrapper> out;
    ASSERT_EQ(mManager.BuildEventReleaseCommand(3, out), 0);
    ASSERT_EQ(out.size(), 2U);
    EXPECT_EQ(out[0].GetHandle(), first);
    EXPECT_EQ(out[1].GetHandle(), second);
    EXPECT_EQ(out[1].GetType(), PERF_COMMAND_SHORT_STOP);
    EXPECT_EQ(out[1].GetEndTime(), Now() + milliseconds(200));
    ExpectEmpty();
}

TEST_F(CommandTable, AnEventStopLeavesItsNeighboursAlone) {
    CommandManager manager;
    unsigned long handle = 0;
    for (PerfEventId id : {2U, 3U, 4U}) {
        CommandWrapper cmd = Event(100);
        ASSERT_EQ(manager.RequestEventHandle(id, Now(), cmd, handle), 0);
    }
    std::vector<CommandWrapper> out;
    ASSERT_EQ(manager.BuildEventReleaseCommand(3, out), 0);
    ASSERT_EQ(out.size(), 1U);
    EXPECT_EQ(out[0].GetHandle(), 2UL);
    EXPECT_EQ(manager.GetCounts().events, 2U);
}

TEST_F(CommandTable, AnEventThatDoesNotRunCannotBeStopped) {
    RequestEvent(3, Event(100));
    std::vector<CommandWrapper> out;
    EXPECT_EQ(mManager.BuildEventReleaseCommand(4, out), -1);
    EXPECT_EQ(mLog.Texts(), Texts{"invalid event id: 4"});
    EXPECT_EQ(mLog.Lines()[0].level, 3);
    mLog.Clear();
    mClock.Advance(milliseconds(100));
    EXPECT_EQ(mManager.BuildEventReleaseCommand(3, out), -1);
    EXPECT_EQ(mLog.Texts(), Texts{"invalid event id: 3"});
    EXPECT_TRUE(out.empty());
}

TEST_F(CommandTable, AnEventStopSkipsAHandleThatIsGone) {
    const unsigned long gone = RequestEvent(3, Event(100));
    const unsigned long left = RequestEvent(3, Event(100));
    ASSERT_TRUE(CommandManagerPeer::EraseCommand(mManager, 0, gone));
    std::vector<CommandWrapper> out;
    EXPECT_EQ(mManager.BuildEventReleaseCommand(3, out), 0);
    ASSERT_EQ(out.size(), 1U);
    EXPECT_EQ(out[0].GetHandle(), left);
    EXPECT_EQ(mLog.Texts(), (Texts{"invalid handle: 1", "ComposeReleaseCommand failed"}));
    EXPECT_EQ(mManager.GetCounts().events, 0U);
}

TEST_F(CommandTable, AnEventStopThatComposesNothingFailsAndErasesTheEntries) {
    const unsigned long gone = RequestEvent(3, Event(100));
    ASSERT_TRUE(CommandManagerPeer::EraseCommand(mManager, 0, gone));
    std::vector<CommandWrapper> out;
    EXPECT_EQ(mManager.BuildEventReleaseCommand(3, out), -1);
    EXPECT_EQ(mLog.Texts(), (Texts{"invalid pid: 0", "ComposeReleaseCommand failed"}));
    EXPECT_EQ(mManager.GetCounts().events, 0U);
}

TEST_F(CommandTable, AProbeIsReleasedByItsThread) {
    const unsigned long handle = RequestProbe(77, Event(100));
    CommandWrapper out;
    ASSERT_EQ(mManager.BuildProbeReleaseCommand(77, out), 0);
    EXPECT_EQ(out.GetHandle(), handle);
    EXPECT_EQ(out.GetType(), PERF_COMMAND_SHORT_STOP);
    EXPECT_EQ(out.GetEndTime(), Now() + milliseconds(100));
    ExpectEmpty();
}

TEST_F(CommandTable, AThreadThatIsNotProbedHasNoProbeToRelease) {
    RequestProbe(77, Event(100));
    CommandWrapper out;
    EXPECT_EQ(mManager.BuildProbeReleaseCommand(78, out), -1);
    mClock.Advance(milliseconds(100));
    EXPECT_EQ(mManager.BuildProbeReleaseCommand(77, out), -1);
    EXPECT_EQ(mLog.Texts(), (Texts{"invalid tid: 78", "invalid tid: 77"}));
    EXPECT_EQ(mLog.Lines()[0].level, 3);
}

TEST_F(CommandTable, AProbeWhoseCommandIsGoneLeavesTheProbeTable) {
    const unsigned long handle = RequestProbe(77, Event(100));
    ASSERT_TRUE(CommandManagerPeer::EraseCommand(mManager, 77, handle));
    ASSERT_EQ(mManager.GetCounts().probes, 1U);
    CommandWrapper out;
    EXPECT_EQ(mManager.BuildProbeReleaseCommand(77, out), -1);
    EXPECT_EQ(mLog.Texts(), Texts{"invalid handle: 1"});
    EXPECT_EQ(mLog.Lines()[0].level, 3);
    EXPECT_EQ(mManager.GetCounts().probes, 0U);
}

TEST_F(CommandTable, AProbeReleaseReportsABadTypeAndAMissingRecord) {
    RequestProbe(77, Event(100));
    RequestProbe(78, Event(100));
    CommandManagerPeer::SetStoredType(mManager, 77, 1, PERF_COMMAND_SHORT_STOP);
    CommandManagerPeer::EraseEndTimeRecord(mManager, Now() + milliseconds(100), 2);
    CommandWrapper out;
    EXPECT_EQ(mManager.BuildProbeReleaseCommand(77, out), -1);
    EXPECT_EQ(mManager.BuildProbeReleaseCommand(78, out), -1);
    EXPECT_EQ(mLog.Texts(6), (Texts{"invalid command type: 1", "UpdateReleaseCommandType failed",
                                    "deleteFromeEndtimeMap failed"}));
    EXPECT_EQ(mManager.GetCounts().probes, 0U);
    EXPECT_EQ(mManager.GetCounts().liveHandles, 0U);
}

TEST_F(CommandTable, FailedLookUpsAreSilentWithoutTheDebugSwitch) {
    PfLogonNamespace::PfLogonSet(kLogSwitchInfo);
    CommandWrapper base(PERF_COMMAND_BASE_SET, Now(), TimePoint(), 0);
    CommandWrapper out;
    HandleCommandMap all;
    std::vector<CommandWrapper> stopped;
    EXPECT_EQ(Request(kPid, base), kNoHandle);
    EXPECT_EQ(mManager.BuildReleaseCommand(kPid, 1, out), -1);
    EXPECT_EQ(mManager.BuildReleaseAllCommand(kPid, all), -1);
    EXPECT_EQ(mManager.BuildEventReleaseCommand(3, stopped), -1);
    EXPECT_EQ(mManager.BuildProbeReleaseCommand(77, out), -1);
    CommandManagerPeer::EraseCommand(mManager, 0, RequestEvent(3, Event(100)));
    CommandManagerPeer::EraseCommand(mManager, 77, RequestProbe(77, Event(100)));
    EXPECT_EQ(mManager.BuildEventReleaseCommand(3, stopped), -1);
    EXPECT_EQ(mManager.BuildProbeReleaseCommand(77, out), -1);
    EXPECT_TRUE(mLog.Lines().empty());
}

TEST_F(CommandTable, ManyRequestsWithOneEndAreReleasedOneByOne) {
    constexpr unsigned int kCount = 20000;
    CommandManager manager(10, kCount, kCount);
    std::vector<unsigned long> handles(kCount);
    for (unsigned int i = 0; i < kCount; ++i) {
        CommandWrapper cmd = Timed(1000);
        ASSERT_EQ(manager.RequestHandle(1 + static_cast<int>(i % 10), Now(), cmd, handles[i]), 0);
    }
    for (unsigned int i = kCount; i-- > 0;) {
        CommandWrapper out;
        ASSERT_EQ(manager.BuildReleaseCommand(1 + static_cast<int>(i % 10), handles[i], out), 0);
    }
    EXPECT_EQ(manager.GetCounts().liveHandles, 0U);
    EXPECT_EQ(manager.GetCounts().endTimeRecords, 0U);
}

TEST_F(CommandTable, ServesManyThreadsAtOnce) {
    CommandManager manager;
    std::vector<std::thread> threads;
    for (int t = 1; t <= 4; ++t) {
        threads.emplace_back([this, &manager, t] {
            for (unsigned int i = 0; i < 200; ++i) {
                CommandWrapper request = Timed(1000);
                CommandWrapper event = Event(1000);
                CommandWrapper probe = Event(1000);
                CommandWrapper out;
                unsigned long handle = kNoHandle;
                unsigned long unused = kNoHandle;
                EXPECT_EQ(manager.RequestHandle(t, Now(), request, handle), 0);
                EXPECT_EQ(manager.RequestEventHandle(i % 4, Now(), event, unused), 0);
                EXPECT_EQ(manager.RequestProbeHandle(100 + t, Now(), probe, unused), 0);
                EXPECT_TRUE(manager.IsRegistered(t, handle));
                EXPECT_EQ(manager.BuildReleaseCommand(t, handle, out), 0);
                EXPECT_EQ(manager.BuildProbeReleaseCommand(100 + t, out), 0);
                std::vector<CommandWrapper> stopped;
                manager.BuildEventReleaseCommand(i % 4, stopped);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::unordered_map<int, HandleCommandMap> rest;
    EXPECT_EQ(manager.BuildReleaseAllCommand(rest), 0);
    EXPECT_EQ(manager.GetCounts().liveHandles, 0U);
}

}  // namespace
}  // namespace corebeacon
