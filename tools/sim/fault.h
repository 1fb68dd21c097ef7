/// Faults on demand: what shall go wrong with a node, how often, and from which operation on.
/// Built by a test, handed to SimulatedDevice::Inject; a Gate may be used from any thread.
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>

namespace corebeacon::sim {

/// Holds operations up until it is opened, so that a test decides how long a node hangs without
/// ever sleeping. Once open it stays open until closed again.
class Gate {
public:
    void Open();
    void Close();
    /// Blocks the caller while the gate is closed.
    void Pass();
    /// How many callers are blocked now.
    std::size_t Waiting() const;
    /// Blocks until at least `count` callers are blocked; false when `limit` passed first.
    bool AwaitWaiting(std::size_t count,
                      std::chrono::nanoseconds limit = std::chrono::seconds(60)) const;

private:
    mutable std::mutex mMutex;
    mutable std::condition_variable mCond;
    bool mOpen = false;        // guarded by mMutex
    std::size_t mWaiting = 0;  // guarded by mMutex
};

/// A fault strikes once unless told otherwise, beginning with the next matching operation. Delay,
/// gate and outcome combine: a node may hang first and fail then.
class Fault {
public:
    static constexpr std::size_t kForever = std::numeric_limits<std::size_t>::max();

    /// The operation fails with this errno and has no effect. A close still gives the descriptor
    /// back, as it does in the kernel.
    static Fault Errno(int error);
    /// A write takes only the first `bytes` bytes: the node sees just those. A read returns at
    /// most as many. Other operations are not touched.
    static Fault Short(std::size_t bytes);
    /// The operation takes this much longer.
    static Fault Delay(std::chrono::nanoseconds delay);
    /// The operation waits until `gate` opens. Other nodes are served meanwhile.
    static Fault Hold(std::shared_ptr<Gate> gate);

    Fault Times(std::size_t times) const;
    Fault Forever() const { return Times(kForever); }
    /// `nth` counts matching operations from the moment of injection; 1 is the next one.
    Fault StartingAt(std::size_t nth) const;
    Fault After(std::chrono::nanoseconds delay) const;
    Fault AfterPassing(std::shared_ptr<Gate> gate) const;

private:
    friend class FaultList;

    int mError = 0;  // 0: none
    std::optional<std::size_t> mShort;
    std::chrono::nanoseconds mDelay{0};
    std::shared_ptr<Gate> mGate;
    std::size_t mTimes = 1;
    std::size_t mSkip = 0;
};

}  // namespace corebeacon::sim
