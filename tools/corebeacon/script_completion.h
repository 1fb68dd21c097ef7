/// What may stand next in a line of a script, for the prompt and for shells. Free functions
/// without state; any thread may call them.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "board/board.h"
#include "corebeacon/default_config.h"

namespace corebeacon::tool {

/// A QoS as scripts name it, and its groups, each with its levels if it has any.
struct ScriptQos {
    std::string name;
    std::map<unsigned, std::vector<int>> groups;
};

/// What names and numbers a script may use.
struct ScriptWords {
    std::vector<ScriptQos> qos;
    std::vector<std::string> requestNames;
    std::vector<unsigned> scenarios;
    std::vector<unsigned> events;
};

/// Of the tables in force: of an engine, or of one of the built-in chips.
ScriptWords WordsOf(const PerfQosConfigMap& table,
                    const std::vector<ConfigurableScenario>& scenarios,
                    const std::vector<ConfigurableEvent>& events);
ScriptWords BuiltinWords(unsigned chip);

/// The words that the last one of `line`, perhaps empty, may become; without doubles, those of a
/// kind in the order of the tables. A word that ends in '.' or '=' goes on, any other is whole.
std::vector<std::string> CompleteScript(std::string_view line, const ScriptWords& words);

/// The last word of the line as typed so far.
std::string_view LastWordOf(std::string_view line);

}  // namespace corebeacon::tool
