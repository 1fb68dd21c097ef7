// The step that looks into a QoS, and holds the engine to what it says will happen.
#include <algorithm>

#include "corebeacon/group_state.h"
#include "fuzz/demand.h"
#include "fuzz/front_player.h"

namespace corebeacon::fuzz {

namespace {

bool IsClients(const GroupItemState& item) {
    return item.origin == RequestOrigin::CLIENT && item.Decides();
}

void CheckGroup(const GroupState& group, unsigned int position) {
    Demand(group.groupId == position, "each group in its place");
    const auto isOwner = [&group](PerfOperationType operation) {
        return std::ranges::any_of(group.items, [operation](const GroupItemState& item) {
            return operation == PERF_OPERATION_BOOST ? item.decidesFloor : item.decidesCeiling;
        });
    };
    Demand(isOwner(PERF_OPERATION_BOOST) && isOwner(PERF_OPERATION_LIMIT),
           "somebody decides each side");
    for (const GroupItemState& item : group.items) {
        Demand(item.origin != RequestOrigin::CLIENT || item.pid > 0, "a client has a pid");
        Demand(item.start <= item.end || !item.isTimed, "an end after the start");
    }
}

}  // namespace

void FrontPlayer::Inspect() {
    const PerfQosId id = MakeQosId(mSource, mIds);
    Settle();
    std::vector<GroupState> groups;
    const int result = mFront.Inspect(id, groups);
    Demand(result == (groups.empty() ? -1 : 0), "groups, or -1 without any");
    for (unsigned int position = 0; position < groups.size(); ++position) {
        CheckGroup(groups[position], position);
    }
    if (groups.empty()) {
        return;
    }
    const GroupState& group = mSource.AnyOf(groups);
    const auto item = std::ranges::find_if(group.items, IsClients);
    if (item == group.items.end() || mSource.Flag()) {
        return;
    }
    Demand(mFront.PerfRelease(item->pid, item->handle) == 0, "a client's request is released");
    Settle();
    std::vector<GroupState> after;
    Demand(mFront.Inspect(id, after) == 0 && after.size() == groups.size(), "the groups stay");
    Demand(mHadMishap || after[group.groupId].inForce == item->afterRelease,
           "after a release is in force what was said");
}

}  // namespace corebeacon::fuzz
