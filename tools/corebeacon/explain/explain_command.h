/// The command `explain`: plays a script silently up to its last statement and then tells of groups
/// why they have the values that they have. Returns the program's exit code; used on main's thread.
#pragma once

#include <istream>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "engine_session.h"

namespace corebeacon::tool {

struct ExplainOptions {
    SessionOptions session;
    std::vector<std::string> targets;     ///< as FindGroups takes them
    std::optional<std::string> script;    ///< a file; "-" stands for standard input
    std::vector<std::string> statements;  ///< in place of a script
    bool isJson = false;
};

/// Data goes to `out`, diagnostics to `diagnostics`.
int Explain(const ExplainOptions& options, std::istream& in, std::ostream& out,
            std::ostream& diagnostics);

}  // namespace corebeacon::tool
