#include "command/end_time_index.h"

namespace corebeacon {

bool EndTimeIndex::Erase(const TimePoint& end, unsigned long handle) {
    return mRecords.erase({.handle = handle, .endTime = end}) != 0;
}

bool EndTimeIndex::TakeExpired(const TimePoint& now, EndTimeRecord& record) {
    if (mRecords.empty() || mRecords.begin()->endTime > now) {
        return false;
    }
    record = *mRecords.begin();
    mRecords.erase(mRecords.begin());
    return true;
}

}  // namespace corebeacon
