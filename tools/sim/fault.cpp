#include "sim/fault.h"

#include <utility>

namespace corebeacon::sim {

void Gate::Open() {
    const std::lock_guard lock(mMutex);
    mOpen = true;
    mCond.notify_all();
}

void Gate::Close() {
    const std::lock_guard lock(mMutex);
    mOpen = false;
}

void Gate::Pass() {
    std::unique_lock lock(mMutex);
    ++mWaiting;
    mCond.notify_all();
    mCond.wait(lock, [this] { return mOpen; });
    --mWaiting;
}

std::size_t Gate::Waiting() const {
    const std::lock_guard lock(mMutex);
    return mWaiting;
}

bool Gate::AwaitWaiting(std::size_t count, std::chrono::nanoseconds limit) const {
    std::unique_lock lock(mMutex);
    return mCond.wait_for(lock, limit, [this, count] { return mWaiting >= count; });
}

Fault Fault::Errno(int error) {
    Fault fault;
    fault.mError = error;
    return fault;
}

Fault Fault::Short(std::size_t bytes) {
    Fault fault;
    fault.mShort = bytes;
    return fault;
}

Fault Fault::Delay(std::chrono::nanoseconds delay) {
    return Fault().After(delay);
}

Fault Fault::Hold(std::shared_ptr<Gate> gate) {
    return Fault().AfterPassing(std::move(gate));
}

Fault Fault::Times(std::size_t times) const {
    Fault fault = *this;
    fault.mTimes = times;
    return fault;
}

Fault Fault::StartingAt(std::size_t nth) const {
    Fault fault = *this;
    fault.mSkip = nth == 0 ? 0 : nth - 1;
    return fault;
}

Fault Fault::After(std::chrono::nanoseconds delay) const {
    Fault fault = *this;
    fault.mDelay = delay;
    return fault;
}

Fault Fault::AfterPassing(std::shared_ptr<Gate> gate) const {
    Fault fault = *this;
    fault.mGate = std::move(gate);
    return fault;
}

}  // namespace corebeacon::sim
