/// The command `shell`: statements are carried out as they are entered, on one engine.
#pragma once

#include <istream>
#include <ostream>

#include "run_command.h"

namespace corebeacon::tool {

/// `isTerminal`: lines are edited at a prompt on the process's terminal; otherwise they are those
/// of `in`, and a bad one shows in the exit code. Returns the program's exit code.
int RunShell(const RunOptions& options, bool isTerminal, std::istream& in, std::ostream& out,
             std::ostream& diagnostics);

}  // namespace corebeacon::tool
