/// Finds what is wrong in a description that reads well. Free functions; they open nodes of the
/// device in force, but neither read nor write any but frequency lists.
#pragma once

#include <string>
#include <vector>

#include "board/board_reader.h"

namespace corebeacon::board {

/// The findings in the order of the file. `asksNodes` also looks for the nodes and reads the
/// frequency lists, through the node seam.
std::vector<BoardError> CheckBoard(const ReadBoard& read, bool asksNodes);

}  // namespace corebeacon::board
