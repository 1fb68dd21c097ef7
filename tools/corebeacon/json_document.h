/// The form of everything that the program prints as JSON: one document with the same head
/// whatever the command. Free functions without state, used on the program's main thread.
///
/// To fill a document, include <nlohmann/json.hpp> as well; it is left out here since it takes long
/// to compile.
#pragma once

#include <ostream>
#include <string_view>

#include <nlohmann/json_fwd.hpp>

namespace corebeacon::tool {

/// Members stay in the order in which they were added.
using Json = nlohmann::ordered_json;

/// Counts up when a member changes its meaning or goes away; new members leave it as it is.
inline constexpr int kJsonSchemaVersion = 1;

/// A document with nothing but its head: "schema_version", "command" (as typed, "board init" for
/// instance) and "version", that of the program.
Json JsonDocument(std::string_view command);

/// Prints the document, indented, with a newline behind. Bytes that are no UTF-8 become U+FFFD.
void PrintJson(const Json& document, std::ostream& out);

}  // namespace corebeacon::tool
