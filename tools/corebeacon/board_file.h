/// Loads the description of a board for the program's commands. Free functions without state.
#pragma once

#include <optional>
#include <ostream>
#include <string>

#include "board/board_reader.h"

namespace corebeacon::tool {

/// Absent when the file cannot be read, which is told.
std::optional<board::ReadBoard> ReadBoardFile(const std::string& path, std::ostream& diagnostics);

/// Absent when the file cannot be read or is no board; each error is told as FILE:LINE:COLUMN.
std::optional<board::Board> LoadBoard(const std::string& path, std::ostream& diagnostics);

void PrintBoardError(const std::string& path, const board::BoardError& error,
                     std::ostream& diagnostics);

}  // namespace corebeacon::tool
