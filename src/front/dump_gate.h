/// Knows how many dumps are under way, because destruction has to see them out: a dump is the one
/// operation that waits for workers. Member of the front's state; any thread may pass through.
#pragma once

#include "platform/mutex.h"

namespace corebeacon {

class DumpGate {
public:
    /// Returns once no thread is inside. For the thread that destroys the front.
    void AwaitEmpty() EXCLUDES(mMutex) {
        MutexLock lock(mMutex);
        while (mInside > 0) {
            mCond.Wait(mMutex);
        }
    }

private:
    friend class DumpPass;

    void Enter() EXCLUDES(mMutex) {
        MutexLock lock(mMutex);
        ++mInside;
    }

    void Leave() EXCLUDES(mMutex) {
        // Notified under the mutex: once it is free, the gate may be gone.
        MutexLock lock(mMutex);
        --mInside;
        mCond.NotifyAll();
    }

    Mutex mMutex;
    CondVar mCond;
    unsigned int mInside GUARDED_BY(mMutex) = 0;
};

/// Keeps its thread inside for a scope.
class DumpPass {
public:
    explicit DumpPass(DumpGate& gate) : mGate(gate) { mGate.Enter(); }
    ~DumpPass() { mGate.Leave(); }
    DumpPass(const DumpPass&) = delete;
    DumpPass& operator=(const DumpPass&) = delete;

private:
    DumpGate& mGate;
};

}  // namespace corebeacon
