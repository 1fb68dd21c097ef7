#include "turn_clock.h"

#include <algorithm>
#include <functional>
#include <utility>

namespace corebeacon::tool {

namespace {

/// Any but the epoch, which the engine takes for "never".
constexpr TimePoint kBeginning(std::chrono::hours(1));

constexpr TimePoint kNever = TimePoint::max();

}  // namespace

TurnClock::TurnClock(Pace pace) : mPace(pace), mFormer(GetClock()), mNow(kBeginning) {
    if (pace == Pace::REAL) {
        mNow = mFormer.SteadyNow();
    }
    SetClock(this);
}

TurnClock::~TurnClock() {
    SetClock(&mFormer);
}

TimePoint TurnClock::SteadyNow() const {
    const std::lock_guard lock(mMutex);
    return mPace == Pace::REAL && !mIsConducting ? mFormer.SteadyNow() : mNow;
}

WallTimePoint TurnClock::WallNow() const {
    if (mPace == Pace::REAL) {
        return mFormer.WallNow();
    }
    const std::lock_guard lock(mMutex);
    return WallTimePoint(mNow - kBeginning);
}

void TurnClock::Wait(CondVar& cond, Mutex& mutex) {
    Rest(cond, mutex, kNever);
}

void TurnClock::WaitUntil(CondVar& cond, Mutex& mutex, TimePoint deadline) {
    Rest(cond, mutex, deadline);
}

void TurnClock::Rest(CondVar& cond, Mutex& mutex, TimePoint deadline) {
    std::unique_lock lock(mMutex);
    if (!mIsConducting) {
        lock.unlock();
        WaitFreely(cond, mutex);
        return;
    }
    // The caller's mutex is free meanwhile, as in any wait; and since the caller looks at its
    // condition again afterwards, no notification is needed to tell whether that has come about.
    mutex.Unlock();
    if (IsConductor()) {
        lock.unlock();
        if (deadline == kNever) {
            Run(Round::ALL);
        } else {
            PassTime(deadline);
        }
    } else {
        Worker& worker = mWorkers[StationOf(cond)];
        worker.deadline = deadline;
        worker.isResting = true;
        mRested.notify_one();
        worker.resume.wait(lock, [this, &worker] { return worker.hasTurn || !mIsConducting; });
        worker.isResting = false;
        worker.hasTurn = false;
        lock.unlock();
    }
    mutex.Lock();
}

/// No deadline comes, since time stands still; at the real pace nobody has one yet, or any longer.
void TurnClock::WaitFreely(CondVar& cond, Mutex& mutex) {
    {
        const std::lock_guard lock(mMutex);
        if (mIsConducting) {
            return;  // since a moment ago
        }
        mFreeWaits[&cond] = &mutex;
    }
    cond.Wait(mutex);
    const std::lock_guard lock(mMutex);
    mFreeWaits.erase(&cond);
}

void TurnClock::Conduct(std::vector<Station> stations, RoundListener listener) {
    mListener = std::move(listener);
    std::map<CondVar*, Mutex*> waits;
    {
        const std::lock_guard lock(mMutex);
        mNow = mPace == Pace::REAL ? mFormer.SteadyNow() : mNow;
        mStations = std::move(stations);
        mWorkers.resize(mStations.size() + 1);
        mIsConducting = true;
        waits = mFreeWaits;
    }
    for (const auto& [cond, mutex] : waits) {
        // Passing through the mutex makes sure that the worker is inside its wait by now.
        { const MutexLock passed(*mutex); }
        cond->NotifyAll();
    }
    std::unique_lock lock(mMutex);
    mRested.wait(lock, [this] { return std::ranges::all_of(mWorkers, &Worker::isResting); });
}

void TurnClock::LetGo() {
    const std::lock_guard lock(mMutex);
    mIsConducting = false;
    for (Worker& worker : mWorkers) {
        worker.resume.notify_one();
    }
}

void TurnClock::Ask() {
    ReadTime();
    mIsAsked = true;
}

void TurnClock::Run(Round round) {
    ReadTime();
    const TimePoint now = SteadyNow();
    if (round == Round::DUE && NextDeadline() > now) {
        return;
    }
    if (mListener) {
        mListener(round, now);
    }
    if (round == Round::ALL) {
        mIsAsked = false;
    }
    for (Worker& worker : mWorkers) {
        if (round == Round::ALL || worker.deadline <= now) {
            GiveTurn(worker);
        }
    }
}

void TurnClock::MoveTo(TimePoint time) {
    const std::lock_guard lock(mMutex);
    mNow = std::max(mNow, time);
}

/// To the next moment at which something happens, but not beyond `deadline`.
void TurnClock::PassTime(TimePoint deadline) {
    if (mIsAsked) {
        Run(Round::ALL);
        return;
    }
    const TimePoint next = std::min(deadline, NextDeadline());
    if (mPace == Pace::REAL) {
        std::this_thread::sleep_until(next);
    } else {
        MoveTo(next);
    }
    Run(Round::DUE);
}

void TurnClock::ReadTime() {
    if (mPace == Pace::REAL) {
        const std::lock_guard lock(mMutex);
        mNow = mFormer.SteadyNow();
    }
}

// Everybody rests when these are called.

TimePoint TurnClock::NextDeadline() const {
    const std::lock_guard lock(mMutex);
    TimePoint next = kNever;
    for (const Worker& worker : mWorkers) {
        next = std::min(next, worker.deadline);
    }
    return next;
}

void TurnClock::GiveTurn(Worker& worker) {
    std::unique_lock lock(mMutex);
    worker.hasTurn = true;
    worker.resume.notify_one();
    mRested.wait(lock, [&worker] { return worker.isResting && !worker.hasTurn; });
}

std::size_t TurnClock::StationOf(const CondVar& cond) const {
    const void* const place = &cond;
    std::size_t position = 0;
    while (position < mStations.size() &&
           (std::less<const void*>()(place, mStations[position].begin) ||
            !std::less<const void*>()(place, mStations[position].end))) {
        ++position;
    }
    return position;
}

}  // namespace corebeacon::tool
