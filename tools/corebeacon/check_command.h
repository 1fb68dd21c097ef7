/// The command `check`: what is wrong in the description of a board.
#pragma once

#include <optional>
#include <ostream>
#include <string>

#include "engine_session.h"

namespace corebeacon::tool {

/// Looks for the nodes too where there is a `device`; the simulated one is that of the `snapshot`
/// or else, without nodes of the board's own, that of the chip. Findings go to `out`, with `isJson`
/// as one document. Returns the program's exit code: that of failure with any finding, that of bad
/// input when the file is no board.
int CheckBoardFile(const std::string& path, std::optional<DeviceKind> device, bool isJson,
                   std::ostream& out, std::ostream& diagnostics,
                   const DeviceSnapshot* snapshot = nullptr);

}  // namespace corebeacon::tool
