/// The faults in wait, in the order of their injection. Owned by the device; any thread may call
/// it.
#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "sim/fault.h"
#include "sim/operation.h"

namespace corebeacon::sim {

/// All that befalls one operation. Delays of several faults add up, every gate must be passed; of
/// several outcomes the fault injected first has its way.
struct Mishap {
    std::vector<std::shared_ptr<Gate>> gates;
    std::chrono::nanoseconds delay{0};
    int error = 0;
    std::optional<std::size_t> shortCount;

    /// Passes the gates and lets the delay go by; called without any lock.
    void SitOut() const;
    std::size_t Limit(std::size_t size) const;
};

class FaultList {
public:
    /// An empty `path` matches every node.
    std::uint64_t Add(const std::string& path, OperationKind kind, const Fault& fault);
    void Remove(std::uint64_t id);
    void Clear();
    std::size_t Hits(std::uint64_t id) const;
    /// Counts the operation with every fault that matches it.
    Mishap Strike(const std::string& path, OperationKind kind);

private:
    struct Entry {
        std::uint64_t id;
        std::string path;
        OperationKind kind;
        Fault fault;
        std::size_t seen = 0;
        std::size_t hits = 0;
    };

    std::atomic<bool> mEmpty{true};  // spares the lock where nothing is ever injected

    mutable std::mutex mMutex;
    // guarded by mMutex
    std::vector<Entry> mEntries;
    std::uint64_t mLastId = 0;
};

}  // namespace corebeacon::sim
