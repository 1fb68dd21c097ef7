/// The end times of all timed commands, earliest first, so that what has expired is found without
/// a look at the rest. Member of CommandManager, whose mutex guards it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <set>

#include "corebeacon/perf_types.h"
#include "platform/node_pool.h"

namespace corebeacon {

/// Kinds of end-time records. The record of an event carries the event's id instead, and is told
/// from the others by its owner, the reserved pid.
inline constexpr std::uint32_t kRequestRecordKind = 20;
inline constexpr std::uint32_t kProbeRecordKind = 4097;

struct EndTimeRecord {
    int owner = 0;  ///< pid, or the tid of a probed thread
    unsigned long handle = 0;
    TimePoint endTime;
    std::uint32_t kind = kRequestRecordKind;
};

class EndTimeIndex {
public:
    /// Later arrivals mostly end later; then the hint saves the search.
    void Insert(const EndTimeRecord& record) { mRecords.insert(mRecords.end(), record); }

    /// Removes the record of one command; false when there is none such.
    bool Erase(const TimePoint& end, unsigned long handle);

    /// Takes the earliest record out into `record`, provided that it ends at `now` or before.
    bool TakeExpired(const TimePoint& now, EndTimeRecord& record);

    void Clear() { mRecords.clear(); }
    std::size_t Size() const { return mRecords.size(); }

private:
    /// The handle is part of the order because many commands may share one end time (a frame
    /// boost for every client), and a release must not walk through them.
    struct ByEndAndHandle {
        bool operator()(const EndTimeRecord& a, const EndTimeRecord& b) const {
            return a.endTime != b.endTime ? a.endTime < b.endTime : a.handle < b.handle;
        }
    };

    NodePool mPool;
    std::set<EndTimeRecord, ByEndAndHandle, PoolAllocator<EndTimeRecord>> mRecords{
        PoolAllocator<EndTimeRecord>(mPool)};
};

}  // namespace corebeacon
