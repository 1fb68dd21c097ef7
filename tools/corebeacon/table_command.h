/// The command `table`: the QoS table of a chip as an engine on the simulated device uses it.
#pragma once

#include <ostream>

#include "board/board.h"

namespace corebeacon::tool {

/// Returns the program's exit code.
int PrintQosTable(unsigned chip, std::ostream& out, std::ostream& diagnostics);

/// The same as a JSON document.
int PrintJsonTable(unsigned chip, std::ostream& out, std::ostream& diagnostics);

/// The built-in tables of a chip as the description of a board, with the task groups and the probe
/// of the simulated device. The rows are as built, not yet revised against a device.
int PrintBoard(unsigned chip, std::ostream& out, std::ostream& diagnostics);

/// As a JSON document: what a description says of its machine, and its QoS.
void PrintBoardFacts(board::Board& board, std::ostream& out);

}  // namespace corebeacon::tool
