/// Which QoS a node belongs to, and by which short name a person knows it there. Built once from a
/// QoS table; afterwards constant.
#pragma once

#include <cstddef>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "corebeacon/default_config.h"

namespace corebeacon::tool {

struct NodeName {
    std::string qos;    ///< "" for a node that no row names
    std::string brief;  ///< the end of the path, long enough to be unique: policy2/scaling_min_freq
    unsigned group = 0;  ///< of that QoS
};

/// The widest texts of a set of nodes.
struct NodeNameWidths {
    std::size_t qos = 0;
    std::size_t brief = 0;
};

class NodeNames {
public:
    explicit NodeNames(const PerfQosConfigMap& table);

    NodeName Of(const std::string& path) const;
    /// Of every node that a row names.
    std::vector<std::string> Paths() const;
    /// For the nodes of these QoS.
    NodeNameWidths Widths(const std::set<PerfQosId>& qosIds) const;

private:
    struct Entry {
        PerfQosId qosId = PERF_QOS_INVALID;
        NodeName name;
    };
    std::map<std::string, Entry> mByPath;
};

}  // namespace corebeacon::tool
