/// The command `plan`: what a script would write, on a virtual clock and without a node of the
/// machine. Data goes to `out`, diagnostics to `diagnostics`; each function returns the program's
/// exit code.
#pragma once

#include <istream>
#include <ostream>
#include <string>

#include "engine_session.h"

namespace corebeacon::tool {

/// `path` is the script's file; "-" stands for `in`. The device of the options is simulated.
int PlanScript(const std::string& path, const SessionOptions& options, bool isJson,
               std::istream& in, std::ostream& out, std::ostream& diagnostics);

}  // namespace corebeacon::tool
