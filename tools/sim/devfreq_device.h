/// The bounds of one devfreq device and the files that show them. The device is shared by its
/// nodes; any thread may call it, also with a slot's lock held.
#pragma once

#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "sim/frequency_table.h"
#include "sim/node.h"

namespace corebeacon::sim {

/// Keeps a bound as it was asked for, between table entries or not; 0 takes the wish back. What a
/// read shows lies within the table's ends, and the minimum never above the maximum.
class DevfreqDevice {
public:
    explicit DevfreqDevice(std::vector<std::int64_t> frequenciesHz);

    const std::vector<std::int64_t>& Frequencies() const { return mTable; }
    void Ask(Bound bound, std::int64_t hz);
    std::int64_t Read(Bound bound) const;

private:
    const std::vector<std::int64_t> mTable;  // ascending

    mutable std::mutex mMutex;
    std::int64_t mAskedMin = 0;  // guarded by mMutex; 0: none
    std::int64_t mAskedMax = 0;  // guarded by mMutex; 0: none
};

/// available_frequencies.
std::shared_ptr<Node> MakeDevfreqListNode(std::shared_ptr<DevfreqDevice> device);
/// min_freq and max_freq.
std::shared_ptr<Node> MakeDevfreqBoundNode(std::shared_ptr<DevfreqDevice> device, Bound bound);

}  // namespace corebeacon::sim
