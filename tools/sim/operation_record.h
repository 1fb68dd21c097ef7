/// The newest operations, oldest first, as many as its limit allows. Owned by the device; any
/// thread may call it.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <vector>

#include "sim/operation.h"

namespace corebeacon::sim {

class OperationRecord {
public:
    static constexpr std::size_t kUnbounded = static_cast<std::size_t>(-1);

    void Append(const Operation& operation);
    void SetLimit(std::size_t limit);
    void Clear();
    std::uint64_t Count() const { return mCount; }
    std::vector<Operation> Select(const std::function<bool(const Operation&)>& wanted) const;

private:
    std::atomic<std::uint64_t> mCount{0};

    mutable std::mutex mMutex;
    // guarded by mMutex
    std::deque<Operation> mOperations;
    std::size_t mLimit = kUnbounded;
};

}  // namespace corebeacon::sim
