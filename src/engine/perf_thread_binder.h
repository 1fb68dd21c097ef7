/// Binds probed threads for their spans: at a span's start the thread id is written to a kernel
/// node after the bind text, at its end after the unbind text. Owned by the front. Init, Stop,
/// SetNodePath and destruction belong to one thread at a time; AddThreadInfo and DeleteThreadInfo
/// may come from any; the binder's own worker does all the writing.
#pragma once

#include <map>
#include <string>
#include <thread>
#include <vector>

#include "corebeacon/perf_types.h"
#include "platform/mutex.h"

namespace corebeacon {

/// One probe: bind `tid` at `startTime`, unbind it at `endTime`.
struct ThreadInfo {
    int tid = 0;
    TimePoint startTime;
    TimePoint endTime;
};

class PerfThreadBinder {
public:
    PerfThreadBinder() = default;
    /// Stops the worker; see Stop().
    ~PerfThreadBinder();
    PerfThreadBinder(const PerfThreadBinder&) = delete;
    PerfThreadBinder& operator=(const PerfThreadBinder&) = delete;

    /// The node that takes "TEXT|TID". Before Init; an empty path, as on a host without probes,
    /// means that spans are kept but nothing is written.
    void SetNodePath(const std::string& path);

    /// Keeps the texts and starts the worker. Returns 0; -1, with nothing changed, if the worker
    /// already runs or cannot be started.
    int Init(const std::string& bindText, const std::string& unbindText);

    /// Ends the worker, closes the node and forgets all spans; Init may follow. A thread removed
    /// before is unbound still; one whose span is in force stays bound. Harmless when not running.
    void Stop();

    /// Takes up a probe, unless its thread has one whose span has not ended. Returns 0 either way.
    /// Throws std::bad_alloc with the probe not taken up.
    int AddThreadInfo(const ThreadInfo& info);

    /// Ends the probe of `tid` ahead of its time; a bound thread is unbound, before any later probe
    /// of the same id binds it again. An unknown id changes nothing.
    void DeleteThreadInfo(int tid);

    /// Whether `tid` has a probe whose end the worker has not come round to yet.
    bool IsKnown(int tid) const;

    /// Writes the bind or unbind text of one thread. For the worker, or while none runs.
    void DoConfig(bool bind, const ThreadInfo& info);

    /// Closes the node. For the worker, or while none runs.
    void CloseAllFds();

private:
    struct ThreadTime {
        TimePoint startTime;
        TimePoint endTime;
    };
    using ThreadQue = std::multimap<TimePoint, ThreadInfo>;
    /// What one pass of the worker has to write, in this order. What unbinds a thread must not fail
    /// for lack of memory: those entries move here as they stand.
    struct Changes {
        ThreadQue removed;                 ///< bound threads whose probe was removed: unbind
        std::vector<ThreadInfo> inEffect;  ///< span has just begun: bind
        ThreadQue expired;                 ///< span has just ended: unbind
    };

    void WorkThread() EXCLUDES(mMutex);
    void WaitForWork() REQUIRES(mMutex);
    void WriteChanges(const Changes& changes);
    bool TakeInEffectWaitingThread(TimePoint now) REQUIRES(mMutex);
    bool TakeInEffect(ThreadQue::iterator waiting) REQUIRES(mMutex);
    void BuildExpiredList(TimePoint now) REQUIRES(mMutex);
    TimePoint FindMinTime() const REQUIRES(mMutex);
    void DeleteFromQue(int tid, const ThreadTime& time) REQUIRES(mMutex);
    void DeleteFromEffectiveQue(int tid, TimePoint endTime) REQUIRES(mMutex);

    // Fixed while the worker runs.
    std::string mNodePath;
    std::string mBindText;
    std::string mUnbindText;

    // Worker thread only, while it runs.
    int mFd = -1;
    std::string mText;  // has room for every text that is written

    // Owner's thread only.
    std::thread mThread;

    mutable Mutex mMutex;
    CondVar mCond;  // with mMutex: a queue changed, or stop
    // Guarded by mMutex.
    bool mStop GUARDED_BY(mMutex) = false;
    ThreadQue mEffectiveQue GUARDED_BY(mMutex);  // by end time: span has begun
    ThreadQue mWaitingQue GUARDED_BY(mMutex);    // by start time: span has not begun
    std::map<int, ThreadTime> mKnownThreads GUARDED_BY(mMutex);
    Changes mChanges GUARDED_BY(mMutex);
};

}  // namespace corebeacon
