/// A clock that stands still until a test moves it. Owned by a test; installed for its scope.
#pragma once

#include <mutex>
#include <vector>

#include "platform/clock.h"

namespace corebeacon::test {

class ManualClock : public Clock {
public:
    explicit ManualClock(TimePoint start = TimePoint(std::chrono::hours(1))) : mNow(start) {
        SetClock(this);
    }
    ~ManualClock() override { SetClock(nullptr); }
    ManualClock(const ManualClock&) = delete;
    ManualClock& operator=(const ManualClock&) = delete;

    TimePoint SteadyNow() const override {
        std::lock_guard<std::mutex> lock(mMutex);
        return mNow;
    }

    /// Goes with the steady time, as many nanoseconds after its own epoch, until it is set.
    WallTimePoint WallNow() const override {
        std::lock_guard<std::mutex> lock(mMutex);
        return WallTimePoint(mNow.time_since_epoch() + mWallOffset);
    }

    /// Sets the wall clock forward, or back by a negative step, as a user or a time server does.
    void ShiftWall(std::chrono::nanoseconds step) {
        std::lock_guard<std::mutex> lock(mMutex);
        mWallOffset += step;
    }

    void Wait(CondVar& cond, Mutex& mutex) override REQUIRES(mutex) {
        {
            std::lock_guard<std::mutex> lock(mMutex);
            ++mEndlessWaits;
        }
        cond.Wait(mutex);
        std::lock_guard<std::mutex> lock(mMutex);
        --mEndlessWaits;
    }

    void WaitUntil(CondVar& cond, Mutex& mutex, TimePoint deadline) override REQUIRES(mutex) {
        {
            std::lock_guard<std::mutex> lock(mMutex);
            if (mNow >= deadline) {
                return;
            }
            mWaiters.push_back({&cond, &mutex, deadline});
        }
        cond.Wait(mutex);
        std::lock_guard<std::mutex> lock(mMutex);
        for (auto waiter = mWaiters.begin(); waiter != mWaiters.end(); ++waiter) {
            if (waiter->cond == &cond) {
                mWaiters.erase(waiter);
                break;
            }
        }
    }

    /// Moves the time on and wakes whoever waits for a deadline. A worker that is awake may answer
    /// what is asked of it from now on ahead of its time-out: see AllAsleep().
    void Advance(std::chrono::nanoseconds step) {
        std::vector<Waiter> waiters;
        {
            std::lock_guard<std::mutex> lock(mMutex);
            mNow += step;
            waiters = mWaiters;
        }
        for (const Waiter& waiter : waiters) {
            // Passing through the waiter's mutex makes sure that it is inside its wait by now.
            { MutexLock lock(*waiter.mutex); }
            waiter.cond->NotifyAll();
        }
    }

    /// Whether a wait is still to end whose deadline has come. Once there is none, whoever waited
    /// holds its mutex or has seen the new time under it, so what is queued for it from now on
    /// comes after its time-out.
    bool HasDueWaiters() const {
        std::lock_guard<std::mutex> lock(mMutex);
        for (const Waiter& waiter : mWaiters) {
            if (waiter.deadline <= mNow) {
                return true;
            }
        }
        return false;
    }

    /// Who waits for a deadline.
    std::size_t WaiterCount() const {
        std::lock_guard<std::mutex> lock(mMutex);
        return mWaiters.size();
    }

    /// Who waits, for a deadline or without one.
    std::size_t SleeperCount() const {
        std::lock_guard<std::mutex> lock(mMutex);
        return mWaiters.size() + mEndlessWaits;
    }

private:
    struct Waiter {
        CondVar* cond;
        Mutex* mutex;
        TimePoint deadline;
    };
    mutable std::mutex mMutex;
    TimePoint mNow;                           // guarded by mMutex
    std::chrono::nanoseconds mWallOffset{0};  // guarded by mMutex
    std::vector<Waiter> mWaiters;             // guarded by mMutex
    std::size_t mEndlessWaits = 0;            // guarded by mMutex
};

}  // namespace corebeacon::test
