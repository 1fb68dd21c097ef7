/// Turns the text of a script into statements, or into a list of all that is wrong with it. One
/// statement a line:
///
///     request pid=1001 for=500ms CPU_B.boost=2000000 GPU.limit=500000000 as h1
///     wait 300ms          # a comment
///     release h1
///
/// It takes any bytes whatever, throws nothing and needs time and memory in proportion to the text,
/// which is bounded. Free of the engine; any thread may call it.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "statement.h"

namespace corebeacon::tool {

/// Longer scripts are an error.
inline constexpr std::size_t kMaxScriptBytes = 1024UL * 1024UL;

struct ParsedScript {
    std::vector<Statement> statements;  ///< of the good lines; to be played only without errors
    std::vector<ScriptError> errors;    ///< in the order of the script
};

/// What former lines of a script that is still being written have said.
struct ScriptContext {
    unsigned firstLine = 1;
    std::map<std::string, unsigned> names = {};  ///< that are taken, with their lines
};

ParsedScript ParseScript(std::string_view script, const ScriptContext& context = {});

}  // namespace corebeacon::tool
