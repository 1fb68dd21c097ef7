/// The grammar of scripts in words, for help texts. Free functions without state.
#pragma once

#include <string>

#include "verb_table.h"

namespace corebeacon::tool {

/// Every verb with its parameters, and what the words of a statement mean.
std::string ScriptHelp();

/// Two lines: usage and meaning.
std::string HelpOn(const VerbRow& verb);

}  // namespace corebeacon::tool
