/// A copy of a group, to try out what becomes of it: whatever happens to the copy happens as it
/// would to the group itself, because it is carried out by the same code, and no node hears of it.
/// Made and used by the inspection, on the worker of the group's resource. What a preview does
/// appears in the log under a name of its own.
#pragma once

#include <vector>

#include "engine/perf_group.h"

namespace corebeacon {

class GroupPreview : public PerfGroup {
public:
    explicit GroupPreview(const PerfGroup& group);

    void DumpBaseValueAfterMapping(std::vector<SpecifiedGroupDumpInfo>& info) const override;
    int DoConfig(int boost, int limit) override;

    /// Withdraws at `now` all that a handle has among `items`, those of the group, as its release
    /// does.
    void Release(unsigned long handle, const std::vector<GroupItemState>& items,
                 const TimePoint& now);
    /// Lets the time pass until `end`, waking up as the worker does.
    void Pass(const TimePoint& now, const TimePoint& end);
    /// The pair in force.
    GroupPair InForce() const;
};

}  // namespace corebeacon
