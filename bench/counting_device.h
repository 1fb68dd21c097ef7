/// The device under the benchmarks: every node is /dev/null, so that a write costs its system call
/// and nothing else, and the writes are counted. Owned by a benchmark; any thread may call it.
#pragma once

#include <atomic>
#include <cstdint>

#include "corebeacon/node_io.h"

namespace corebeacon::bench {

class CountingDevice : public NodeIo {
public:
    int Open(const char* path, int flags) override;
    /// Any node reads as the frequency list of the big cores.
    ssize_t Read(int fd, void* buffer, std::size_t size) override;
    ssize_t Write(int fd, const void* data, std::size_t size) override;
    int Close(int fd) override;
    int Ioctl(int fd, unsigned long request, void* argument) override;

    std::uint64_t Writes() const { return mWrites.load(std::memory_order_acquire); }

    /// Spins until `writes` have been done since the device came to be.
    void AwaitWrites(std::uint64_t writes) const;

private:
    std::atomic<std::uint64_t> mWrites{0};
    bool mListEnds = false;  // lists are read during set-up, by one thread
};

}  // namespace corebeacon::bench
