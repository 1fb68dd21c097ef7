/// A resource of three recorded groups, 100~1000 each, on a clock that a test moves. The groups
/// take values from 0 to 5000.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "engine/recorded_resource.h"
#include "support/deadline.h"
#include "support/log_capture.h"
#include "support/manual_clock.h"

namespace corebeacon::test {

using std::chrono::milliseconds;

inline PerfGroupConfig MakeRow(unsigned int groupId, const std::string& name) {
    return {groupId,         name, 0, 5000, 100, 1000, std::vector<std::string>{"/sys/" + name},
            CHIP_TYPE_COMMON};
}

inline PerfQosConfig MakeConfig(unsigned int groupCount) {
    std::vector<PerfGroupConfig> rows;
    for (unsigned int groupId = 0; groupId < groupCount; ++groupId) {
        rows.push_back(MakeRow(groupId, "g" + std::to_string(groupId)));
    }
    return {"Q", rows};
}

class PerfResourceTest : public ::testing::Test {
protected:
    PerfResourceTest() { mResource->InitResource(mConfig, false); }

    /// An item for some groups, from `start` to `end` after now.
    std::shared_ptr<PerfCommandItem> Item(unsigned long handle, GroupValueMap groups,
                                          milliseconds start = milliseconds(0),
                                          milliseconds end = milliseconds(0)) const {
        auto item = std::make_shared<PerfCommandItem>();
        item->handle = handle;
        item->startTime = mClock.SteadyNow() + start;
        item->endTime = mClock.SteadyNow() + end;
        item->groups = std::move(groups);
        return item;
    }

    static GroupValueMap Boost(unsigned int groupId, int value) {
        return {{groupId, {{PERF_OPERATION_BOOST, value}}}};
    }

    void Send(PerfCommandType type, std::shared_ptr<PerfCommandItem> item) {
        EXPECT_EQ(mResource->SendCommandToFifoQ({type, std::move(item)}), 0);
    }

    /// Sends a command and carries it out, in place of the worker.
    void Step(PerfCommandType type, std::shared_ptr<PerfCommandItem> item) {
        Send(type, std::move(item));
        mResource->HandleCommand(WorkStatus::NEW_COMMAND);
    }

    std::vector<WriteList::Entry> Writes() const { return mKnobs.writes.Get(); }
    bool EventuallyWritten(std::size_t count) const {
        return Eventually([&] { return mKnobs.writes.Size() == count; });
    }
    bool EventuallySleepsTowardsADeadline() const {
        return Eventually([&] { return mClock.WaiterCount() == 1; });
    }

    ManualClock mClock;
    LogCapture mLog;
    PerfQosConfig mConfig = MakeConfig(3);
    RecordedKnobs mKnobs;
    std::unique_ptr<RecordedResource> mResource = std::make_unique<RecordedResource>(
        ResConstructParam{mConfig, PERF_WORK_MODE_1, PERF_QOS_GPU}, mKnobs);
};

}  // namespace corebeacon::test
