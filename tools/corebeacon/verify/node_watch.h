/// Notices who else writes: polls nodes and tells which of them have changed. Owned by the command
/// that watches; used on its thread. Who it was the kernel does not tell; but the engine of this
/// program writes nothing meanwhile, so it was somebody else.
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "corebeacon/perf_types.h"
#include "engine_session.h"
#include "json_document.h"
#include "verify/timed_reader.h"

namespace corebeacon::tool {

struct NodeChange {
    TimePoint time;  ///< when it was noticed; it happened since the look before
    std::string path;
    std::string from;
    std::string to;  ///< why it cannot be read any more, in brackets, or the new value
};

class NodeWatch {
public:
    /// Looks at the nodes for the first time. Those that cannot be read are left out.
    /// `reader` must outlive this.
    NodeWatch(const std::vector<std::string>& paths, TimedReader& reader);

    /// How many nodes are watched.
    std::size_t Size() const { return mValues.size(); }
    /// What has changed since the last look.
    std::vector<NodeChange> Look();

private:
    TimedReader& mReader;
    std::map<std::string, std::string> mValues;  // by path
};

struct WatchOptions {
    std::chrono::milliseconds span{0};  ///< 0: until the program is interrupted
    std::chrono::milliseconds interval{100};
};

/// Watches and hands on each change at once. Time is the engine's.
void Watch(const WatchOptions& options, EngineSession& session, NodeWatch& watch,
           const std::function<void(const NodeChange&)>& onChange);

/// Each with "time_us", "path", "from" and "to".
Json ChangesJson(const std::vector<NodeChange>& changes, TimePoint begin);

/// "0.300  GPU  gpufreq/max_freq  750000000 -> 600000000".
std::string ChangeText(const NodeChange& change, TimePoint begin, const NodeNames& names);

}  // namespace corebeacon::tool
