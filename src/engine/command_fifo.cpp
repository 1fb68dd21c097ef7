#include "engine/command_fifo.h"

#include <new>
#include <utility>

namespace corebeacon {

CommandFifo::~CommandFifo() {
    // One by one: a chain that went as a whole would recurse as deep as it is long.
    while (mLateStops != nullptr) {
        PopLateStop();
    }
}

void CommandFifo::Push(PerfCommand command) {
    try {
        mQueue.MakeRoom();
    } catch (const std::bad_alloc&) {
        if (!PutAside(command)) {
            throw;
        }
        return;
    }
    if (command.type == PERF_COMMAND_MODE_START) {
        mLateMode = {};  // an older mode must not come after this one
    }
    mQueue.PushBack(std::move(command));
}

PerfCommand CommandFifo::Pop() {
    if (!mQueue.Empty()) {
        return mQueue.PopFront();
    }
    return mLateMode.item != nullptr ? std::exchange(mLateMode, {}) : PopLateStop();
}

bool CommandFifo::PutAside(PerfCommand& command) noexcept {
    if (command.item == nullptr) {
        return false;
    }
    switch (command.type) {
        case PERF_COMMAND_MODE_START:
            mLateMode = std::move(command);
            return true;
        case PERF_COMMAND_SHORT_STOP:
        case PERF_COMMAND_LONG_STOP:
            break;
        default:
            return false;
    }
    LateStop& late = command.item->lateStop;
    if (!late.isWaiting) {
        late = {.isWaiting = true, .type = command.type, .next = std::move(mLateStops)};
        mLateStops = std::move(command.item);
    }
    return true;
}

PerfCommand CommandFifo::PopLateStop() {
    PerfCommand command{mLateStops->lateStop.type, std::move(mLateStops)};
    mLateStops = std::exchange(command.item->lateStop, {}).next;
    return command;
}

}  // namespace corebeacon
