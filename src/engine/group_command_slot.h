/// Where a worker makes up a group's part of a command. The part has a copy of the values, in nodes
/// that are kept for the next one: a stop must not fail for lack of memory, and a start costs none.
/// Member of PerfResource, worker thread only.
#pragma once

#include <map>

#include "command/command_wrapper.h"
#include "engine/perf_group.h"

namespace corebeacon {

class GroupCommandSlot {
public:
    /// Enough for what validation lets pass: a boost and a limit.
    GroupCommandSlot() : mSpare{{PERF_OPERATION_BOOST, 0}, {PERF_OPERATION_LIMIT, 0}} {}

    /// Valid until the next call.
    const PerfGroupCommand& Fill(const PerfCommandItem& item, const OperationValueMap& values) {
        mCommand.handle = item.handle;
        mCommand.startTime = item.startTime;
        mCommand.endTime = item.endTime;
        mSpare.merge(mCommand.values);
        for (const auto& [operation, value] : values) {
            if (mSpare.empty()) {
                mSpare.emplace(operation, value);
            }
            auto node = mSpare.extract(mSpare.begin());
            node.key() = operation;
            node.mapped() = value;
            mCommand.values.insert(std::move(node));
        }
        return mCommand;
    }

private:
    PerfGroupCommand mCommand;
    std::multimap<PerfOperationType, int> mSpare;
};

}  // namespace corebeacon
