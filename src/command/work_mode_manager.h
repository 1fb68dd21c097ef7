/// Decides which work mode is in force: the highest that any live request asks for. Owned by the
/// front, called from callers' threads; the front also holds its own mutex from a decision to the
/// sending of its command, so that resources learn of decisions in the order they were made.
#pragma once

#include <map>
#include <set>
#include <sstream>

#include "corebeacon/perf_types.h"
#include "platform/mutex.h"

namespace corebeacon {

struct WorkModeInfo {
    unsigned long handle = 0;
    PerfWorkMode mode = PERF_WORK_MODE_0;
};

/// Higher modes first; among equal ones a multiset keeps the order of arrival.
struct ModeSetCompare {
    bool operator()(const WorkModeInfo& a, const WorkModeInfo& b) const { return a.mode > b.mode; }
};

/// SetWorkMode and ReleaseWorkMode answer 1 when the mode in force changed, 0 when it did not and
/// -1 when they refused; except then, `result` becomes the mode in force.
class WorkModeManager {
public:
    WorkModeManager();

    /// Puts `mode` in force until the first request decides anew; 0, or -1 for an unknown mode.
    int InitWorkMode(PerfWorkMode mode);

    /// Lets the next SetWorkMode take no memory; throws std::bad_alloc. Who has given out a handle
    /// can then be sure that it gets its mode.
    void MakeRoom();

    /// Refuses a handle that already holds a mode, and an unknown mode. Throws std::bad_alloc with
    /// nothing changed.
    int SetWorkMode(unsigned long handle, unsigned int mode, PerfWorkMode& result);

    /// Refuses a handle that holds no mode.
    int ReleaseWorkMode(unsigned long handle, PerfWorkMode& result);

    PerfWorkMode GetCurrWorkMode() const;
    bool IsValidWorkModeId(unsigned int id) const { return id < kWorkModeCount; }

    /// Writes the mode in force and every request in order of precedence.
    void Dump(std::ostringstream& out) const;

private:
    using ModeSet = std::multiset<WorkModeInfo, ModeSetCompare>;
    using HandleIndex = std::map<unsigned long, ModeSet::iterator>;

    void MakeRoomLocked() REQUIRES(mMutex);
    /// Follows the first of the mode set; 1 when that changes the mode in force.
    int UpdateCurrWorkMode(PerfWorkMode& result) REQUIRES(mMutex);

    mutable Mutex mMutex;
    // guarded by mMutex
    PerfWorkMode mCurrMode GUARDED_BY(mMutex) = PERF_WORK_MODE_0;
    ModeSet mModeSet GUARDED_BY(mMutex);
    // Equal modes may be very many, so a release finds its mode by handle.
    HandleIndex mByHandle GUARDED_BY(mMutex);
    // Room for the next mode; empty until it was made.
    ModeSet::node_type mSpareMode GUARDED_BY(mMutex);
    HandleIndex::node_type mSpareEntry GUARDED_BY(mMutex);
};

}  // namespace corebeacon
