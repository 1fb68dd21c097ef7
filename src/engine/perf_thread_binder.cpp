#include "engine/perf_thread_binder.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <new>
#include <string_view>
#include <system_error>
#include <utility>

#include "platform/clock.h"
#include "platform/logging.h"
#include "platform/sys_wrapper.h"

namespace corebeacon {

namespace {

constexpr const char* LOG_TAG = "PF_THREAD_BINDER";
constexpr const char* kNodeName = "ThreadBinder";

using ThreadQue = std::multimap<TimePoint, ThreadInfo>;

// Several threads may share a time: only the entries keyed by it are searched.
ThreadQue::iterator FindThread(ThreadQue& que, TimePoint time, int tid) {
    const auto [first, last] = que.equal_range(time);
    const auto entry =
        std::find_if(first, last, [tid](const auto& item) { return item.second.tid == tid; });
    return entry != last ? entry : que.end();
}

/// Takes no memory.
void Move(ThreadQue& from, ThreadQue::iterator entry, TimePoint time, ThreadQue& to) {
    auto node = from.extract(entry);
    node.key() = time;
    to.insert(std::move(node));
}

}  // namespace

PerfThreadBinder::~PerfThreadBinder() {
    Stop();
}

void PerfThreadBinder::SetNodePath(const std::string& path) {
    mNodePath = path;
}

int PerfThreadBinder::Init(const std::string& bindText, const std::string& unbindText) {
    if (mThread.joinable()) {
        LOGE("[%s:%d] thread binder is already running");
        return -1;
    }
    {
        MutexLock lock(mMutex);
        mStop = false;
    }
    // The name of a thread has a sign and ten digits at most.
    mText.reserve(std::max(bindText.size(), unbindText.size()) + std::string_view("|-").size() +
                  std::numeric_limits<int>::digits10 + 1);
    std::string formerBindText = std::exchange(mBindText, bindText);
    std::string formerUnbindText = std::exchange(mUnbindText, unbindText);
    try {
        mThread = std::thread(&PerfThreadBinder::WorkThread, this);
    } catch (const std::system_error& error) {
        LOGE("[%s:%d] starting the thread binder failed: %s", error.what());
        mBindText.swap(formerBindText);
        mUnbindText.swap(formerUnbindText);
        return -1;
    }
    return 0;
}

void PerfThreadBinder::Stop() {
    {
        MutexLock lock(mMutex);
        mStop = true;
        mCond.NotifyAll();
    }
    if (mThread.joinable()) {
        mThread.join();
    }
    CloseAllFds();

    MutexLock lock(mMutex);
    mEffectiveQue.clear();
    mWaitingQue.clear();
    mKnownThreads.clear();
    mChanges = {};
}

int PerfThreadBinder::AddThreadInfo(const ThreadInfo& info) {
    MutexLock lock(mMutex);
    const auto known = mKnownThreads.find(info.tid);
    if (known != mKnownThreads.end()) {
        if (known->second.endTime > SteadyNow()) {
            LOGD("[%s:%d] duplicate probe");
            return 0;
        }
        // Its span is over, only the worker has not come round to it: that must not cost the
        // caller the new one.
        DeleteFromQue(info.tid, known->second);
        mKnownThreads.erase(known);
    }
    LOGD("[%s:%d] add probe tid = %d", info.tid);
    const auto waiting = mWaitingQue.emplace(info.startTime, info);
    try {
        mKnownThreads.emplace(info.tid, ThreadTime{info.startTime, info.endTime});
    } catch (const std::bad_alloc&) {
        mWaitingQue.erase(waiting);
        throw;
    }
    mCond.NotifyAll();
    return 0;
}

void PerfThreadBinder::DeleteThreadInfo(int tid) {
    MutexLock lock(mMutex);
    LOGD("[%s:%d] del probe tid = %d", tid);
    const auto known = mKnownThreads.find(tid);
    if (known == mKnownThreads.end()) {
        return;
    }
    DeleteFromQue(tid, known->second);
    mKnownThreads.erase(known);
    mCond.NotifyAll();
}

bool PerfThreadBinder::IsKnown(int tid) const {
    MutexLock lock(mMutex);
    return mKnownThreads.contains(tid);
}

void PerfThreadBinder::DoConfig(bool bind, const ThreadInfo& info) {
    if (mNodePath.empty()) {
        return;
    }
    mText = bind ? mBindText : mUnbindText;
    mText += "|";
    mText += std::to_string(info.tid);
    const int result = SysWrapper::SysOpenAndWriteStr(kNodeName, mNodePath, mText, mFd);
    LOGD("[%s:%d] thread bind: %s, write ret = %d", mText.c_str(), result);
}

void PerfThreadBinder::CloseAllFds() {
    SysWrapper::SysClose(mFd);
}

void PerfThreadBinder::WorkThread() {
    LOGD("[%s:%d] Perf Thread Binder WorkThread");
    bool running = true;
    while (running) {
        Changes changes;
        {
            MutexLock lock(mMutex);
            WaitForWork();
            running = !mStop;
            if (running) {
                BuildExpiredList(SteadyNow());
            }
            // At a stop these are the removals that nobody else would carry out any more.
            changes = std::exchange(mChanges, {});
        }
        WriteChanges(changes);
    }
    LOGD("[%s:%d] Perf Thread Binder thread stop");
}

// The queues may have changed while the worker was writing, with nobody waiting for the
// notification: every reason to go on is looked at before each wait.
void PerfThreadBinder::WaitForWork() {
    while (!mStop && mChanges.removed.empty()) {
        if (mEffectiveQue.empty() && mWaitingQue.empty()) {
            GetClock().Wait(mCond, mMutex);
            continue;
        }
        const TimePoint next = FindMinTime();
        if (next <= SteadyNow()) {
            return;
        }
        GetClock().WaitUntil(mCond, mMutex, next);
    }
}

void PerfThreadBinder::WriteChanges(const Changes& changes) {
    // A removed thread may be back with a new span: its old one ends first.
    for (const auto& [time, info] : changes.removed) {
        DoConfig(false, info);
    }
    for (const ThreadInfo& info : changes.inEffect) {
        DoConfig(true, info);
    }
    for (const auto& [time, info] : changes.expired) {
        DoConfig(false, info);
    }
}

bool PerfThreadBinder::TakeInEffectWaitingThread(TimePoint now) {
    bool anyInEffect = false;
    auto entry = mWaitingQue.begin();
    while (entry != mWaitingQue.end() && entry->first <= now) {
        const auto next = std::next(entry);
        const ThreadInfo& info = entry->second;
        if (info.endTime > now && TakeInEffect(entry)) {
            LOGD("[%s:%d] [%s:%d] ThreadBinder takeInEffect tid %d", __func__, __LINE__, info.tid);
            anyInEffect = true;
        } else {
            mKnownThreads.erase(info.tid);  // or the thread could never be probed again
            mWaitingQue.erase(entry);
        }
        entry = next;
    }
    return anyInEffect;
}

/// False, with nothing changed, when there is no memory for what has to be written.
bool PerfThreadBinder::TakeInEffect(ThreadQue::iterator waiting) {
    const ThreadInfo& info = waiting->second;
    try {
        mChanges.inEffect.push_back(info);
    } catch (const std::bad_alloc&) {
        LOGE("[%s:%d] out of memory, tid %d is not bound", info.tid);
        return false;
    }
    Move(mWaitingQue, waiting, info.endTime, mEffectiveQue);
    return true;
}

void PerfThreadBinder::BuildExpiredList(TimePoint now) {
    TakeInEffectWaitingThread(now);
    auto entry = mEffectiveQue.begin();
    while (entry != mEffectiveQue.end() && entry->first <= now) {
        const auto next = std::next(entry);
        mKnownThreads.erase(entry->second.tid);
        Move(mEffectiveQue, entry, entry->first, mChanges.expired);
        entry = next;
    }
}

// 0 when both queues are empty.
TimePoint PerfThreadBinder::FindMinTime() const {
    if (mEffectiveQue.empty()) {
        return mWaitingQue.empty() ? TimePoint{} : mWaitingQue.begin()->first;
    }
    const TimePoint firstEnd = mEffectiveQue.begin()->first;
    return mWaitingQue.empty() ? firstEnd : std::min(firstEnd, mWaitingQue.begin()->first);
}

void PerfThreadBinder::DeleteFromQue(int tid, const ThreadTime& time) {
    const auto entry = FindThread(mWaitingQue, time.startTime, tid);
    if (entry != mWaitingQue.end()) {
        mWaitingQue.erase(entry);
    } else {
        DeleteFromEffectiveQue(tid, time.endTime);
    }
}

void PerfThreadBinder::DeleteFromEffectiveQue(int tid, TimePoint endTime) {
    const auto entry = FindThread(mEffectiveQue, endTime, tid);
    if (entry != mEffectiveQue.end()) {
        Move(mEffectiveQue, entry, entry->first, mChanges.removed);
    }
}

}  // namespace corebeacon
