/// What the tests of the handle table share: a table under a clock that stands still, and the
/// commands that callers send.
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "command/command_manager.h"
#include "support/log_capture.h"
#include "support/manual_clock.h"

namespace corebeacon {

using Texts = std::vector<std::string>;
using std::chrono::milliseconds;

class CommandTable : public testing::Test {
protected:
    static constexpr int kPid = 1001;

    TimePoint Now() const { return mClock.SteadyNow(); }

    CommandWrapper Timed(unsigned int duration) const {
        CommandWrapper cmd(PERF_COMMAND_SHORT_START, Now(), Now() + milliseconds(duration),
                           duration);
        cmd.InsertRequestCommand(PERF_QOS_GPU, {{0, {{PERF_OPERATION_BOOST, 5}}}});
        return cmd;
    }

    CommandWrapper Untimed() const {
        CommandWrapper cmd(PERF_COMMAND_LONG_START, Now(), TimePoint(), 0);
        cmd.InsertRequestCommand(PERF_QOS_GPU, {{0, {{PERF_OPERATION_BOOST, 5}}}});
        return cmd;
    }

    CommandWrapper Mode() const {
        CommandWrapper cmd(PERF_COMMAND_MODE_START, Now(), Now(), 0);
        cmd.InsertWorkModeCommand();
        return cmd;
    }

    /// An event or probe, whose wrapper ends when it starts while its item ends later.
    CommandWrapper Event(unsigned int span) const {
        CommandWrapper cmd(PERF_COMMAND_SHORT_START, Now(), Now(), 0);
        cmd.InsertEventCommand(PERF_QOS_DDR, Now(), Now() + milliseconds(span),
                               {{0, {{PERF_OPERATION_BOOST, 5}}}});
        return cmd;
    }

    /// The handle of a request that must succeed.
    unsigned long Request(int pid, CommandWrapper cmd) {
        unsigned long handle = kNoHandle;
        EXPECT_EQ(mManager.RequestHandle(pid, Now(), cmd, handle), 0);
        return handle;
    }

    unsigned long RequestEvent(PerfEventId id, CommandWrapper cmd) {
        unsigned long handle = kNoHandle;
        EXPECT_EQ(mManager.RequestEventHandle(id, Now(), cmd, handle), 0);
        return handle;
    }

    unsigned long RequestProbe(int tid, CommandWrapper cmd) {
        unsigned long handle = kNoHandle;
        EXPECT_EQ(mManager.RequestProbeHandle(tid, Now(), cmd, handle), 0);
        return handle;
    }

    void ExpectEmpty() const {
        const CommandManager::Counts counts = mManager.GetCounts();
        EXPECT_EQ(counts.liveHandles, 0U);
        EXPECT_EQ(counts.commands, 0U);
        EXPECT_EQ(counts.owners, 0U);
        EXPECT_EQ(counts.endTimeRecords, 0U);
        EXPECT_EQ(counts.events, 0U);
        EXPECT_EQ(counts.probes, 0U);
    }

    test::ManualClock mClock;
    test::LogCapture mLog;
    CommandManager mManager{3, 2, 5};
};

}  // namespace corebeacon
