/// The device under the benchmarks: what is read comes from the simulated device, what is written
/// goes to a file on tmpfs, so that a write costs a system call that copies, as one to a kernel
/// node does. Counts the writes and stamps them. Owned by a benchmark; any thread may call it.
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>

#include "corebeacon/node_io.h"
#include "sim/simulated_device.h"

namespace corebeacon::bench {

using Nanoseconds = std::chrono::nanoseconds;

/// Since the epoch of the steady clock.
inline Nanoseconds Now() {
    return std::chrono::steady_clock::now().time_since_epoch();
}

class TmpfsDevice : public NodeIo {
public:
    /// Every write to a node whose path contains `slowPart` sleeps for 1 ms; none if it is empty.
    explicit TmpfsDevice(std::string slowPart = "");
    ~TmpfsDevice() override;
    TmpfsDevice(const TmpfsDevice&) = delete;
    TmpfsDevice& operator=(const TmpfsDevice&) = delete;

    int Open(const char* path, int flags) override;
    ssize_t Read(int fd, void* buffer, std::size_t size) override;
    ssize_t Write(int fd, const void* data, std::size_t size) override;
    int Close(int fd) override;
    int Ioctl(int fd, unsigned long request, void* argument) override;

    std::uint64_t Writes() const { return mWrites.load(std::memory_order_acquire); }
    /// Waits, in naps, until `writes` have been done since the device came to be.
    void AwaitWrites(std::uint64_t writes) const;
    /// Waits until nothing has been written for some milliseconds.
    void AwaitRest() const;
    /// When the latest write returned.
    Nanoseconds LastWriteEnd() const { return Nanoseconds(mLastEnd.load()); }
    /// The second write from now on will note when it began.
    void ArmSecondWrite() { mArmed.store(Writes() + 2); }
    Nanoseconds ArmedWriteBegin() const { return Nanoseconds(mArmedBegin.load()); }
    /// How many writes each thread has made.
    std::map<int, std::uint64_t> WritesByThread() const;
    void CountByThread(bool count) { mCountsThreads.store(count); }

private:
    bool IsSlow(int fd) const;

    const std::unique_ptr<sim::SimulatedDevice> mReadable;
    const std::string mDirectory;
    const std::string mSlowPart;
    std::atomic<std::uint64_t> mWrites{0};
    std::atomic<std::uint64_t> mArmed{0};
    std::atomic<Nanoseconds::rep> mLastEnd{0};
    std::atomic<Nanoseconds::rep> mArmedBegin{0};
    std::atomic<bool> mCountsThreads{false};
    mutable std::mutex mMutex;
    std::map<std::string, int> mFiles;             // guarded by mMutex; kept open
    std::map<int, std::uint64_t> mWritesByThread;  // guarded by mMutex
    std::atomic<std::uint64_t> mSlowFds[16]{};     // a bit for each descriptor
};

}  // namespace corebeacon::bench
