#include "engine/group_preview.h"

#include <algorithm>
#include <iterator>

namespace corebeacon {

GroupPreview::GroupPreview(const PerfGroup& group)
    : PerfGroup(group, group.GetName() + " (preview)") {}

void GroupPreview::DumpBaseValueAfterMapping(std::vector<SpecifiedGroupDumpInfo>& /*info*/) const {}

int GroupPreview::DoConfig(int /*boost*/, int /*limit*/) {
    return 0;
}

void GroupPreview::Release(unsigned long handle, const std::vector<GroupItemState>& items,
                           const TimePoint& now) {
    UpdateCurrTimePoint(now);
    std::vector<GroupItemState> left;
    std::copy_if(items.begin(), items.end(), std::back_inserter(left),
                 [handle](const GroupItemState& item) { return item.handle == handle; });
    while (!left.empty()) {
        // A boost and a limit of one command end with one stop; an event has a command a step.
        const GroupItemState first = left.front();
        PerfGroupCommand stop{handle, first.start, first.end, {}};
        std::erase_if(left, [&first, &stop](const GroupItemState& item) {
            return item.isTimed == first.isTimed && item.start == first.start &&
                   item.end == first.end && stop.values.emplace(item.operation, item.value).second;
        });
        if (first.isTimed) {
            ShortTermStop(stop);
        } else {
            LongTermStop(stop);
        }
    }
}

void GroupPreview::Pass(const TimePoint& now, const TimePoint& end) {
    // What is overdue already happens now.
    const TimePoint last = std::max(now, end);
    for (TimePoint wakeUp = GetNextWakeUpTimePoint(); wakeUp != TimePoint{} && wakeUp <= last;
         wakeUp = GetNextWakeUpTimePoint()) {
        ShortTermTimeOut(std::max(now, wakeUp));
    }
}

GroupPair GroupPreview::InForce() const {
    return {GetFinalBoostValue(), GetFinalLimitValue()};
}

}  // namespace corebeacon
