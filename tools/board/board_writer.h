/// Writes the description of a board, in the form of docs/board.md. A free function without state;
/// any thread may call it.
#pragma once

#include <string>

#include "board/board.h"

namespace corebeacon::board {

/// Reads back as the same board, provided that the board's rows hold no more than the form tells.
std::string BoardText(const Board& board);

}  // namespace corebeacon::board
