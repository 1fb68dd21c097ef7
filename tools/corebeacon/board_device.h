/// Makes a simulated device of a board. A free function without state, for the thread that sets a
/// session up.
#pragma once

#include "board/board.h"
#include "sim/simulated_device.h"

namespace corebeacon::tool {

/// Adds every node that the description names and `device` lacks, holding what an idle engine
/// writes there. A frequency range becomes a cpufreq policy or a devfreq device where its nodes are
/// named as theirs are. What its table lists nobody knows: the ends of the row, what scenarios and
/// events ask for, and even steps between.
void AddNodesOf(const board::Board& board, sim::SimulatedDevice& device);

}  // namespace corebeacon::tool
