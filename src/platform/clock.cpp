#include "platform/clock.h"

#include <atomic>

#include "platform/immortal.h"

namespace corebeacon {

namespace {

Clock& RealClock() {
    static Immortal<Clock> clock;
    return clock.Get();
}

// Null means the real clock, so that no static of another file can run before this one is set.
std::atomic<Clock*> gClock{nullptr};

}  // namespace

Clock::~Clock() = default;

TimePoint Clock::SteadyNow() const {
    return std::chrono::steady_clock::now();
}

WallTimePoint Clock::WallNow() const {
    return std::chrono::system_clock::now();
}

void Clock::Wait(CondVar& cond, Mutex& mutex) {
    cond.Wait(mutex);
}

void Clock::WaitUntil(CondVar& cond, Mutex& mutex, TimePoint deadline) {
    cond.WaitUntil(mutex, deadline);
}

Clock& GetClock() {
    Clock* replacement = gClock.load(std::memory_order_acquire);
    return replacement != nullptr ? *replacement : RealClock();
}

void SetClock(Clock* replacement) {
    gClock.store(replacement, std::memory_order_release);
}

}  // namespace corebeacon
