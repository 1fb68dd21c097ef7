/// A clock that also says who moves. The engine's workers rest until they are given a turn, one
/// after the other in a fixed order; in its turn a worker does all that it has to do, while time
/// stands still. So the same calls at the same times give the same writes in the same order,
/// always.
///
/// Time passes only while the conductor's thread, the one that made the clock, waits for something:
/// at the virtual pace at once, to the next moment at which a worker has something to do, so that a
/// minute takes milliseconds; at the real pace as it does.
///
/// Owned by an engine session, made before its engine and destroyed after it. Until Conduct and
/// after LetGo, while the engine is set up and taken down, workers move freely and the virtual time
/// stands still.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <thread>
#include <vector>

#include "platform/clock.h"

namespace corebeacon::tool {

enum class Pace { VIRTUAL, REAL };

/// Workers get a turn in rounds. Of the second kind are those whose time has come.
enum class Round { ALL, DUE };

class TurnClock : public Clock {
public:
    /// The address range of the object that a worker belongs to: what it waits for is part of it.
    struct Station {
        const void* begin = nullptr;
        const void* end = nullptr;
    };
    using RoundListener = std::function<void(Round, TimePoint)>;

    /// In force until it is destroyed.
    explicit TurnClock(Pace pace);
    ~TurnClock() override;
    TurnClock(const TurnClock&) = delete;
    TurnClock& operator=(const TurnClock&) = delete;

    /// The same for everybody. Stands still during a round, and between what Ask and the waits of
    /// the conductor's thread tell.
    TimePoint SteadyNow() const override;
    /// At the virtual pace the first of January 1970 begins with the clock.
    WallTimePoint WallNow() const override;
    void Wait(CondVar& cond, Mutex& mutex) override REQUIRES(mutex);
    void WaitUntil(CondVar& cond, Mutex& mutex, TimePoint deadline) override REQUIRES(mutex);

    // ---- For the conductor's thread ----

    /// Brings the workers to rest: one for each station, in this order, and one that belongs to
    /// none. They must have been started. `listener` is told of each round before it begins.
    void Conduct(std::vector<Station> stations, RoundListener listener = nullptr);
    /// From now on workers move freely.
    void LetGo();
    /// To be called before each operation of the engine: it happens now, and the workers get a turn
    /// before time goes on.
    void Ask();
    /// Gives turns.
    void Run(Round round);
    /// Moves the virtual time on; it never goes back.
    void MoveTo(TimePoint time);

private:
    struct Worker {
        bool isResting = false;
        bool hasTurn = false;
        TimePoint deadline;
        std::condition_variable resume;
    };

    bool IsConductor() const { return std::this_thread::get_id() == mConductor; }
    /// The position of the station that `cond` is part of; one more than there are if there is
    /// none.
    std::size_t StationOf(const CondVar& cond) const;
    void WaitFreely(CondVar& cond, Mutex& mutex) REQUIRES(mutex);
    void Rest(CondVar& cond, Mutex& mutex, TimePoint deadline) REQUIRES(mutex);
    void PassTime(TimePoint deadline);
    void ReadTime();
    TimePoint NextDeadline() const;
    void GiveTurn(Worker& worker);

    const Pace mPace;
    Clock& mFormer;
    const std::thread::id mConductor = std::this_thread::get_id();
    RoundListener mListener;  // conductor's thread only
    bool mIsAsked = false;    // conductor's thread only: something was asked since the last round

    mutable std::mutex mMutex;  // taken inside the mutex of a wait, never the other way round
    // guarded by mMutex
    std::condition_variable mRested;
    bool mIsConducting = false;
    TimePoint mNow;
    std::vector<Station> mStations;
    std::deque<Worker> mWorkers;            // by station; empty before Conduct
    std::map<CondVar*, Mutex*> mFreeWaits;  // those of workers that move freely
};

}  // namespace corebeacon::tool
