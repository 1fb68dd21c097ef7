/// Reads the engine's own history of ceilings, so that it can be drawn beside the rest. Free
/// functions without state.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "timeline.h"

namespace corebeacon::tool {

using WallTime = std::chrono::system_clock::time_point;

/// `dump`: what the engine tells as --limit_history, in local time. `begin` is when the run began,
/// `end` how long it lasted: an entry that nothing ended lasts until then.
std::vector<TimelineLimits> ParseLimitHistory(const std::string& dump, WallTime begin,
                                              TimelineMicros end);

/// Local date and time, to the second.
std::string WallTimeText(WallTime time);

}  // namespace corebeacon::tool
