#include "config/group_info_loader.h"

#include <set>
#include <utility>

namespace corebeacon {

GroupInfoLoad LoadGroupInfos(const std::vector<GroupInfo>& groupInfos) {
    GroupInfoLoad load;
    std::set<unsigned int> seenGroups;
    for (const GroupInfo& info : groupInfos) {
        OperationValueMap values;
        for (const auto& [operation, value] : info.values) {
            if (!values.emplace(operation, value).second) {
                return {GroupInfoStatus::DUPLICATE_OPERATION, operation, {}};
            }
        }
        if (!seenGroups.insert(info.groupId).second) {
            return {GroupInfoStatus::DUPLICATE_GROUP, info.groupId, {}};
        }
        if (!values.empty()) {
            load.groups.emplace(info.groupId, std::move(values));
        }
    }
    return load;
}

}  // namespace corebeacon
