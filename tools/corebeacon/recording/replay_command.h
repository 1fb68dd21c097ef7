/// The command `replay`: plays a recording again and says whether the engine writes the same.
/// Returns the program's exit code.
#pragma once

#include <ostream>
#include <string>

namespace corebeacon::tool {

int ReplayFile(const std::string& path, bool isJson, std::ostream& out, std::ostream& diagnostics);

}  // namespace corebeacon::tool
