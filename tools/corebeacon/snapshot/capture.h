/// Captures the nodes of the machine at hand without changing one of them. For the program's
/// thread; while it runs it is the NodeIo in force, so no engine may be running.
#pragma once

#include <optional>
#include <string>

#include "board/board.h"
#include "snapshot/device_snapshot.h"

namespace corebeacon::tool {

/// All nodes that the board, or without one the built-in tables, name for any chip, all that an
/// engine reads when it starts, and what else tells of the frequencies. `root` stands before each
/// path, "" for the machine itself. Devices that are driven by ioctl are not opened at all, and
/// nothing is opened for writing.
DeviceSnapshot CaptureDevice(const std::optional<board::Board>& board, const std::string& root);

}  // namespace corebeacon::tool
