/// Turns the group list of a compiled-in record into the map that requests are made of. Shared by
/// the scenario and the event manager, which differ in how they report a bad list. Stateless.
#pragma once

#include <vector>

#include "config/group_values.h"
#include "corebeacon/perf_types.h"

namespace corebeacon {

enum class GroupInfoStatus {
    LOADED,
    DUPLICATE_OPERATION,  ///< one group gives two values for the same operation
    DUPLICATE_GROUP,      ///< one group id occurs twice
};

struct GroupInfoLoad {
    GroupInfoStatus status = GroupInfoStatus::LOADED;
    unsigned int duplicate = 0;  ///< the operation or group id that occurs twice
    GroupValueMap groups;        ///< empty unless LOADED
};

/// A group without values is no setting at all and adds nothing.
GroupInfoLoad LoadGroupInfos(const std::vector<GroupInfo>& groupInfos);

}  // namespace corebeacon
