#include <new>
#include <system_error>

#include "engine/perf_resource.h"
#include "platform/clock.h"
#include "platform/logging.h"

namespace corebeacon {

namespace {
constexpr const char* LOG_TAG = "PF_RES";
}  // namespace

int PerfResource::InitThread() {
    {
        MutexLock lock(mFifoMutex);
        if (mStop) {
            LOGE("[%s:%d] [%s] a stopped resource cannot start again", mName.c_str());
            return -1;
        }
    }
    if (mThread.joinable()) {
        return 0;
    }
    try {
        mThread = std::thread(&PerfResource::WorkThread, this);
    } catch (const std::system_error& error) {
        LOGE("[%s:%d] [%s] cannot start the work thread: %s", mName.c_str(), error.what());
        return -1;
    }
    return 0;
}

void PerfResource::RequestStop() {
    MutexLock lock(mFifoMutex);
    mStop = true;
    mFifoCond.NotifyAll();
}

void PerfResource::StopThread() {
    RequestStop();
    if (mThread.joinable()) {
        mThread.join();
    }
    // Only now: a dump that the worker was busy with still reaches whoever waits for it.
    MutexLock lock(mLogMutex);
    mHandOverClosed = true;
    mLogCond.NotifyAll();
}

int PerfResource::SendCommandToFifoQ(PerfCommand command) {
    const bool isComplete = command.item != nullptr;
    const PerfCommandType type = command.type;
    {
        MutexLock lock(mFifoMutex);
        mFifo.Push(std::move(command));
        // Before the worker can take the command: an answer is never ahead of its question.
        if (isComplete) {
            CountQuestion(type);
        }
    }
    // Not under the mutex, where the worker would wake only to wait for it: on a busy CPU that
    // costs the caller two more switches. Whoever sends keeps the resource from being destroyed.
    mFifoCond.NotifyOne();
    return 0;
}

void PerfResource::CountQuestion(PerfCommandType type) {
    switch (type) {
        case PERF_COMMAND_GET_LOG:
            ++mDumpsAsked[LOG_DUMP];
            break;
        case PERF_COMMAND_GET_BASE_INFO:
            ++mDumpsAsked[BASE_INFO_DUMP];
            break;
        case PERF_COMMAND_INSPECT:
            ++mDumpsAsked[INSPECTION];
            break;
        default:
            break;
    }
}

void PerfResource::WorkThread() {
    TimePoint next{};
    while (const std::optional<WorkStatus> status = WaitForWork(next)) {
        HandleCommand(*status);
        next = FindMinTime();
    }
    LOGI("[%s:%d] [%s] work thread exit", mName.c_str());
}

/// Sleeps until there is something to do; nothing when the thread is to end. A stop beats all else,
/// so that destruction never waits for a queue to drain.
std::optional<WorkStatus> PerfResource::WaitForWork(TimePoint next) {
    MutexLock lock(mFifoMutex);
    while (mFifo.Empty() && !mStop) {
        if (next == TimePoint{}) {
            GetClock().Wait(mFifoCond, mFifoMutex);
        } else if (SteadyNow() >= next) {
            return WorkStatus::TIME_OUT;
        } else {
            GetClock().WaitUntil(mFifoCond, mFifoMutex, next);
        }
    }
    if (mStop) {
        return std::nullopt;
    }
    return WorkStatus::NEW_COMMAND;
}

void PerfResource::HandleCommand(WorkStatus status) {
    switch (status) {
        case WorkStatus::NEW_COMMAND:
            if (HandleNewCommand() != 0) {
                LOGE("[%s:%d] [%s] HandleNewCommand failed", mName.c_str());
            }
            break;
        case WorkStatus::TIME_OUT:
            if (HandleCommandTimeOut() != 0) {
                LOGE("[%s:%d] [%s] HandleCommandTimeOut failed", mName.c_str());
            }
            break;
        default:
            LOGE("[%s:%d] [%s] invalid status value", mName.c_str());
            break;
    }
}

int PerfResource::HandleNewCommand() {
    PerfCommand command;
    {
        MutexLock lock(mFifoMutex);
        if (mFifo.Empty()) {
            LOGE("[%s:%d] [%s] empty command que", mName.c_str());
            return -1;
        }
        command = mFifo.Pop();
    }
    try {
        if (CommandDispath(command) != 0) {
            LOGE("[%s:%d] [%s] CommandDispath failed", mName.c_str());
            return -1;
        }
    } catch (const std::bad_alloc&) {
        LOGE("[%s:%d] [%s] out of memory, handle %lu is left out", mName.c_str(),
             command.item->handle);
        TakeBack(command);
        return -1;
    }
    return 0;
}

/// Withdraws what is there of a start that found no memory: half of a request would stand
/// unnoticed, and what is queued but not written would be taken for written. Needs no memory, like
/// every stop.
void PerfResource::TakeBack(const PerfCommand& command) {
    if (command.type == PERF_COMMAND_SHORT_START) {
        CommandProcess(*command.item, GetCommandHandle(PERF_COMMAND_SHORT_STOP));
    } else if (command.type == PERF_COMMAND_LONG_START) {
        CommandProcess(*command.item, GetCommandHandle(PERF_COMMAND_LONG_STOP));
    }
}

}  // namespace corebeacon
