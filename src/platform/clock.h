/// The engine's clocks behind one interface, so that a test can say what time it is. All waits of
/// the engine's threads pass through it too, so that a clock may also say who moves when.
/// Process-wide; whoever installs a clock owns it; every thread may call it.
#pragma once

#include <chrono>

#include "corebeacon/perf_types.h"
#include "platform/mutex.h"

namespace corebeacon {

using WallTimePoint = std::chrono::time_point<std::chrono::system_clock, std::chrono::nanoseconds>;

class Clock {
public:
    virtual ~Clock();
    virtual TimePoint SteadyNow() const;
    virtual WallTimePoint WallNow() const;
    /// Blocks until `cond` is notified; may end spuriously.
    virtual void Wait(CondVar& cond, Mutex& mutex) REQUIRES(mutex);
    /// Blocks until `cond` is notified or SteadyNow() has reached `deadline`; may end spuriously.
    virtual void WaitUntil(CondVar& cond, Mutex& mutex, TimePoint deadline) REQUIRES(mutex);
};

/// The clock in force; the real one unless replaced.
Clock& GetClock();

/// Puts `replacement` in force; null restores the real clock. Only while no engine is running.
void SetClock(Clock* replacement);

inline TimePoint SteadyNow() {
    return GetClock().SteadyNow();
}

/// `span` (not negative) after `time`; the last time point of all when that lies beyond it.
constexpr TimePoint LaterBy(TimePoint time, std::chrono::milliseconds span) {
    return time > TimePoint::max() - span ? TimePoint::max() : time + span;
}

}  // namespace corebeacon
