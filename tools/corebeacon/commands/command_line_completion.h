/// What may stand next on the program's command line, read from its own definition, so that no
/// shell's script has to know it. Free functions; used on main's thread.
#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

namespace corebeacon::tool {

struct Candidate {
    std::string word;  ///< one that ends in '.' or '=' goes on
    std::string description;
};

struct Completion {
    std::vector<Candidate> candidates;
    bool takesFile = false;  ///< or the name of a file
};

/// `words` are those behind the program's name; the last, perhaps empty, is to be completed.
Completion CompleteCommandLine(const CLI::App& app, const std::vector<std::string>& words);

}  // namespace corebeacon::tool
