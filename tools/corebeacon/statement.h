/// What a script says, after parsing: one record a line. Plain values; made by the parser, carried
/// out by the player.
#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "corebeacon/perf_types.h"

namespace corebeacon::tool {

enum class Verb {
    NOTE,
    REQUEST,
    BASE_SET,
    SCENARIO,
    MODE,
    RELEASE,
    RELEASE_ALL,
    SUSPEND,
    RESUME,
    EVENT,
    PROBE,
    WAIT,
    EXPLAIN,
    DUMP,
    DEBUG,
    LOG,
    VERSION,
};

/// Where something stands in a script; both count from 1, columns in bytes.
struct Position {
    unsigned line = 0;
    unsigned column = 0;
};

/// A verb with its parameters; which of them mean something, the verb's row in the table tells.
struct Statement {
    Verb verb = Verb::NOTE;
    Position position;
    /// As written, without comment and superfluous blanks; of a note, the words of the comment.
    std::string text;
    int pid = 0;
    /// 0 for a request that lasts until it is released, and for an event of its own length.
    std::chrono::milliseconds time{0};
    unsigned number = 0;
    std::vector<PerfRequestInfo> request;
    std::vector<PerfQosId> qosIds;     ///< to suspend or to resume
    std::vector<std::string> targets;  ///< to explain
    std::string word;                  ///< the choice among those of the verb, or a debug option
    std::string name;  ///< of what is held: its own, or the one to release; "" for none
};

struct ScriptError {
    Position position;
    std::string message;  ///< one sentence without a full stop
};

}  // namespace corebeacon::tool
