/// The command `watch`: tells what others write to nodes. Returns the program's exit code; used on
/// main's thread.
#pragma once

#include <ostream>
#include <string>
#include <vector>

#include "engine_session.h"
#include "verify/node_watch.h"

namespace corebeacon::tool {

struct WatchCommandOptions {
    SessionOptions session;
    /// As `explain` takes them, and paths of any node; none: every node that the table names.
    std::vector<std::string> targets;
    WatchOptions watch;
    bool isJson = false;
};

/// Data goes to `out`, each change as it is noticed; as JSON, one document in the end.
int WatchNodes(const WatchCommandOptions& options, std::ostream& out, std::ostream& diagnostics);

}  // namespace corebeacon::tool
