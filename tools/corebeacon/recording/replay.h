/// Plays a recording again, on a virtual clock and on nodes that answer as recorded, and compares
/// what the engine writes. A free function; while it runs its session is the process's only one.
#pragma once

#include <cstddef>
#include <optional>

#include "recording/recording.h"
#include "recording/replay_node_io.h"

namespace corebeacon::tool {

struct ReplayResult {
    std::size_t writes = 0;  ///< as recorded
    bool isStarted = true;   ///< whether the engine started
    std::optional<Difference> difference;
};

ReplayResult Replay(const Recording& recording);

}  // namespace corebeacon::tool
