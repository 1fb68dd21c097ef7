/// The commands that wait for a resource's worker, in order of arrival. Member of PerfResource,
/// whose mutex guards it.
///
/// Queueing takes memory, and may fail for lack of it; but nobody could take back any more what a
/// lost stop was to take back. So a stop that finds no memory is chained up by its own item, and a
/// work mode has a place kept for it. Such late commands follow all others: what they end or
/// replace is then already there.
#pragma once

#include <memory>

#include "command/command_wrapper.h"
#include "platform/fifo.h"

namespace corebeacon {

/// One entry of a resource's queue. The item is shared, not copied, with the wrapper that carried
/// it.
struct PerfCommand {
    PerfCommandType type = PERF_COMMAND_SHORT_START;
    std::shared_ptr<PerfCommandItem> item;
};

class CommandFifo {
public:
    CommandFifo() = default;
    ~CommandFifo();
    CommandFifo(const CommandFifo&) = delete;
    CommandFifo& operator=(const CommandFifo&) = delete;

    /// Stops and work modes are always taken; for lack of memory, any other command throws
    /// std::bad_alloc and is not queued.
    void Push(PerfCommand command);
    /// The next command; there must be one.
    PerfCommand Pop();
    bool Empty() const {
        return mQueue.Empty() && mLateMode.item == nullptr && mLateStops == nullptr;
    }

private:
    bool PutAside(PerfCommand& command) noexcept;
    PerfCommand PopLateStop();

    Fifo<PerfCommand> mQueue;
    PerfCommand mLateMode;  // without an item: none
    /// Linked by their items. Their order means nothing: all that they take back ends.
    std::shared_ptr<PerfCommandItem> mLateStops;
};

}  // namespace corebeacon
