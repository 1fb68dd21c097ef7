/// What has become of a value that was written to a node, judged by what the node holds. Free
/// functions without state; any thread.
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "corebeacon/default_config.h"
#include "recording_node_io.h"
#include "verify/timed_reader.h"

namespace corebeacon::tool {

enum class Verdict {
    EXACT,        ///< the node holds it
    ROUNDED,      ///< the node holds the next step of its table
    LIMITED,      ///< another voter asks the kernel for something stricter
    OVERWRITTEN,  ///< the node holds what somebody else wrote
    REJECTED,     ///< the node did not take it
    ABSENT,       ///< there is no such node
    WRITE_ONLY,   ///< the node took it and cannot be read
    UNREADABLE,   ///< it gave no answer in time, or an error
};

/// As tables and documents call it.
const char* NameOf(Verdict verdict);
/// Whether the run comes to exit status 3 by it.
bool IsMismatch(Verdict verdict);

/// What else is known of a node that helps to judge it.
struct NodeFacts {
    enum Side { NEITHER, FLOOR, CEILING };
    Side side = NEITHER;
    std::string ceilingNode;  ///< of a floor
    /// What the node rounds to, ascending; empty where nobody knows.
    std::vector<std::int64_t> steps;
};

/// Of every node that the table names. Reads the frequency lists, through `reader`.
std::map<std::string, NodeFacts> FactsOf(const PerfQosConfigMap& table, TimedReader& reader);

/// Of a write that the node did not take.
Verdict JudgeFailure(const NodeWrite& write);

/// Of one that it took: by what it holds. `ceiling` is what the node of a floor's ceiling holds.
Verdict Judge(const std::string& written, const NodeReading& held, const NodeFacts& facts,
              const std::optional<std::string>& ceiling);

}  // namespace corebeacon::tool
