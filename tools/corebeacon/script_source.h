/// Where scripts come from: files, standard input, the words of a command line. What is wrong with
/// one goes to `diagnostics`. Free functions without state.
#pragma once

#include <istream>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

#include "statement.h"

namespace corebeacon::tool {

struct ScriptText {
    std::string name;  ///< as diagnostics call it
    std::string text;
};

/// `path` is a file; "-" stands for `in`. Nothing if it cannot be read.
std::optional<ScriptText> ReadScript(const std::string& path, std::istream& in,
                                     std::ostream& diagnostics);

/// The statements of a command line, one by one as the lines of a script.
ScriptText JoinStatements(const std::vector<std::string>& statements);

/// Nothing if any line is wrong.
std::optional<std::vector<Statement>> ParseOrTell(std::string_view script, const std::string& name,
                                                  std::ostream& diagnostics);

}  // namespace corebeacon::tool
