/// What a base-information dump says of groups and resources, before it becomes text. Plain values;
/// the worker fills them in and hands them over whole.
#pragma once

#include <string>
#include <vector>

#include "corebeacon/perf_types.h"

namespace corebeacon {

/// A group's base values as they are written to one node or to a pair of nodes.
struct SpecifiedGroupDumpInfo {
    std::string boostValue;
    std::string limitValue;  ///< empty where nothing is written for the limit
    std::string boostNode;
    std::string limitNode;  ///< empty where nothing is written for the limit
};

/// A group's base values: as requests give them, and as its kind writes them.
struct GroupDumpInfo {
    std::string name;
    unsigned int groupId = 0;
    int boostBase = 0;
    int limitBase = 0;
    std::vector<SpecifiedGroupDumpInfo> specified;
};

struct ResourceDumpInfo {
    std::string name;
    PerfQosId qosId = PERF_QOS_INVALID;
    std::vector<GroupDumpInfo> groups;
};

}  // namespace corebeacon
