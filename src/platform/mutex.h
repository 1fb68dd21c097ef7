/// The standard mutex and condition variable, dressed with the annotations that let clang prove
/// who holds what. Members of the classes they guard; any thread may use them.
#pragma once

#include <condition_variable>
#include <mutex>

#include "corebeacon/perf_types.h"
#include "platform/thread_annotations.h"

namespace corebeacon {

class CAPABILITY("mutex") Mutex {
public:
    void Lock() ACQUIRE() { mMutex.lock(); }
    void Unlock() RELEASE() { mMutex.unlock(); }

private:
    friend class CondVar;
    std::mutex mMutex;
};

/// Holds a mutex for a scope.
class SCOPED_CAPABILITY MutexLock {
public:
    explicit MutexLock(Mutex& mutex) ACQUIRE(mutex) : mMutex(mutex) { mMutex.Lock(); }
    ~MutexLock() RELEASE() { mMutex.Unlock(); }

    MutexLock(const MutexLock&) = delete;
    MutexLock& operator=(const MutexLock&) = delete;

private:
    Mutex& mMutex;
};

/// Waits release the mutex and hold it again on return. Every wait may end spuriously: callers loop
/// on their condition, in plain sight of the analysis instead of inside a predicate.
class CondVar {
public:
    void Wait(Mutex& mutex) REQUIRES(mutex) {
        std::unique_lock<std::mutex> lock(mutex.mMutex, std::adopt_lock);
        mCond.wait(lock);
        lock.release();
    }

    /// The deadline is on the steady clock: setting the wall clock neither shortens nor stretches
    /// it.
    void WaitUntil(Mutex& mutex, TimePoint deadline) REQUIRES(mutex) {
        std::unique_lock<std::mutex> lock(mutex.mMutex, std::adopt_lock);
        mCond.wait_until(lock, deadline);
        lock.release();
    }

    void NotifyOne() { mCond.notify_one(); }
    void NotifyAll() { mCond.notify_all(); }

private:
    std::condition_variable mCond;
};

}  // namespace corebeacon
