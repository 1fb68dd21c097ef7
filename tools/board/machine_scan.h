/// Describes the machine at hand as a board: what its cpufreq, devfreq and thermal nodes offer. A
/// free function; it reads files and writes none.
#pragma once

#include <filesystem>

#include "board/board.h"

namespace corebeacon::board {

/// `root` stands for "/"; the paths of the board begin there.
Board ScanMachine(const std::filesystem::path& root);

}  // namespace corebeacon::board
