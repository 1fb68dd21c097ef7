#include <new>

#include "engine/perf_group.h"
#include "platform/logging.h"

namespace corebeacon {

namespace {
constexpr const char* LOG_TAG = "PF_GROUP";
}  // namespace

bool PerfGroup::IsValidHandle(unsigned long handle) const {
    if (handle > kMaxValidHandle) {
        LOGE("[%s:%d] [%s] invalid handle: %lu", mName.c_str(), handle);
        return false;
    }
    return true;
}

bool PerfGroup::IsValidCommandNum(const PerfGroupCommand& command) const {
    if (command.values.empty() || command.values.size() > 2) {
        LOGE("[%s:%d] [%s] invalid command num: %zu", mName.c_str(), command.values.size());
        return false;
    }
    return true;
}

/// Runs `step`, which tells whether it changed a head, on an item for each entry of the command: 1
/// if any changed one, else 0; -1 at the first unknown operation, with the entries before it done.
template <typename Step>
int PerfGroup::ForEachItem(const PerfGroupCommand& command, Step step) const {
    int changed = 0;
    for (const auto& [operation, value] : command.values) {
        if (!IsValidOperation(operation)) {
            return -1;
        }
        changed |= step({command.handle, operation, value, command.startTime, command.endTime});
    }
    return changed;
}

int PerfGroup::IsValidShortTermCommand(const PerfGroupCommand& command) const {
    if (!IsValidHandle(command.handle)) {
        return -1;
    }
    if (command.endTime < command.startTime) {
        LOGE("[%s:%d] [%s] startTime larger than endTime", mName.c_str());
        return -1;
    }
    if (command.endTime <= mCurrTimePoint) {
        LOGD("[%s:%d] [%s] already time out", mName.c_str());
        return 0;
    }
    return 1;
}

bool PerfGroup::IsThereNeedTowait(const PerfGroupQueItem& item) const {
    return item.startTime > mCurrTimePoint;
}

int PerfGroup::ShortTermStart(const PerfGroupCommand& command) {
    const int valid = IsValidShortTermCommand(command);
    if (valid < 0) {
        LOGE("[%s:%d] [%s] invalid short term start command", mName.c_str());
    }
    if (valid <= 0) {
        return valid;
    }
    const int changed = AddShortTermCommand(command);
    if (changed < 0) {
        LOGE("[%s:%d] [%s] AddShortTermCommand failed", mName.c_str());
        return -1;
    }
    if (changed == 0) {
        LOGD("[%s:%d] [%s] no curr value changed", mName.c_str());
        return 0;
    }
    return UpdateShortTermCommandAndWriteValue();
}

int PerfGroup::AddShortTermCommand(const PerfGroupCommand& command) {
    if (!IsValidCommandNum(command)) {
        return -1;
    }
    return ForEachItem(command, [this](const PerfGroupQueItem& item) {
        if (IsThereNeedTowait(item)) {
            AddToWaitingQue(item);
            return 0;
        }
        return DispathCommandToShortTermQue(item);
    });
}

void PerfGroup::AddToWaitingQue(const PerfGroupQueItem& item) {
    LOGD("[%s:%d] [%s] add command to wait que", mName.c_str());
    mWaitingQue.Add(item, mCurrTimePoint);
}

int PerfGroup::DispathCommandToShortTermQue(const PerfGroupQueItem& item) {
    if (!IsValidOperation(item.operation)) {
        return -1;
    }
    PerfGroupQueue& queue = item.operation == PERF_OPERATION_BOOST ? mBoostQue : mLimitQue;
    return queue.Add(item, mCurrTimePoint) ? 1 : 0;
}

int PerfGroup::ShortTermStop(const PerfGroupCommand& command) {
    const int valid = IsValidShortTermCommand(command);
    if (valid < 0) {
        LOGE("[%s:%d] [%s] invalid short term stop command", mName.c_str());
    }
    if (valid <= 0) {
        return valid;
    }
    const int changed = DeleteShortTermCommand(command);
    if (changed < 0) {
        LOGE("[%s:%d] [%s] DeleteShortTermCommand failed", mName.c_str());
        return -1;
    }
    if (changed == 0) {
        LOGD("[%s:%d] [%s] no curr value changed", mName.c_str());
        return 0;
    }
    return UpdateShortTermCommandAndWriteValue();
}

int PerfGroup::DeleteShortTermCommand(const PerfGroupCommand& command) {
    if (!IsValidCommandNum(command)) {
        return -1;
    }
    DeleteFromWaitingQue(command);
    return ForEachItem(command, [this](const PerfGroupQueItem& item) {
        return item.operation == PERF_OPERATION_BOOST ? DeleteFromBoostQue(item)
                                                      : DeleteFromLimitQue(item);
    });
}

void PerfGroup::DeleteFromWaitingQue(const PerfGroupCommand& command) {
    PerfGroupQueItem item;
    item.handle = command.handle;
    item.startTime = command.startTime;
    const std::size_t erased = mWaitingQue.EraseQueued(item);
    for (std::size_t count = 0; count < erased; ++count) {
        LOGD("[%s:%d] [%s] delete item in waiting que with handle %lu", mName.c_str(), item.handle);
    }
    if (erased == 0) {
        LOGD("[%s:%d] [%s] no item found in waiting que with handle %lu", mName.c_str(),
             item.handle);
    }
    if (mWaitingQue.DropHead(item.handle)) {
        LOGD("[%s:%d] [%s] delete item in curr_wait_item with handle %lu", mName.c_str(),
             item.handle);
    }
}

// The four deletions below differ in their queue and in their messages, which stand whole in the
// code so that a line of a log can be found here.

int PerfGroup::DeleteFromBoostQue(const PerfGroupQueItem& item) {
    const std::size_t erased = mBoostQue.EraseQueued(item);
    for (std::size_t count = 0; count < erased; ++count) {
        LOGD("[%s:%d] [%s] delete item in boost que with handle %lu", mName.c_str(), item.handle);
    }
    if (erased == 0) {
        LOGD("[%s:%d] [%s] no item found in boost que with handle %lu", mName.c_str(), item.handle);
    }
    return mBoostQue.DropHead(item.handle) ? 1 : 0;
}

int PerfGroup::DeleteFromLimitQue(const PerfGroupQueItem& item) {
    const std::size_t erased = mLimitQue.EraseQueued(item);
    for (std::size_t count = 0; count < erased; ++count) {
        LOGD("[%s:%d] [%s] delete item in limit que with handle %lu", mName.c_str(), item.handle);
    }
    if (erased == 0) {
        LOGD("[%s:%d] [%s] no item found in limit que with handle %lu", mName.c_str(), item.handle);
    }
    return mLimitQue.DropHead(item.handle) ? 1 : 0;
}

int PerfGroup::DeleteFromBoostBaseQue(const PerfGroupQueItem& item) {
    const std::size_t erased = mBoostBaseQue.EraseQueued(item);
    for (std::size_t count = 0; count < erased; ++count) {
        LOGD("[%s:%d] [%s] delete item in boost base que with handle %lu", mName.c_str(),
             item.handle);
    }
    if (erased == 0) {
        LOGD("[%s:%d] [%s] no item found in boost base que with handle %lu", mName.c_str(),
             item.handle);
    }
    return mBoostBaseQue.DropHead(item.handle) ? 1 : 0;
}

int PerfGroup::DeleteFromLimitBaseQue(const PerfGroupQueItem& item) {
    const std::size_t erased = mLimitBaseQue.EraseQueued(item);
    for (std::size_t count = 0; count < erased; ++count) {
        LOGD("[%s:%d] [%s] delete item in limit base que with handle %lu", mName.c_str(),
             item.handle);
    }
    if (erased == 0) {
        LOGD("[%s:%d] [%s] no item found in limit base que with handle %lu", mName.c_str(),
             item.handle);
    }
    return mLimitBaseQue.DropHead(item.handle) ? 1 : 0;
}

int PerfGroup::ShortTermTimeOut(const TimePoint& now) {
    mCurrTimePoint = now;
    const PerfGroupQueItem boostBefore = mBoostQue.Head();
    const PerfGroupQueItem limitBefore = mLimitQue.Head();
    if (DeleteExpiredShortTermCommand() < 0) {
        LOGE("[%s:%d] [%s] DeleteExpiredShortTermCommand failed", mName.c_str());
        return -1;
    }
    if (!CheckCurrValueChangeAfterTimeOut(boostBefore, mBoostQue.Head()) &&
        !CheckCurrValueChangeAfterTimeOut(limitBefore, mLimitQue.Head())) {
        LOGD("[%s:%d] [%s] no curr value changed", mName.c_str());
        return 0;
    }
    return UpdateShortTermCommandAndWriteValue();
}

int PerfGroup::DeleteExpiredShortTermCommand() {
    mBoostQue.ExpireHead(mCurrTimePoint);
    mLimitQue.ExpireHead(mCurrTimePoint);
    if (DeleteExpiredWaitingCommand() < 0) {
        LOGE("[%s:%d] [%s] moveFromWaitingQueToActiveQue failed", mName.c_str());
        return -1;
    }
    return 0;
}

int PerfGroup::DeleteExpiredWaitingCommand() {
    while (mWaitingQue.HasHead() && !IsThereNeedTowait(mWaitingQue.Head())) {
        const PerfGroupQueItem due = mWaitingQue.Head();
        // It leaves the queue first: an item that cannot be dispatched must not wake the worker
        // again.
        mWaitingQue.DropHead();
        try {
            if (due.endTime > mCurrTimePoint && DispathCommandToShortTermQue(due) < 0) {
                LOGE("[%s:%d] [%s] DispathCommandToShortTermQue failed", mName.c_str());
                return -1;
            }
        } catch (const std::bad_alloc&) {
            // What has ended in this step is to be written all the same.
            LOGE("[%s:%d] [%s] out of memory, handle %lu is left out", mName.c_str(), due.handle);
        }
    }
    return 0;
}

bool PerfGroup::CheckCurrValueChangeAfterTimeOut(const PerfGroupQueItem& before,
                                                 const PerfGroupQueItem& after) {
    const bool bothPresent = before.handle != kInvalidHandle && after.handle != kInvalidHandle;
    if (before.handle == after.handle) {
        return bothPresent && before.value != after.value;
    }
    return !bothPresent || before.value != after.value;
}

int PerfGroup::LongTermStart(const PerfGroupCommand& command) {
    if (!IsValidHandle(command.handle)) {
        return -1;
    }
    const int changed = AddLongTermCommand(command);
    if (changed < 0) {
        LOGE("[%s:%d] [%s] AddLongTermCommand failed", mName.c_str());
        return -1;
    }
    if (changed == 0) {
        LOGD("[%s:%d] [%s] no curr base value changed", mName.c_str());
        return 0;
    }
    return GenerateAndWriteFinalValue();
}

int PerfGroup::AddLongTermCommand(const PerfGroupCommand& command) {
    if (!IsValidCommandNum(command)) {
        return -1;
    }
    return ForEachItem(command, [this](const PerfGroupQueItem& item) {
        PerfGroupQueue& queue =
            item.operation == PERF_OPERATION_BOOST ? mBoostBaseQue : mLimitBaseQue;
        return queue.Add(item, mCurrTimePoint) ? 1 : 0;
    });
}

int PerfGroup::LongTermStop(const PerfGroupCommand& command) {
    if (!IsValidHandle(command.handle)) {
        return -1;
    }
    const int changed = DeleteLongTermCommand(command);
    if (changed < 0) {
        LOGE("[%s:%d] [%s] DeleteLongTermCommand failed", mName.c_str());
        return -1;
    }
    if (changed == 0) {
        LOGD("[%s:%d] [%s] no curr base value changed", mName.c_str());
        return 0;
    }
    return GenerateAndWriteFinalValue();
}

int PerfGroup::DeleteLongTermCommand(const PerfGroupCommand& command) {
    if (!IsValidCommandNum(command)) {
        return -1;
    }
    return ForEachItem(command, [this](const PerfGroupQueItem& item) {
        return item.operation == PERF_OPERATION_BOOST ? DeleteFromBoostBaseQue(item)
                                                      : DeleteFromLimitBaseQue(item);
    });
}

int PerfGroup::BaseSet(const PerfGroupCommand& command) {
    const int changed = UpdateDefaultBoostBaseItem(command);
    if (changed < 0) {
        LOGE("[%s:%d] [%s] UpdateDefaultBoostBaseItem failed", mName.c_str());
        return -1;
    }
    if (changed == 0) {
        LOGD("[%s:%d] [%s] no curr base value changed", mName.c_str());
        return 0;
    }
    return GenerateAndWriteFinalValue();
}

int PerfGroup::UpdateDefaultBoostBaseItem(const PerfGroupCommand& command) {
    if (command.values.size() != 1) {
        LOGE("[%s:%d] [%s] invalid base command num: %zu", mName.c_str(), command.values.size());
        return -1;
    }
    const auto& [operation, value] = *command.values.begin();
    if (operation != PERF_OPERATION_BOOST) {
        LOGE("[%s:%d] [%s] invalid operation type: %u", mName.c_str(), operation);
        return -1;
    }
    return UpdateDefaultBoostBaseValue(
        {kNoHandle, operation, value, command.startTime, command.endTime});
}

int PerfGroup::UpdateDefaultBoostBaseValue(const PerfGroupQueItem& item) {
    const int before = mBoostBaseQue.Head().value;
    if (mBoostBaseQue.Head().handle == kNoHandle) {
        mBoostBaseQue.SetHeadValue(item.value);
    } else if (const PerfGroupQueItem* former = mBoostBaseQue.FindQueued(kNoHandle)) {
        // Requests that hold the same value go with the former default.
        mBoostBaseQue.ReplaceEqual(*former, item);
    } else {
        mBoostBaseQue.Add(item, mCurrTimePoint);
    }
    return mBoostBaseQue.Head().value != before ? 1 : 0;
}

}  // namespace corebeacon
